// SPDX-License-Identifier: MIT
#include "kilnutil/standardstreams.h"

void KilnUtil_StandardStreams::Write(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    // Whoever reads through a pipe sees each result when it is known.
    std::fflush(stream);
}

QString KilnUtil_StandardStreams::TextOfTool(const QByteArray &bytes)
{
    return QString::fromLocal8Bit(bytes);
}
