#include "kilnutil/registry.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {
struct AppData
{
    QString AppName;
    QString MajorVersion;
    QString ShortVersion;
    QString FullVersion;
    QString PreferencesDirPath;
};

AppData &CurrentAppData()
{
    static AppData data;
    return data;
}

QString PreferencesDir(const QString &environmentVariable, const QString &defaultName)
{
    const QString fromEnvironment = qEnvironmentVariable(environmentVariable.toLocal8Bit().constData());
    if (fromEnvironment.isEmpty())
        return QDir::home().absoluteFilePath(defaultName);
    return QDir{fromEnvironment}.absolutePath();
}

QString FullKey(const QString &key)
{
    return CurrentAppData().MajorVersion + (key.startsWith(u'/') ? key : u'/' + key);
}

const QString organisation = u"Kilnworks, Inc."_s;
const QString application = u"Taskmill"_s;
} // namespace

void KilnUtil_Registry::SetAppData(const QString &appName, const QString &majorVersion,
                                   const QString &shortVersion, const QString &fullVersion,
                                   const QString &prefsDirEnvVarName, const QString &prefsDirDefaultName)
{
    CurrentAppData() = {.AppName = appName,
                        .MajorVersion = majorVersion,
                        .ShortVersion = shortVersion,
                        .FullVersion = fullVersion,
                        .PreferencesDirPath = PreferencesDir(prefsDirEnvVarName, prefsDirDefaultName)};
}

QString KilnUtil_Registry::AppName()
{
    return CurrentAppData().AppName;
}

QString KilnUtil_Registry::MajorVersion()
{
    return CurrentAppData().MajorVersion;
}

QString KilnUtil_Registry::ShortVersion()
{
    return CurrentAppData().ShortVersion;
}

QString KilnUtil_Registry::FullVersion()
{
    return CurrentAppData().FullVersion;
}

QString KilnUtil_Registry::PreferencesDirPath()
{
    return CurrentAppData().PreferencesDirPath;
}

QVariant KilnUtil_Registry::Value(const QString &key, const QVariant &fallback)
{
    return QSettings{QSettings::UserScope, organisation, application}.value(FullKey(key), fallback);
}

void KilnUtil_Registry::SetValue(const QString &key, const QVariant &value)
{
    QSettings settings{QSettings::UserScope, organisation, application};
    settings.setValue(FullKey(key), value);
    settings.sync();
    if (settings.status() != QSettings::NoError)
        qWarning() << "The setting" << key << "could not be written to" << settings.fileName();
}
