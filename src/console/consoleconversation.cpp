// SPDX-License-Identifier: MIT
#include "console/consoleconversation.h"

#include "console/consolepath.h"
#include "console/consoleterminal.h"

#include <QCoreApplication>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

bool IsCancel(const QString &answer)
{
    return answer.compare("cancel"_L1, Qt::CaseInsensitive) == 0;
}

Taskmill_ConsoleTerminal::Completions Beginning(const QStringList &words, const QString &line)
{
    Taskmill_ConsoleTerminal::Completions completions;
    completions.words = words;
    completions.words.removeIf([&line](const QString &word) { return !word.startsWith(line); });
    return completions;
}
} // namespace

Taskmill_ConsoleConversation::Taskmill_ConsoleConversation(const Taskmill_ConversationContext &context)
    : m_context{context}
{
}

Taskmill_ConsoleTerminal &Taskmill_ConsoleConversation::Terminal()
{
    return m_context.Terminal;
}

bool Taskmill_ConsoleConversation::IsEnding() const
{
    return m_context.IsEnding;
}

void Taskmill_ConsoleConversation::Print(const QString &text)
{
    Terminal().Print(text);
}

std::optional<QString> Taskmill_ConsoleConversation::AskForCommand(const QStringList &words)
{
    OfferCommands(words);
    Terminal().SetRemembersLines(true);
    std::optional<QString> line = Ask(u"<Taskmill> "_s);
    Terminal().SetRemembersLines(false);
    return line;
}

std::optional<QString> Taskmill_ConsoleConversation::Ask(const QString &prompt)
{
    const std::optional<QString> line = Terminal().ReadLine(prompt);
    QCoreApplication::processEvents();
    if (!line || IsEnding())
        return std::nullopt;
    // No name of a file holds a NUL, and Qt warns when it is asked for one.
    return QString{*line}.remove(QChar::Null).trimmed();
}

bool Taskmill_ConsoleConversation::AskUntil(const QString &prompt,
                                            const std::function<bool(const QString &)> &accepts,
                                            const std::function<QString(const QString &)> &complaint)
{
    while (const std::optional<QString> answer = Ask(prompt)) {
        if (accepts(*answer))
            return true;
        if (IsCancel(*answer))
            return false;
        Print(complaint ? complaint(*answer) : u"\n"_s);
    }
    return false;
}

void Taskmill_ConsoleConversation::Converse(
    const std::function<Taskmill_Dialogue *(Taskmill_ConsoleActions &)> &begin, QString firstFile)
{
    Taskmill_Dialogue *dialogue = nullptr;
    std::optional<Taskmill_Question> question;
    OnMainThread([&](Taskmill_ConsoleActions &actions) {
        dialogue = begin(actions);
        if (dialogue)
            question = dialogue->Next();
    });
    while (question) {
        const Taskmill_Answer answer =
            firstFile.isEmpty() ? AnswerTo(*question) : Taskmill_Answer{.file = firstFile};
        firstFile.clear();
        question.reset();
        OnMainThread([&](Taskmill_ConsoleActions &) {
            dialogue->Answer(answer);
            question = dialogue->Next();
        });
    }
}

Taskmill_Answer Taskmill_ConsoleConversation::AnswerTo(const Taskmill_Question &question)
{
    const QString prompt = u"\n<Taskmill> "_s + question.ConsoleText() + u"  "_s;
    if (question.kind == Taskmill_Question::Kind::FileToSave)
        return {.file = AskForFile(prompt)};
    return AskForChoice(prompt, question);
}

Taskmill_Answer Taskmill_ConsoleConversation::AskForChoice(const QString &prompt,
                                                           const Taskmill_Question &question)
{
    QStringList words{u"yes"_s, u"no"_s};
    if (question.kind == Taskmill_Question::Kind::YesNoCancel && !question.isAskedOnce)
        words += u"cancel"_s;
    Offer(words);
    const auto isOneOf = [&](const QString &word, QLatin1StringView whole, QLatin1StringView letter,
                             QLatin1StringView digit) {
        return word == whole || (question.takesShortWords && (word == letter || word == digit));
    };
    std::optional<WarnAnswer> choice;
    const bool answered = AskUntil(prompt, [&](const QString &answer) {
        const QString word = answer.toLower();
        if (isOneOf(word, "yes"_L1, "y"_L1, "1"_L1))
            choice = WarnAnswer::Yes;
        else if (question.isAskedOnce || isOneOf(word, "no"_L1, "n"_L1, "0"_L1))
            choice = WarnAnswer::No;
        return choice.has_value();
    });
    return answered ? Taskmill_Answer{.choice = *choice} : Taskmill_Answer{};
}

QString Taskmill_ConsoleConversation::AskForFile(const QString &prompt)
{
    OfferFiles();
    std::optional<QString> answer = Ask(prompt);
    while (answer && !IsCancel(*answer)) {
        if (!Taskmill_IsDirectoryOfUser(*answer))
            return Taskmill_AbsolutePathOfUser(*answer);
        Print(Taskmill_DirectoryComplaint(*answer));
        answer = Ask(prompt);
    }
    return {};
}

bool Taskmill_ConsoleConversation::OnMainThread(
    const std::function<void(Taskmill_ConsoleActions &)> &function)
{
    if (IsEnding())
        return false;
    const auto call = [&] {
        function(m_context.Actions);
    };
    if (QThread::currentThread() == m_context.OnMainThread.thread())
        call();
    else
        QMetaObject::invokeMethod(&m_context.OnMainThread, call, Qt::BlockingQueuedConnection);
    return true;
}

void Taskmill_ConsoleConversation::PrintFromMainThread(
    const std::function<QString(Taskmill_ConsoleActions &)> &text)
{
    QString result;
    if (OnMainThread([&](Taskmill_ConsoleActions &actions) { result = text(actions); }))
        Print(result);
}

void Taskmill_ConsoleConversation::Offer(const QStringList &words)
{
    Terminal().SetCompleter([words](const QString &line) { return Beginning(words, line); });
}

void Taskmill_ConsoleConversation::OfferFiles()
{
    Terminal().SetCompleter([](const QString &line) {
        return Taskmill_ConsoleTerminal::Completions{.position = 0,
                                                     .words = Taskmill_FilesBeginningWith(line)};
    });
}

void Taskmill_ConsoleConversation::OfferCommands(const QStringList &words)
{
    Terminal().SetCompleter([words](const QString &line) {
        const bool isChange = line.startsWith("cd "_L1);
        if (!isChange && !line.startsWith("dir "_L1))
            return Beginning(words, line);
        // All that follows "cd" is one path, blanks included.
        Taskmill_ConsoleTerminal::Completions completions;
        completions.position = (isChange ? line.indexOf(u' ') : line.lastIndexOf(u' ')) + 1;
        completions.words = Taskmill_FilesBeginningWith(line.sliced(completions.position));
        return completions;
    });
}
