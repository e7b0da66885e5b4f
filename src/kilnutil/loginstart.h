// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// Whether the desktop starts this program when the user logs in. What says so is the user's alone: an entry
/// in the folder "autostart" of the settings of all programs, on Windows a value of the registry.
class KilnUtil_LoginStart
{
public:
    /// Of the running program, with that file and those arguments; the name identifies it.
    KilnUtil_LoginStart(const QString &name, const QString &program, const QStringList &arguments);

    [[nodiscard]] bool IsOn() const;
    /// The reason in a sentence for the user when it cannot be stored; empty when it was.
    [[nodiscard]] QString Set(bool isOn) const;

private:
    const QString m_name;
    const QString m_program;
    const QStringList m_arguments;
};
