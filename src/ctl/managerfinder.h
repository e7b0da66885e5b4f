#pragma once

#include <QtGlobal>

#include <optional>

class QCommandLineParser;

/// Where a manager answers.
struct Taskmill_ManagerAddress
{
    bool Gui = false;
    quint16 Port = 0;
};

/// Which managers are asked when no option says so.
enum class Taskmill_ManagerChoice
{
    ConsoleFirst,
    GuiOnly
};

/// The options --gui, --console and --port.
void Taskmill_AddManagerOptions(QCommandLineParser &parser);

/// False, with a message, when the options contradict each other or the port is none.
[[nodiscard]] bool Taskmill_CheckManagerOptions(const QCommandLineParser &parser);

/// The first manager that answers of those that the checked options name. Nothing, with a message, when none
/// does.
[[nodiscard]] std::optional<Taskmill_ManagerAddress> Taskmill_FindManager(const QCommandLineParser &parser,
                                                                          Taskmill_ManagerChoice choice);
