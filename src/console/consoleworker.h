// SPDX-License-Identifier: MIT
#pragma once

#include "console/consolecommands.h"
#include "console/consoleconversation.h"

#include <QObject>

/// Reads the command lines of the console and has them carried out, one after another. Lives on the console's
/// thread or, without an event loop, on the main one.
class Taskmill_Console_Worker : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_Console_Worker(const Taskmill_ConversationContext &console);

    /// Rounds without an event loop, until the input is interrupted.
    void InteractUntilInterrupted();

Q_SIGNALS:
    void QuitSignal();

public Q_SLOTS:
    /// One round; schedules the next.
    void InteractSlot();

private:
    /// False when it was the last one.
    [[nodiscard]] bool Round();
    /// An unknown command line does nothing, but at a terminal a line says so.
    void Execute(const QString &line);
    void AskAtStart();

    Taskmill_ConsoleConversation m_conversation;
    Taskmill_ConsoleCommands m_commands{m_conversation};
    const bool m_asksAtStart;
    bool m_hasBegun = false;
};
