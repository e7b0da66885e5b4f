// SPDX-License-Identifier: MIT
#include "kilnutil/loginstart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {
QString PathOf(const QString &name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/autostart/"_s +
           name.toLower() + u".desktop"_s;
}

/// An argument as the entries of desktops write it.
QString Quoted(const QString &argument)
{
    QString quoted = argument;
    for (const QString &special : {u"\\"_s, u"\""_s, u"`"_s, u"$"_s})
        quoted.replace(special, u'\\' + special);
    quoted.replace(u'%', u"%%"_s);
    // And once more, as each text in such a file is.
    return u'"' + quoted.replace(u'\\', u"\\\\"_s) + u'"';
}
} // namespace

bool KilnUtil_LoginStart::IsOn() const
{
    QFile file{PathOf(m_name)};
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    // A desktop that turns it off may leave the file.
    return !lines.contains("Hidden=true") && !lines.contains("X-GNOME-Autostart-enabled=false");
}

QString KilnUtil_LoginStart::Set(bool isOn) const
{
    const QString path = PathOf(m_name);
    if (!isOn) {
        QFile file{path};
        return !file.exists() || file.remove()
                   ? QString{}
                   : u"The file %1 cannot be removed: %2"_s.arg(path, file.errorString());
    }
    QString command = Quoted(m_program);
    for (const QString &argument : m_arguments)
        command += u' ' + argument;
    const QString entry = u"[Desktop Entry]\nType=Application\nName=%1\nIcon=%2\nTerminal=false\nExec="_s.arg(
                              m_name, m_name.toLower()) +
                          command + u'\n';
    QSaveFile file{path};
    const bool isWritten = QDir{}.mkpath(QFileInfo{path}.path()) && file.open(QIODevice::WriteOnly) &&
                           file.write(entry.toUtf8()) >= 0 && file.commit();
    return isWritten ? QString{} : u"The file %1 cannot be written: %2"_s.arg(path, file.errorString());
}
