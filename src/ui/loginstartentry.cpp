// SPDX-License-Identifier: MIT
#include "ui/loginstartentry.h"

#include "kilnutil/error.h"
#include "kilnutil/loginstart.h"
#include "kilnutil/userprompt.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>

using namespace Qt::Literals::StringLiterals;

namespace {
KilnUtil_LoginStart LoginStart()
{
    return {u"Taskmill"_s, QCoreApplication::applicationFilePath(), {u"-login"_s}};
}
} // namespace

void Taskmill_AddLoginStartEntry(QMenu &menu)
{
    QAction *entry = menu.addAction(u"Start at &Log-in"_s);
    entry->setCheckable(true);
    // The desktop may have changed it.
    QObject::connect(&menu, &QMenu::aboutToShow, entry, [entry] { entry->setChecked(LoginStart().IsOn()); });
    QObject::connect(entry, &QAction::triggered, entry, [entry](bool isOn) {
        const QString reason = LoginStart().Set(isOn);
        entry->setChecked(LoginStart().IsOn());
        if (!reason.isEmpty())
            KilnUtil_Error::UserPrompt().ReportError(u"Start at Log-in"_s, reason);
    });
}
