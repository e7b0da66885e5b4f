// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/userprompt.h"

/// Reports to the user through the prompt in force.
class KilnUtil_Error
{
public:
    using WarnMode = KilnUtil_UserPrompt::WarnMode;
    using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

    static WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode mode = WarnMode::Ok,
                                    WarnAnswer defaultAnswer = WarnAnswer::None);
    static void ReportError(const QString &title, const QString &text);

    /// The caller keeps the ownership and takes the prompt back (nullptr) before it is destroyed. Without a
    /// prompt every report goes to the debug log and every question is answered as "cancelled".
    static void SetUserPrompt(KilnUtil_UserPrompt *prompt);
    static KilnUtil_UserPrompt &UserPrompt();
};
