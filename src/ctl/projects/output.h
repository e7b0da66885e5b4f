// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QJsonArray;
class QJsonObject;

/// Writes the text and a line feed to standard output, at once.
void Taskmill_PrintLine(const QString &text);
/// Writes the object as one line, or the list over several lines, always in UTF-8.
void Taskmill_PrintJson(const QJsonObject &object);
void Taskmill_PrintJson(const QJsonArray &list);
/// Writes "taskmillctl: ", the text and a line feed to standard error.
void Taskmill_PrintError(const QString &text);
