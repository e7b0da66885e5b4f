// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

class Taskmill_ConsoleCommands;

/// One command: words that are typed exactly so and, where argumentName is given, something behind them.
struct Taskmill_ConsoleCommand
{
    QLatin1StringView words;
    QLatin1StringView argumentName; ///< as the help shows it
    QLatin1StringView help;
    void (*run)(Taskmill_ConsoleCommands &commands, const QString &argument);
};

/// The commands of the console, a row each.
namespace Taskmill_ConsoleCommandTable {
/// What a command line may begin with; a blank behind words that need something more.
[[nodiscard]] QStringList Words();
/// Carries the line out; false when it is no command.
[[nodiscard]] bool Run(Taskmill_ConsoleCommands &commands, const QString &line);
/// The list of the commands for a terminal of so many columns, 0 for any width.
[[nodiscard]] QString HelpText(int columns);
/// Why the line is no command.
[[nodiscard]] QString ProblemOf(const QString &line);
} // namespace Taskmill_ConsoleCommandTable
