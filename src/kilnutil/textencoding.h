// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QString>

/// Text from outside whose encoding nobody declares: request messages and the output of programs.
class KilnUtil_TextEncoding
{
public:
    /// Reads the bytes as UTF-8 when they are valid UTF-8, else as Latin-1. The half of a character at the
    /// end, where a program was ended while it wrote, is shown as a replacement character.
    [[nodiscard]] static QString FromUtf8OrLatin1(QByteArrayView bytes);

    /// The longest beginning of the bytes that does not end within a UTF-8 character.
    [[nodiscard]] static QByteArrayView WithoutCutEnd(QByteArrayView bytes);
    /// The bytes without the rest of a UTF-8 character at their beginning.
    [[nodiscard]] static QByteArrayView WithoutCutBeginning(QByteArrayView bytes);
};
