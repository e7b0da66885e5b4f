// SPDX-License-Identifier: MIT
#include "kilnutil/drives.h"

#include <QElapsedTimer>
#include <QFile>
#include <QHash>

#include <chrono>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
/// What is mounted changes rarely.
constexpr std::chrono::milliseconds longestKnown = 1s;

/// Systems of files that live in this computer. Others, such as nfs, cifs and fuse, may not answer.
bool IsLocalSystem(const QByteArray &type)
{
    static const QList<QByteArray> types{"ext2",    "ext3", "ext4",     "xfs",      "btrfs", "f2fs",
                                         "zfs",     "jfs",  "reiserfs", "bcachefs", "vfat",  "exfat",
                                         "overlay", "proc", "sysfs",    "tmpfs",    "ramfs", "devtmpfs"};
    return types.contains(type);
}

/// Blanks and the like stand as three octal digits in the table.
QString PathOf(QByteArray field)
{
    for (qsizetype at = field.indexOf('\\'); at >= 0 && at + 4 <= field.size();
         at = field.indexOf('\\', at + 1)) {
        bool isOctal = false;
        const int code = field.sliced(at + 1, 3).toInt(&isOctal, 8);
        if (isOctal)
            field.replace(at, 4, QByteArray{1, static_cast<char>(code)});
    }
    return QFile::decodeName(field);
}

/// Whether each mount point is local; the last one of a place counts.
QHash<QString, bool> ReadMounts()
{
    QHash<QString, bool> mounts;
    QFile table{u"/proc/self/mounts"_s};
    if (!table.open(QIODevice::ReadOnly))
        return mounts;
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (const QList<QByteArray> fields = line.split(' '); fields.size() > 2)
            mounts.insert(PathOf(fields[1]), IsLocalSystem(fields[2]));
    }
    return mounts;
}
} // namespace

bool KilnUtil_Drives::IsOnLocalDrive(const QString &path)
{
    // Of the thread that starts jobs.
    thread_local QHash<QString, bool> mounts;
    thread_local QElapsedTimer known;
    if (!known.isValid() || known.hasExpired(longestKnown.count())) {
        mounts = ReadMounts();
        known.start();
    }
    for (QString point = path; !point.isEmpty();) {
        if (const auto found = mounts.constFind(point); found != mounts.constEnd())
            return *found;
        const qsizetype end = point.lastIndexOf(u'/');
        point = end > 0 ? point.first(end) : (point == "/"_L1 ? QString{} : u"/"_s);
    }
    return false;
}
