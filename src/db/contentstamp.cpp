// SPDX-License-Identifier: MIT
#include "db/contentstamp.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
// The offsets are those of the file format's header.
constexpr qsizetype headerSize = 100;
constexpr qsizetype readVersion = 19;
constexpr char writeAheadMode = 2;

QString Hex(const QByteArray &header, qsizetype offset, qsizetype size)
{
    return QString::fromLatin1(header.sliced(offset, size).toHex());
}

QString TimeOf(const QString &path)
{
    return QString::number(QFileInfo{path}.lastModified().toMSecsSinceEpoch());
}
} // namespace

QString Taskmill_ContentStamp(const QString &path)
{
    QFile file{path};
    if (!QFileInfo{path}.isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray header = file.read(headerSize);
    const QString size = QString::number(file.size());
    if (header.size() < headerSize || !header.startsWith("SQLite format 3"))
        return u"other "_s + size + u' ' + TimeOf(path);
    QStringList parts{size, Hex(header, 24, 8), Hex(header, 40, 4), Hex(header, 60, 4), Hex(header, 68, 4)};
    // Nothing is counted in that mode.
    if (header[readVersion] == writeAheadMode)
        parts.append(TimeOf(path) + u' ' + TimeOf(path + u"-wal"_s));
    return parts.join(u' ');
}
