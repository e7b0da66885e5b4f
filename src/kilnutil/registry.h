#pragma once

#include <QString>
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
    /// variable that may hold the preferences directory, `prefsDirDefaultName` the directory in the user's
    /// home otherwise.
    static void SetAppData(const QString &appName, const QString &majorVersion, const QString &shortVersion,
                           const QString &fullVersion, const QString &prefsDirEnvVarName,
                           const QString &prefsDirDefaultName);

    /// "TaskmillGUI" or "TaskmillConsole", also the name of the server.
    [[nodiscard]] static QString AppName();
    [[nodiscard]] static QString MajorVersion();
    [[nodiscard]] static QString ShortVersion();
    [[nodiscard]] static QString FullVersion();
    /// Absolute; not created here, so it may not exist.
    [[nodiscard]] static QString PreferencesDirPath();

    /// A setting of the user; the key is such as "/Files/Last_Directory_Path" and is kept behind the major
    /// version.
    [[nodiscard]] static QVariant Value(const QString &key, const QVariant &fallback = {});
    /// Written at once; a failure goes to the debug log.
    static void SetValue(const QString &key, const QVariant &value);
};
