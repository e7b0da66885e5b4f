// SPDX-License-Identifier: MIT
#include "console/consoleworker.h"

#include "console/consoleactions.h"
#include "console/consolecommandtable.h"
#include "console/consoleterminal.h"
#include "manager/changedfiledialogue.h"
#include "manager/heldjobsdialogue.h"

#include <QCoreApplication>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int roundPauseMs = 100;
}

Taskmill_Console_Worker::Taskmill_Console_Worker(const Taskmill_ConversationContext &console)
    : m_conversation{console}
    , m_asksAtStart{console.Actions.AsksAtStart()}
{
}

void Taskmill_Console_Worker::InteractSlot()
{
    if (Round())
        QTimer::singleShot(roundPauseMs, this, &Taskmill_Console_Worker::InteractSlot);
    else
        Q_EMIT QuitSignal();
}

void Taskmill_Console_Worker::InteractUntilInterrupted()
{
    while (Round()) {
    }
}

bool Taskmill_Console_Worker::Round()
{
    if (!std::exchange(m_hasBegun, true) && m_asksAtStart)
        AskAtStart();
    const std::optional<QString> line = m_conversation.AskForCommand(Taskmill_ConsoleCommandTable::Words());
    if (!line)
        return false;
    Execute(*line);
    QCoreApplication::processEvents();
    return !m_conversation.IsEnding();
}

void Taskmill_Console_Worker::Execute(const QString &line)
{
    if (line.compare("quit"_L1, Qt::CaseInsensitive) == 0 ||
        line.compare("exit"_L1, Qt::CaseInsensitive) == 0) {
        m_commands.Quit();
        return;
    }
    if (line.startsWith("dir "_L1) || line.startsWith("dir/"_L1)) {
        m_commands.ListDirectory(line);
        return;
    }
    // A program that drives the console by a pipe counts on silence.
    if (!Taskmill_ConsoleCommandTable::Run(m_commands, line) && !line.isEmpty() &&
        m_conversation.Terminal().IsInteractive())
        m_conversation.Print(u"\n<Taskmill> %1; help lists the commands.\n\n"_s.arg(
            Taskmill_ConsoleCommandTable::ProblemOf(line)));
}

void Taskmill_Console_Worker::AskAtStart()
{
    std::optional<Taskmill_ChangedFileDialogue> changedFile;
    m_conversation.Converse(
        [&](Taskmill_ConsoleActions &actions) { return &changedFile.emplace(actions.Project()); });
    if (changedFile && !changedFile->RecoveredFile().isEmpty())
        m_conversation.Print(
            u"\n<Taskmill> The project was saved to %1.\n\n"_s.arg(changedFile->RecoveredFile()));
    std::optional<Taskmill_HeldJobsDialogue> heldJobs;
    m_conversation.Converse(
        [&](Taskmill_ConsoleActions &actions) { return &heldJobs.emplace(actions.Destinations()); });
    if (heldJobs && heldJobs->Released())
        m_conversation.Print(Taskmill_ConsoleActions::ReleasedText(*heldJobs->Released()));
    else if (heldJobs && heldJobs->IsDeclined())
        m_conversation.Print(
            u"\n<Taskmill> What waits can be run later by \"run held jobs\" or \"run job N\", or removed by "
            "\"remove job N\".\n\n"_s);
}
