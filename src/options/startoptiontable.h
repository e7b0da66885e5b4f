// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>
#include <string_view>

/// An option of the manager's command line, as its usage text and its manual page show it.
struct Taskmill_StartOption
{
    std::string_view Name;  ///< with its hyphen
    std::string_view Value; ///< what the manual calls the value behind "="; empty for none
    std::string_view Usage; ///< its place in the usage text; empty where that leaves it out
    std::string_view Purpose;
};

/// Those of the usage text stand first, in its order. The bracket that "-list" lacks there is part of the
/// text that scripts compare.
constexpr std::array Taskmill_StartOptionTable{
    Taskmill_StartOption{"-help", "", "[-help]", "Show the options and end; also --help and -h."},
    Taskmill_StartOption{"-list", "", "[-list", "Is shown among the options and has no effect."},
    Taskmill_StartOption{"-console", "", "[-console]",
                         "Run in the terminal, without a window and a display."},
    Taskmill_StartOption{"-newconsole", "", "[-newconsole]",
                         "Run in a console of its own; on Linux the same as -console."},
    Taskmill_StartOption{
        "-run", "", "[-run]",
        "With a window, ask nothing at the start. When the project file does not exist, begin a "
        "new project instead of ending."},
    Taskmill_StartOption{"-nogui", "", "[-nogui]",
                         "The same as -console where nobody is there to be asked anything at the start."},
    Taskmill_StartOption{"-submit", "", "", "With a window, open its dialog that submits jobs."},
    Taskmill_StartOption{
        "-login", "", "",
        "Start as at a log-in: with the window put away, and the project that was opened last."},
    Taskmill_StartOption{"-debug", "", "", "Write the debug log to the standard error stream."},
    Taskmill_StartOption{"-debugfile", "", "",
                         "Write the debug log to taskmill_debug.txt in the current directory."},
    Taskmill_StartOption{"-debugfile", "PATH", "",
                         "Write the debug log to that file. The path is read in lower case."},
    Taskmill_StartOption{
        "-noeventloop", "", "",
        "Read the console on the main thread; requests are then served only between two commands."},
    Taskmill_StartOption{"-notreadonly", "", "", "Accepted; has no effect."},
    Taskmill_StartOption{"-showprogress", "true|some|false", "", "Accepted; has no effect in this version."},
    Taskmill_StartOption{"--version", "", "", "Show the version and end; also -version."},
};

/// What "-help" shows.
[[nodiscard]] inline std::string Taskmill_UsageText()
{
    std::string text = "Usage:    taskmill [options]\n\n";
    std::string_view margin = "options:  ";
    for (const Taskmill_StartOption &option : Taskmill_StartOptionTable) {
        if (option.Usage.empty())
            continue;
        text.append(margin).append(option.Usage).append("\n");
        margin = "          ";
    }
    return text;
}
