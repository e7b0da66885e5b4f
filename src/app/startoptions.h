// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/runmode.h"

#include <QStringList>

/// What the command line says before there is an application object.
struct Taskmill_StartOptions
{
    Taskmill_RunMode Mode = Taskmill_RunMode::Gui;
    bool NoEventLoop = false;
    bool Unattended = false;  ///< nobody is there to be asked, say the options
    bool SubmitsJobs = false; ///< the window is to open its dialog for that
    bool AtLogin = false;     ///< with the window put away, and the last project
    bool ShowsUsage = false;
    bool ShowsVersion = false;

    /// The arguments begin with the program's name; options are recognised in any case.
    [[nodiscard]] static Taskmill_StartOptions Parse(const QStringList &arguments);
};

/// What the other arguments, in Qt's list of them, make of the start.
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
    QString MissingFile; ///< the one that decides and does not exist, also where the start goes on without it

    /// The first argument that is no option decides. Empty arguments are to be left out before.
    [[nodiscard]] static Taskmill_FileArgument Check(const QStringList &arguments, bool console);
};

/// What is wrong with such a file, as one line.
[[nodiscard]] QString Taskmill_ProblemOfMissingFile(const QString &path);

/// The options among the arguments that neither this program nor Qt has.
[[nodiscard]] QStringList Taskmill_UnknownOptions(const QStringList &arguments);

/// The first argument that is no option, nor the value of one of Qt's, which are still among them; empty when
/// there is none.
[[nodiscard]] QString Taskmill_FileNamed(const QStringList &arguments);
