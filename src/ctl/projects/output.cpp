// SPDX-License-Identifier: MIT
#include "ctl/projects/output.h"

#include "kilnutil/standardstreams.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

void Taskmill_PrintLine(const QString &text)
{
    KilnUtil_StandardStreams::Write(stdout, text + u'\n');
}

void Taskmill_PrintJson(const QJsonObject &object)
{
    KilnUtil_StandardStreams::Write(
        stdout, QString::fromUtf8(QJsonDocument{object}.toJson(QJsonDocument::Compact)) + u'\n');
}

void Taskmill_PrintJson(const QJsonArray &list)
{
    KilnUtil_StandardStreams::Write(stdout, QString::fromUtf8(QJsonDocument{list}.toJson()));
}

void Taskmill_PrintError(const QString &text)
{
    KilnUtil_StandardStreams::Write(stderr, u"taskmillctl: "_s + text + u'\n');
}
