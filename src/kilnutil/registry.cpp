// SPDX-License-Identifier: MIT
#include "kilnutil/registry.h"

#include "kilnutil/logging.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {
struct AppData
{
    QString MajorVersion;
    QString PreferencesDirPath;
    QString SettingsFilePath; ///< empty where the system keeps the settings
};

AppData &CurrentAppData()
{
    static AppData data;
    return data;
}

const QString organisation = u"Kilnworks, Inc."_s;
const QString application = u"Taskmill"_s;

QSettings Settings()
{
    const QString &file = CurrentAppData().SettingsFilePath;
    return file.isEmpty()
               ? QSettings{QSettings::defaultFormat(), QSettings::UserScope, organisation, application}
               : QSettings{file, QSettings::IniFormat};
}

QString FullKey(const QString &key)
{
    return CurrentAppData().MajorVersion + (key.startsWith(u'/') ? key : u'/' + key);
}

template <typename T>
QList<T> MostRecentOf(const QList<T> &entries)
{
    QList<T> kept;
    for (const T &entry : entries) {
        if (kept.size() < KilnUtil_Registry::MostRecent && !entry.isEmpty() && !kept.contains(entry))
            kept.append(entry);
    }
    return kept;
}

QString UserDataKey(const QString &group, const QString &key)
{
    return u'/' + group + u'/' + key;
}

const QString recentDirsKey = u"/Files/Recent_Directories"_s;
const QString recentJobInputFilesKey = u"/Files/Recent_Job_Input_Files"_s;
const QString recentFileListsKey = u"/Files/Recent_Open_Structure_File_Lists"_s;
} // namespace

void KilnUtil_Registry::SetAppData(const QString & /*appName*/, const QString &majorVersion,
                                   const QString & /*shortVersion*/, const QString & /*fullVersion*/,
                                   const QString &prefsDirEnvVarName, const QString &prefsDirDefaultName)
{
    const QString named = qEnvironmentVariable(prefsDirEnvVarName.toLocal8Bit().constData());
    const QDir directory{named.isEmpty() ? QDir::home().absoluteFilePath(prefsDirDefaultName) : named};
    CurrentAppData() = {.MajorVersion = majorVersion,
                        .PreferencesDirPath = directory.absolutePath(),
                        .SettingsFilePath =
                            named.isEmpty() ? QString{} : directory.absoluteFilePath(u"Taskmill.conf"_s)};
}

QString KilnUtil_Registry::PreferencesDirPath()
{
    return CurrentAppData().PreferencesDirPath;
}

QVariant KilnUtil_Registry::Value(const QString &key, const QVariant &fallback)
{
    return Settings().value(FullKey(key), fallback);
}

bool KilnUtil_Registry::HasUnversionedValue(const QString &key)
{
    return Settings().contains(key);
}

void KilnUtil_Registry::SetValue(const QString &key, const QVariant &value)
{
    QSettings settings = Settings();
    settings.setValue(FullKey(key), value);
    settings.sync();
    if (settings.status() != QSettings::NoError)
        qCWarning(KilnUtil_UtilLog) << "The setting" << key << "could not be written to"
                                    << settings.fileName();
}

bool KilnUtil_Registry::GetAppUserData(const QString &group, const QString &key, QString &value)
{
    const QVariant stored = Value(UserDataKey(group, key));
    if (!stored.isValid())
        return false;
    value = stored.toString();
    return true;
}

void KilnUtil_Registry::PutAppUserData(const QString &group, const QString &key, const QString &value)
{
    // Writing costs a new file each time, and most of a part's data stay the same.
    QString stored;
    if (!GetAppUserData(group, key, stored) || stored != value)
        SetValue(UserDataKey(group, key), value);
}

QStringList KilnUtil_Registry::GetRecentDirs()
{
    return MostRecentOf(Value(recentDirsKey).toStringList());
}

void KilnUtil_Registry::PutRecentDirs(const QStringList &directories)
{
    SetValue(recentDirsKey, QStringList{MostRecentOf(directories)});
}

QStringList KilnUtil_Registry::GetRecentJobInputFiles()
{
    return MostRecentOf(Value(recentJobInputFilesKey).toStringList());
}

void KilnUtil_Registry::PutRecentJobInputFiles(const QStringList &files)
{
    SetValue(recentJobInputFilesKey, QStringList{MostRecentOf(files)});
}

QList<QStringList> KilnUtil_Registry::GetRecentOpenStructureFileLists()
{
    QList<QStringList> lists;
    for (const QVariant &list : Value(recentFileListsKey).toList())
        lists.append(list.toStringList());
    return MostRecentOf(lists);
}

void KilnUtil_Registry::PutRecentOpenStructureFileLists(const QList<QStringList> &lists)
{
    QVariantList values;
    for (const QStringList &list : MostRecentOf(lists))
        values.append(list);
    SetValue(recentFileListsKey, values);
}
