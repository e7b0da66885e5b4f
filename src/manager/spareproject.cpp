// SPDX-License-Identifier: MIT
#include "manager/spareproject.h"

#include "kilnutil/filesys.h"
#include "kilnutil/statefolder.h"
#include "wire/privatefolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString prefix = u"taskmill-spare-"_s;

/// A full or read-only file system may hold the project and the first places alike.
QStringList Places(const QString &stateFolder)
{
    QStringList places{stateFolder, QDir::homePath(), QDir::tempPath()};
    places.removeAll(QString{});
    places.removeDuplicates();
    return places;
}

/// An empty file that is new, or nothing: others may write into the directory too.
QString MakeFile(const QString &directory, const QString &base)
{
    QFile file{KilnUtil_FileSys::NewFileName(base, u"mill"_s, directory, false)};
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                     QFileDevice::ReadOwner | QFileDevice::WriteOwner)
               ? file.fileName()
               : QString{};
}
} // namespace

QString Taskmill_FileTimeStamp()
{
    const QDateTime now = QDateTime::currentDateTime();
    const QDate date = now.date();
    const QTime time = now.time();
    // The operations that take a format need a locale, which is gone by the time of the program's last steps.
    return QString::asprintf("%04d%02d%02d-%02d%02d%02d", date.year(), date.month(), date.day(), time.hour(),
                             time.minute(), time.second());
}

bool Taskmill_SpareFile::Write(const QString &projectPath,
                               const std::function<bool(const QString &path)> &write)
{
    // A log-out may be called off and come again: then the same file is written again.
    if (QFileInfo::exists(m_path) && write(m_path))
        return true;
    constexpr qsizetype mostOfName = 40; // characters of four bytes still fit a file name
    const QString base =
        prefix + QFileInfo{projectPath}.completeBaseName().left(mostOfName) + u'-' + Taskmill_FileTimeStamp();
    const QStringList places = Places(KilnUtil_StateFolder());
    for (const QString &place : places) {
        const QString path = MakeFile(place, base);
        if (path.isEmpty())
            continue;
        if (write(path)) {
            m_path = path;
            return true;
        }
        QFile::remove(path);
    }
    m_path.clear();
    return false;
}

void Taskmill_SpareFile::Remove(const QString &projectPath)
{
    if (const QString path = std::exchange(m_path, {}); !path.isEmpty() && path != projectPath)
        QFile::remove(path);
}

QStringList Taskmill_SpareProjects()
{
    QStringList paths;
    const QStringList places = Places(KilnUtil_StateFolderPath());
    for (const QString &place : places) {
        const auto files = QDir{place}.entryInfoList({prefix + u"*.mill"_s}, QDir::Files, QDir::Name);
        for (const QFileInfo &file : files) {
            if (file.size() > 0 && Taskmill_IsOwnFile(file.absoluteFilePath().toStdString()))
                paths.append(file.absoluteFilePath());
        }
    }
    return paths;
}

QString Taskmill_SpareProjectNotice(const QString &path)
{
    const QString text =
        u"A project that could not be saved to its own file was written to %1 instead. Move it to where it "
        "belongs; this is said at each start until it is moved or deleted."_s;
    return text.arg(QDir::toNativeSeparators(path));
}
