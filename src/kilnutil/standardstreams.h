// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

/// Text on its way to and from consoles and the pipes between programs.
namespace KilnUtil_StandardStreams {
/// Writes the text to a standard stream at once, never as a format: to a Windows console whole, whatever its
/// code page is, otherwise in UTF-8 there and in the local encoding elsewhere.
void Write(std::FILE *stream, const QString &text);

/// What a tool of the system wrote into a pipe.
[[nodiscard]] QString TextOfTool(const QByteArray &bytes);
} // namespace KilnUtil_StandardStreams
