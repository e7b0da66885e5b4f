// SPDX-License-Identifier: MIT
#include "processes/runoutputfile.h"

#include <utility>

KilnUtil_RunOutputFile::KilnUtil_RunOutputFile(Taskmill_RunOutput file)
    : m_file{std::move(file)}
{
}

void KilnUtil_RunOutputFile::Append(QByteArrayView bytes)
{
    m_said.append(bytes);
}

bool KilnUtil_RunOutputFile::IsReadable() const
{
    return m_file.Read([](std::string_view) {});
}

qint64 KilnUtil_RunOutputFile::TotalSize() const
{
    return m_file.TotalSize() + m_said.size();
}

KilnUtil_StoredOutput KilnUtil_RunOutputFile::Stored() const
{
    KilnUtil_StoredOutput stored;
    stored.IsWhole = m_file.Read([&stored](std::string_view piece) {
        stored.Bytes.append(piece.data(), static_cast<qsizetype>(piece.size()));
    });
    if (!stored.IsWhole)
        stored.Bytes +=
            "\n[... the rest of this output could not be read; it is in " + m_file.Path() + " ...]\n";
    return stored;
}

QByteArray KilnUtil_RunOutputFile::Content() const
{
    return Stored().Bytes + m_said;
}

QByteArray KilnUtil_RunOutputFile::ReadFrom(qint64 &offset) const
{
    constexpr std::size_t pieceSize = std::size_t{1024} * 1024;
    const qint64 inFile = m_file.TotalSize();
    QByteArray bytes;
    while (offset < inFile) {
        long long position = offset;
        const std::string piece = m_file.ReadFrom(position, pieceSize, m_hasEnded);
        offset = position;
        if (piece.empty())
            break;
        bytes.append(piece.data(), static_cast<qsizetype>(piece.size()));
    }
    if (offset >= inFile && offset < inFile + m_said.size() && m_hasEnded) {
        bytes += m_said.sliced(offset - inFile);
        offset = inFile + m_said.size();
    }
    return bytes;
}
