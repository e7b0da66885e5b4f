// SPDX-License-Identifier: MIT
#include "ui/loginstart.h"

#include "kilnutil/error.h"
#include "kilnutil/loginstart.h"
#include "kilnutil/userprompt.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

namespace {
KilnUtil_LoginStart LoginStart()
{
    return {u"Taskmill"_s, QCoreApplication::applicationFilePath(), {u"-login"_s}};
}
} // namespace

bool Taskmill_IsStartedAtLogin()
{
    return LoginStart().IsOn();
}

void Taskmill_SetStartedAtLogin(bool isStarted)
{
    const QString reason = LoginStart().Set(isStarted);
    if (!reason.isEmpty())
        KilnUtil_Error::UserPrompt().ReportError(u"Start at Log-in"_s, reason);
}
