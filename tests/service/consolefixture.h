#pragma once

#include "fakeinspector.h"
#include "scriptedterminal.h"
#include "service/console.h"
#include "service/runningjobs.h"
#include "support/testmanager.h"

#include <QDir>

/// A console of a manager with a new project, with scripted input. The current directory is put back at the
/// end.
class ConsoleFixture
{
public:
    using AtEnd = ScriptedTerminal::AtEnd;

    static constexpr QLatin1StringView Prompt{"<Taskmill> "};
    static constexpr QLatin1StringView ExitQuestion{
        "\n<Taskmill> Are you sure you want to completely exit Taskmill?  "};
    static constexpr QLatin1StringView QueueQuestion{"\n<Taskmill> Enter Queue:  "};
    static constexpr QLatin1StringView TypeQuestion{"\n<Taskmill> Enter Job Type:  "};
    static constexpr QLatin1StringView FileQuestion{"\n<Taskmill> Enter Input File:  "};

    ConsoleFixture();
    ~ConsoleFixture();
    Q_DISABLE_COPY_MOVE(ConsoleFixture)

    TestManager Manager;
    FakeInspector Inspector;
    Taskmill_RunningJobs Running{Inspector, Manager.jobTypes};
    std::unique_ptr<Taskmill_Console> Console;
    ScriptedTerminal *Terminal = nullptr; ///< the console's
    int Exits = 0;                        ///< how often the program was to be ended, on the main thread

    /// A new console: one that waits for more has a thread of its own, the other runs on this one.
    void MakeConsole(AtEnd atEnd, const QStringList &lines, const QString &notice = {});
    /// Carries out the lines; returns what was printed after the banner and the first prompt.
    QString Run(const QStringList &lines);
    /// A job that runs until its input file, which is returned, is released.
    QString SubmitGated(Taskmill_QueueOwner &owner, const QString &fileName);

private:
    const QString m_directory = QDir::currentPath();
};
