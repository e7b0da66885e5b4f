// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

class QObject;
class Taskmill_ConsoleActions;
class Taskmill_ConsoleTerminal;

/// What a conversation has of the console that it belongs to. All of it outlives the conversation.
struct Taskmill_ConversationContext
{
    Taskmill_ConsoleTerminal &Terminal;
    Taskmill_ConsoleActions &Actions;  ///< used on the main thread only
    QObject &OnMainThread;             ///< lives there, and receives the calls
    const std::atomic<bool> &IsEnding; ///< the console ends
};

/// What is said between the console and its user, on the thread of the console: prints texts, asks questions,
/// and has the rest carried out on the main thread.
class Taskmill_ConsoleConversation
{
public:
    explicit Taskmill_ConsoleConversation(const Taskmill_ConversationContext &context);

    [[nodiscard]] Taskmill_ConsoleTerminal &Terminal();
    /// Whether the console ends: nothing is asked or done any more then.
    [[nodiscard]] bool IsEnding() const;

    void Print(const QString &text);

    /// The next command line, which may begin with one of the words; nothing once the console ends.
    [[nodiscard]] std::optional<QString> AskForCommand(const QStringList &words);
    /// Nothing once the console ends.
    [[nodiscard]] std::optional<QString> Ask(const QString &prompt);
    /// The answer to a question that "cancel" ends: asks again until `accepts` takes it, behind what
    /// `complaint` says of the answer that was no good.
    [[nodiscard]] bool AskUntil(const QString &prompt, const std::function<bool(const QString &)> &accepts,
                                const std::function<QString(const QString &)> &complaint = {});
    /// Goes through a dialogue, which lives on the main thread, with the questions asked here. `begin` makes
    /// it there, or returns nullptr for none. A file that is given answers the first question.
    void Converse(const std::function<Taskmill_Dialogue *(Taskmill_ConsoleActions &)> &begin,
                  QString firstFile = {});

    /// Runs the function on the main thread and waits for it; false when the console ends before.
    bool OnMainThread(const std::function<void(Taskmill_ConsoleActions &)> &function);
    /// Prints the text that the function returns on the main thread.
    void PrintFromMainThread(const std::function<QString(Taskmill_ConsoleActions &)> &text);

    /// What the Tab key completes in the answer to the next question.
    void Offer(const QStringList &words);
    void OfferFiles();

private:
    void OfferCommands(const QStringList &words);
    [[nodiscard]] Taskmill_Answer AnswerTo(const Taskmill_Question &question);
    [[nodiscard]] Taskmill_Answer AskForChoice(const QString &prompt, const Taskmill_Question &question);
    /// Absolute; empty when the user gives up.
    [[nodiscard]] QString AskForFile(const QString &prompt);

    const Taskmill_ConversationContext m_context;
};
