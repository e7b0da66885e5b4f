// SPDX-License-Identifier: MIT
#include "kilnutil/loginstart.h"

#include <QDir>
#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString &RunKey()
{
    static const QString key = u"HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Run"_s;
    return key;
}
} // namespace

bool KilnUtil_LoginStart::IsOn() const
{
    return QSettings{RunKey(), QSettings::NativeFormat}.contains(m_name);
}

QString KilnUtil_LoginStart::Set(bool isOn) const
{
    QSettings settings{RunKey(), QSettings::NativeFormat};
    if (isOn)
        settings.setValue(
            m_name, QStringList{u'"' + QDir::toNativeSeparators(m_program) + u'"', m_arguments.join(u' ')}
                        .join(u' ')
                        .trimmed());
    else
        settings.remove(m_name);
    settings.sync();
    return settings.status() == QSettings::NoError ? QString{}
                                                   : u"The registry of Windows does not take the change."_s;
}
