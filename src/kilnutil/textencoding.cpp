// SPDX-License-Identifier: MIT
#include "kilnutil/textencoding.h"

#include <QStringDecoder>

namespace {
constexpr qsizetype longestUtf8Character = 4;

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// How many bytes a character that begins with this byte takes.
qsizetype CharacterLength(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    if (byte >= 0xF5U)
        return 1; // begins no character
    if (byte >= 0xF0U)
        return 4;
    if (byte >= 0xE0U)
        return 3;
    return byte >= 0xC0U ? 2 : 1;
}
} // namespace

QString KilnUtil_TextEncoding::FromUtf8OrLatin1(QByteArrayView bytes)
{
    const QByteArrayView whole = WithoutCutEnd(bytes);
    QStringDecoder decoder{QStringDecoder::Utf8, QStringDecoder::Flag::Stateless};
    QString text = decoder(whole);
    if (decoder.hasError())
        return QString::fromLatin1(bytes);
    if (whole.size() == bytes.size())
        return text;
    // Only other characters outside ASCII distinguish the half of a last UTF-8 character from one of Latin-1.
    return text.size() < whole.size() ? text + QChar{QChar::ReplacementCharacter}
                                      : QString::fromLatin1(bytes);
}

QByteArrayView KilnUtil_TextEncoding::WithoutCutEnd(QByteArrayView bytes)
{
    for (qsizetype back = 1; back <= qMin(longestUtf8Character, bytes.size()); ++back) {
        const char byte = bytes[bytes.size() - back];
        if (!IsContinuation(byte))
            return CharacterLength(byte) > back ? bytes.chopped(back) : bytes;
    }
    return bytes;
}

QByteArrayView KilnUtil_TextEncoding::WithoutCutBeginning(QByteArrayView bytes)
{
    qsizetype cut = 0;
    while (cut < qMin(longestUtf8Character - 1, bytes.size()) && IsContinuation(bytes[cut]))
        ++cut;
    return bytes.sliced(cut);
}
