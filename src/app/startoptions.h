#pragma once

#include "jobs/runmode.h"

#include <QStringList>

/// How far progress is shown.
enum class Taskmill_ProgressLevel
{
    None = 0,
    Full = 1,
    Some = 2
};

/// What the command line says before there is an application object.
struct Taskmill_StartOptions
{
    Taskmill_RunMode Mode = Taskmill_RunMode::Gui;
    bool NoEventLoop = false;
    Taskmill_ProgressLevel Progress = Taskmill_ProgressLevel::Full;

    /// The arguments begin with the program's name; options are recognised in any case.
    [[nodiscard]] static Taskmill_StartOptions Parse(const QStringList &arguments);
};

/// What the other arguments, seen by the toolkit's list, make of the start.
struct Taskmill_FileArgument
{
    enum class Outcome
    {
        GoOn,
        ShowUsage,
        MissingFile
    };

    Outcome Result = Outcome::GoOn;
    QString StartUpFile; ///< exists when it is not empty

    /// The first argument that is no option decides. Empty arguments are to be left out before.
    [[nodiscard]] static Taskmill_FileArgument Check(const QStringList &arguments, bool console);
};

/// Every option of the command line that a user may give.
extern const char *const Taskmill_UsageText;
