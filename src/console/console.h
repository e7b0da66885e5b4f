// SPDX-License-Identifier: MIT
#pragma once

#include "console/consoleactions.h"
#include "console/consoleterminal.h"

#include <QObject>
#include <QThread>

#include <atomic>
#include <memory>

class Taskmill_Console_Worker;

/// The console front end: owns the terminal, the thread that reads it and the worker on that thread.
class Taskmill_Console : public QObject
{
    Q_OBJECT

public:
    Taskmill_Console(QString banner, bool noEventLoop, Taskmill_ConsoleContext context,
                     std::unique_ptr<Taskmill_ConsoleTerminal> terminal);
    /// Ends the reading and waits for the thread, serving what it still asks of this one; for 10 s at most.
    ~Taskmill_Console() override;
    Q_DISABLE_COPY_MOVE(Taskmill_Console)

    [[nodiscard]] Taskmill_ConsoleTerminal &Terminal() { return *m_terminal; }
    /// To be used on the main thread only.
    [[nodiscard]] Taskmill_ConsoleActions &Actions() { return m_actions; }
    /// May be asked from any thread.
    [[nodiscard]] bool IsQuitting() const { return m_quitting; }

    /// What is under way goes on, but nothing of it reaches the manager any more.
    void TakeNoMoreCommands();

public Q_SLOTS:
    /// Prints the banner and starts the dialogue; without an event loop it is carried on here.
    void RunSlot();
    /// Ends the dialogue without waiting for it.
    void QuitSlot();

private:
    const QString m_banner;
    const bool m_noEventLoop;
    Taskmill_ConsoleActions m_actions;
    const std::unique_ptr<Taskmill_ConsoleTerminal> m_terminal;
    QThread m_thread;
    std::atomic<bool> m_quitting{false};
};
