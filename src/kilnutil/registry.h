// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QStringList>
#include <QVariant>

/// The identity of the running application and its settings of the user. Event-loop thread only.
class KilnUtil_Registry
{
public:
    /// Set around SetAppData at start-up.
    inline static int m_applicationID = 0;
    inline static bool m_usesMakersPrograms = false;
    inline static int m_debugLevel = 0;
    inline static bool m_hasSolvationOption = false;
    inline static bool m_isCurrentOperatingSystem = false;

    /// Called once, before any setting is read or written. `prefsDirEnvVarName` names the environment
    /// variable that may hold the preferences directory, which then keeps the settings in "Taskmill.conf";
    /// `prefsDirDefaultName` is the directory in the user's home otherwise, and the settings are where the
    /// system keeps those of all programs.
    static void SetAppData(const QString &appName, const QString &majorVersion, const QString &shortVersion,
                           const QString &fullVersion, const QString &prefsDirEnvVarName,
                           const QString &prefsDirDefaultName);

    /// Absolute; not created here, so it may not exist.
    [[nodiscard]] static QString PreferencesDirPath();

    /// A setting of the user; the key is such as "/Files/Last_Directory_Path" and is kept behind the major
    /// version.
    [[nodiscard]] static QVariant Value(const QString &key, const QVariant &fallback = {});
    /// Whether there is a setting of exactly that key, without the major version before it.
    [[nodiscard]] static bool HasUnversionedValue(const QString &key);
    /// Written at once; a failure goes to the debug log.
    static void SetValue(const QString &key, const QVariant &value);

    /// A text among the data that a part of the program keeps for the user. False when there is none, which
    /// leaves `value`.
    [[nodiscard]] static bool GetAppUserData(const QString &group, const QString &key, QString &value);
    static void PutAppUserData(const QString &group, const QString &key, const QString &value);

    /// The newest first, without duplicates; of each kind MostRecent at most. They may no longer exist. The
    /// operations that put cut off what is too much.
    static constexpr qsizetype MostRecent = 10;
    [[nodiscard]] static QStringList GetRecentDirs();
    static void PutRecentDirs(const QStringList &directories);
    [[nodiscard]] static QStringList GetRecentJobInputFiles();
    static void PutRecentJobInputFiles(const QStringList &files);
    [[nodiscard]] static QList<QStringList> GetRecentOpenStructureFileLists();
    static void PutRecentOpenStructureFileLists(const QList<QStringList> &lists);
};
