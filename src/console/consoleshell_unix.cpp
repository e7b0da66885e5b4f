// SPDX-License-Identifier: MIT
#include "console/consoleshell.h"

#include "console/consoleterminal.h"

#include <QProcess>
#include <QStandardPaths>

#include <array>
#include <utility>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// The line as this system's programs understand it.
QString DirectoryCommand(const QString &line)
{
    constexpr std::array<std::pair<QLatin1StringView, QLatin1StringView>, 4> switches{
        {{"/b"_L1, "-1"_L1}, {"/w"_L1, "-C"_L1}, {"/s"_L1, "-R"_L1}, {"/a"_L1, "-a"_L1}}};
    const QString program = QStandardPaths::findExecutable(u"dir"_s).isEmpty() ? u"ls -C"_s : u"dir"_s;
    // "dir/b" is "dir /b".
    QStringList words = line.sliced(3).split(u' ');
    for (QString &word : words) {
        for (const auto &[dosSwitch, option] : switches) {
            if (word.compare(dosSwitch, Qt::CaseInsensitive) == 0)
                word = option;
        }
    }
    return program + u' ' + words.join(u' ');
}
} // namespace

void Taskmill_ConsoleShell::StartDirectoryCommand(QProcess &process, const QString &line)
{
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(u"/bin/sh"_s, {u"-c"_s, DirectoryCommand(line)});
}

void Taskmill_ConsoleShell::ClearConsole(Taskmill_ConsoleTerminal &terminal)
{
    if (isatty(STDOUT_FILENO))
        terminal.Print(u"\033[H\033[2J\033[3J"_s);
}

void Taskmill_ConsoleShell::MinimiseConsoleWindow() {}
