// SPDX-License-Identifier: MIT
#include "console/consoleworker.h"

#include "console/console.h"
#include "console/consolepath.h"
#include "console/consoleshell.h"
#include "kilnutil/standardstreams.h"
#include "manager/changedfiledialogue.h"
#include "manager/closingdialogue.h"
#include "manager/heldjobsdialogue.h"
#include "manager/manager.h"
#include "manager/project.h"
#include "manager/runningjobs.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

constexpr int childRoundMs = 100;
const QString notSavedText = u"\n<Taskmill> The project was not saved.\n\n"_s;

bool IsCancel(const QString &answer)
{
    return answer.compare("cancel"_L1, Qt::CaseInsensitive) == 0;
}

/// The files whose paths begin with the text, directories with a '/' at their end.
QStringList FilesBeginningWith(const QString &typed)
{
    const qsizetype nameBegin = typed.lastIndexOf(u'/') + 1;
    const QString directory = typed.first(nameBegin);
    const QString place = directory.isEmpty() ? u"."_s : Taskmill_PathOfUser(directory);
    const QString name = typed.sliced(nameBegin);
    QStringList files;
    const auto entries = QDir{place}.entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | (name.startsWith(u'.') ? QDir::Hidden : QDir::Filters{}),
        QDir::Name);
    for (const QFileInfo &entry : entries) {
        if (entry.fileName().startsWith(name))
            files += directory + entry.fileName() + (entry.isDir() ? u"/"_s : QString{});
    }
    return files;
}
bool IsDirectory(const QString &typed)
{
    return typed.endsWith(u'/') || QFileInfo{Taskmill_PathOfUser(typed)}.isDir();
}

QString DirectoryComplaint(const QString &typed)
{
    return u"\n<Taskmill> %1 is a directory: the name of a file is needed.\n"_s.arg(
        QDir::toNativeSeparators(Taskmill_AbsolutePathOfUser(typed)));
}
} // namespace

Taskmill_Console_Worker::Taskmill_Console_Worker(Taskmill_Console &console)
    : m_console{console}
{
}

void Taskmill_Console_Worker::InteractSlot()
{
    if (Round())
        QTimer::singleShot(RoundPauseMs, this, &Taskmill_Console_Worker::InteractSlot);
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
    if (!std::exchange(m_hasAskedAtStart, true))
        AskAtStart();
    OfferCommands();
    m_console.Terminal().SetRemembersLines(true);
    const std::optional<QString> line = Ask(u"<Taskmill> "_s);
    m_console.Terminal().SetRemembersLines(false);
    if (!line)
        return false;
    Execute(*line);
    QCoreApplication::processEvents();
    return !m_console.IsQuitting();
}

std::optional<QString> Taskmill_Console_Worker::Ask(const QString &prompt)
{
    const std::optional<QString> line = m_console.Terminal().ReadLine(prompt);
    QCoreApplication::processEvents();
    if (!line || m_console.IsQuitting())
        return std::nullopt;
    // No name of a file holds a NUL, and Qt warns when it is asked for one.
    return QString{*line}.remove(QChar::Null).trimmed();
}

bool Taskmill_Console_Worker::AskUntil(const QString &prompt,
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

void Taskmill_Console_Worker::Converse(const std::function<Taskmill_Dialogue *()> &begin, QString firstFile)
{
    Taskmill_Dialogue *dialogue = nullptr;
    std::optional<Taskmill_Question> question;
    OnMainThread([&] {
        dialogue = begin();
        if (dialogue)
            question = dialogue->Next();
    });
    while (question) {
        const Taskmill_Answer answer =
            firstFile.isEmpty() ? AnswerTo(*question) : Taskmill_Answer{.file = firstFile};
        firstFile.clear();
        question.reset();
        OnMainThread([&] {
            dialogue->Answer(answer);
            question = dialogue->Next();
        });
    }
}

Taskmill_Answer Taskmill_Console_Worker::AnswerTo(const Taskmill_Question &question)
{
    const QString prompt = u"\n<Taskmill> "_s + question.ConsoleText() + u"  "_s;
    if (question.kind == Taskmill_Question::Kind::FileToSave)
        return {.file = AskForFile(prompt)};
    return AskForChoice(prompt, question);
}

Taskmill_Answer Taskmill_Console_Worker::AskForChoice(const QString &prompt,
                                                      const Taskmill_Question &question)
{
    QStringList words{u"yes"_s, u"no"_s};
    if (question.kind == Taskmill_Question::Kind::YesNoCancel)
        words += u"cancel"_s;
    OfferWords(words);
    const auto isOneOf = [&](const QString &word, QLatin1StringView whole, QLatin1StringView letter,
                             QLatin1StringView digit) {
        return word == whole || (question.takesShortWords && (word == letter || word == digit));
    };
    std::optional<WarnAnswer> choice;
    const bool answered = AskUntil(prompt, [&](const QString &answer) {
        const QString word = answer.toLower();
        if (isOneOf(word, "yes"_L1, "y"_L1, "1"_L1))
            choice = WarnAnswer::Yes;
        else if (isOneOf(word, "no"_L1, "n"_L1, "0"_L1))
            choice = WarnAnswer::No;
        return choice.has_value();
    });
    return answered ? Taskmill_Answer{.choice = *choice} : Taskmill_Answer{};
}

QString Taskmill_Console_Worker::AskForFile(const QString &prompt)
{
    OfferFiles();
    std::optional<QString> answer = Ask(prompt);
    while (answer && !IsCancel(*answer)) {
        if (!IsDirectory(*answer))
            return Taskmill_AbsolutePathOfUser(*answer);
        Print(DirectoryComplaint(*answer));
        answer = Ask(prompt);
    }
    return {};
}

int Taskmill_Console_Worker::Columns()
{
    return m_console.Terminal().Columns();
}

void Taskmill_Console_Worker::Print(const QString &text)
{
    m_console.Terminal().Print(text);
}

bool Taskmill_Console_Worker::OnMainThread(const std::function<void()> &function)
{
    if (m_console.IsQuitting())
        return false;
    if (QThread::currentThread() == m_console.thread())
        function();
    else
        QMetaObject::invokeMethod(&m_console, function, Qt::BlockingQueuedConnection);
    return true;
}

void Taskmill_Console_Worker::PrintFromMainThread(
    const std::function<QString(Taskmill_ConsoleActions &)> &text)
{
    QString result;
    if (OnMainThread([&] { result = text(m_console.Actions()); }))
        Print(result);
}

void Taskmill_Console_Worker::OfferCommands()
{
    m_console.Terminal().SetCompleter([words = CommandWords()](const QString &line) {
        Taskmill_ConsoleTerminal::Completions completions;
        const bool isChange = line.startsWith("cd "_L1);
        if (isChange || line.startsWith("dir "_L1)) {
            // All that follows "cd" is one path, blanks included.
            completions.position = (isChange ? line.indexOf(u' ') : line.lastIndexOf(u' ')) + 1;
            completions.words = FilesBeginningWith(line.sliced(completions.position));
        } else {
            completions.words = words;
            completions.words.removeIf([&line](const QString &word) { return !word.startsWith(line); });
        }
        return completions;
    });
}

void Taskmill_Console_Worker::OfferWords(const QStringList &words)
{
    m_console.Terminal().SetCompleter([words](const QString &line) {
        Taskmill_ConsoleTerminal::Completions completions;
        for (const QString &word : words) {
            if (word.startsWith(line))
                completions.words += word;
        }
        return completions;
    });
}

void Taskmill_Console_Worker::OfferFiles()
{
    m_console.Terminal().SetCompleter([](const QString &line) {
        return Taskmill_ConsoleTerminal::Completions{.position = 0, .words = FilesBeginningWith(line)};
    });
}

void Taskmill_Console_Worker::ListQueue(Taskmill_Destination destination)
{
    PrintFromMainThread(
        [=, this](Taskmill_ConsoleActions &actions) { return actions.QueueListing(destination, Columns()); });
}

void Taskmill_Console_Worker::ListRunning(bool onlyKnown)
{
    Taskmill_RunningJobs::Reading read;
    if (!OnMainThread([&] { read = m_console.Actions().ProcessReading(onlyKnown); }))
        return;
    // A slow tool holds up nothing but the console.
    const QList<Taskmill_ProcessRecord> processes = read();
    PrintFromMainThread(
        [&](Taskmill_ConsoleActions &actions) { return actions.ProcessListing(processes, Columns()); });
}

void Taskmill_Console_Worker::ListFinished()
{
    PrintFromMainThread(
        [this](Taskmill_ConsoleActions &actions) { return actions.FinishedListing(Columns()); });
}

void Taskmill_Console_Worker::ListJobTypes()
{
    PrintFromMainThread(
        [this](Taskmill_ConsoleActions &actions) { return actions.JobTypeListing(Columns()); });
}

void Taskmill_Console_Worker::AddJobToAskedQueue()
{
    OfferWords({u"long"_s, u"short"_s, u"none"_s, u"cancel"_s});
    Taskmill_Destination destination = Taskmill_Destination::JobTypeDefault;
    const bool answered = AskUntil(u"\n<Taskmill> Enter Queue:  "_s, [&destination](const QString &answer) {
        const QString word = answer.toLower();
        if (word == "long"_L1)
            destination = Taskmill_Destination::Long;
        else if (word == "short"_L1)
            destination = Taskmill_Destination::Short;
        else if (word == "none"_L1)
            destination = Taskmill_Destination::Queueless;
        return destination != Taskmill_Destination::JobTypeDefault;
    });
    if (answered)
        AddJob(destination);
}

void Taskmill_Console_Worker::AddJob(Taskmill_Destination destination)
{
    QStringList names;
    OnMainThread([&] { names = m_console.Actions().JobTypeNames(); });
    OfferWords(names);
    Taskmill_JobType jobType;
    const auto listTypes = [&names](const QString &answer) {
        const QString problem =
            answer.isEmpty() ? QString{} : u"There is no job type \"%1\".  "_s.arg(answer);
        return u"\n<Taskmill> "_s + problem +
               (names.isEmpty() ? u"The project has no job types.\n"_s
                                : u"The job types are: %1.\n"_s.arg(names.join(u", "_s)));
    };
    const bool typeChosen = AskUntil(
        u"\n<Taskmill> Enter Job Type:  "_s,
        [&](const QString &answer) {
            OnMainThread([&] { jobType = m_console.Actions().FindJobType(answer); });
            return !jobType.IsEmpty();
        },
        listTypes);
    if (!typeChosen)
        return;

    OfferFiles();
    QString inputFile;
    const auto explain = [](const QString &answer) {
        return QFileInfo{Taskmill_PathOfUser(answer)}.isDir() ? DirectoryComplaint(answer) : u"\n"_s;
    };
    const bool fileChosen = AskUntil(
        u"\n<Taskmill> Enter Input File:  "_s,
        [&inputFile](const QString &answer) {
            inputFile = Taskmill_PathOfUser(answer);
            return QFileInfo{inputFile}.isFile();
        },
        explain);
    if (!fileChosen)
        return;
    PrintFromMainThread(
        [&](Taskmill_ConsoleActions &actions) { return actions.AddFile(inputFile, jobType, destination); });
}

void Taskmill_Console_Worker::SetPaused(Taskmill_Destination queue, bool paused)
{
    PrintFromMainThread([=](Taskmill_ConsoleActions &actions) { return actions.SetPaused(queue, paused); });
}

void Taskmill_Console_Worker::SetLimit(Taskmill_Destination queue, const QString &argument)
{
    bool isNumber = false;
    const int limit = argument.toInt(&isNumber);
    if (!isNumber || limit < 1)
        Print(u"\n<Taskmill> The limit must be a number from 1 to %1.\n\n"_s.arg(
            std::numeric_limits<int>::max()));
    else
        PrintFromMainThread([=](Taskmill_ConsoleActions &actions) { return actions.SetLimit(queue, limit); });
}

std::optional<int> Taskmill_Console_Worker::JobNumber(const QString &argument)
{
    bool isNumber = false;
    const int jobID = argument.toInt(&isNumber);
    bool isKnown = false;
    if (isNumber)
        OnMainThread([&] { isKnown = m_console.Actions().OwnerOfJob(jobID) != nullptr; });
    if (isKnown)
        return jobID;
    Print(u"\n<Taskmill> There is no waiting or running job %1.\n\n"_s.arg(argument));
    return std::nullopt;
}

void Taskmill_Console_Worker::RemoveJob(const QString &argument)
{
    const std::optional<int> jobID = JobNumber(argument);
    if (jobID)
        EndJob(*jobID, Taskmill_RemovalDialogue::Begin::AskWhether,
               u"\n<Taskmill> Job %1 was removed.\n\n"_s);
}

void Taskmill_Console_Worker::KillJob(const QString &argument)
{
    const std::optional<int> jobID = JobNumber(argument);
    if (!jobID)
        return;
    bool isRunning = false;
    OnMainThread([&] {
        Taskmill_QueueOwner *owner = m_console.Actions().OwnerOfJob(*jobID);
        const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(*jobID) : nullptr;
        isRunning = job && job->Process();
    });
    if (isRunning)
        EndJob(*jobID, Taskmill_RemovalDialogue::Begin::WarnOfRunning,
               u"\n<Taskmill> Job %1 was killed.\n\n"_s);
    else
        Print(u"\n<Taskmill> Job %1 does not run; it can be removed.\n\n"_s.arg(*jobID));
}

void Taskmill_Console_Worker::WaitForKill(int jobID)
{
    bool isWaiting = true;
    while (isWaiting && !m_console.IsQuitting() && !m_console.Terminal().IsBrokenOff()) {
        OnMainThread([&] {
            Taskmill_QueueOwner *owner = m_console.Actions().OwnerOfJob(jobID);
            const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
            isWaiting = job && job->IsBeingKilled();
        });
        // Without a thread of its own it must not hold up what it waits for.
        constexpr int pauseMs = 5;
        QEventLoop pause;
        QTimer::singleShot(pauseMs, &pause, &QEventLoop::quit);
        if (isWaiting)
            pause.exec();
    }
}

void Taskmill_Console_Worker::EndJob(int jobID, Taskmill_RemovalDialogue::Begin begin,
                                     const QString &doneText)
{
    std::optional<Taskmill_RemovalDialogue> removal;
    Converse([&]() -> Taskmill_Dialogue * {
        Taskmill_QueueOwner *owner = m_console.Actions().OwnerOfJob(jobID);
        return owner ? &removal.emplace(*owner, QList{jobID}, begin) : nullptr;
    });
    WaitForKill(jobID);
    const bool isDeclined = removal && (!removal->IsCarriedOut() || removal->Wanted().isEmpty());
    if (m_console.IsQuitting() || isDeclined)
        return;
    // It may have ended by itself while the questions stood.
    const bool wasThere = removal && !removal->Removed().isEmpty();
    Print((wasThere ? doneText : u"\n<Taskmill> Job %1 has ended meanwhile.\n\n"_s).arg(jobID));
}

void Taskmill_Console_Worker::AskAtStart()
{
    if (!m_console.Actions().AsksAtStart())
        return;
    std::optional<Taskmill_ChangedFileDialogue> changedFile;
    Converse([&] { return &changedFile.emplace(m_console.Actions().Project()); });
    if (changedFile && !changedFile->RecoveredFile().isEmpty())
        PrintSavedTo(changedFile->RecoveredFile());
    std::optional<Taskmill_HeldJobsDialogue> heldJobs;
    Converse([&] { return &heldJobs.emplace(m_console.Actions().QueuelessJobs()); });
    if (heldJobs && heldJobs->Released())
        Print(Taskmill_ConsoleActions::ReleasedText(*heldJobs->Released()));
    else if (heldJobs && heldJobs->IsDeclined())
        Print(
            u"\n<Taskmill> What waits can be run later by \"run held jobs\" or \"run job N\", or removed by "
            "\"remove job N\".\n\n"_s);
}

void Taskmill_Console_Worker::RunHeldJobs()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &actions) { return actions.RunHeldJobs(); });
}

void Taskmill_Console_Worker::RunHeldJob(const QString &argument)
{
    if (const std::optional<int> jobID = JobNumber(argument))
        PrintFromMainThread([jobID](Taskmill_ConsoleActions &actions) { return actions.RunHeldJob(*jobID); });
}

void Taskmill_Console_Worker::ShowJob(const QString &argument)
{
    bool isNumber = false;
    const int jobID = argument.toInt(&isNumber);
    if (isNumber)
        PrintFromMainThread([jobID](Taskmill_ConsoleActions &actions) { return actions.JobText(jobID); });
    else
        Print(u"\n<Taskmill> There is no job %1.\n\n"_s.arg(argument));
}

bool Taskmill_Console_Worker::SaveProject(Taskmill_SaveDialogue::Target target, const QString &firstFile)
{
    std::optional<Taskmill_SaveDialogue> saving;
    Converse([&] { return &saving.emplace(m_console.Actions().Project(), target); }, firstFile);
    if (!saving || !saving->IsSaved())
        return false;
    PrintSavedTo(saving->File());
    return true;
}

void Taskmill_Console_Worker::PrintSavedTo(const QString &file)
{
    Print(u"\n<Taskmill> The project was saved to %1.\n\n"_s.arg(file));
}

void Taskmill_Console_Worker::Save()
{
    if (!SaveProject(Taskmill_SaveDialogue::Target::OwnFile))
        Print(notSavedText);
}

void Taskmill_Console_Worker::SaveTo(const QString &argument)
{
    QString file;
    if (IsDirectory(argument))
        Print(DirectoryComplaint(argument));
    else
        file = Taskmill_AbsolutePathOfUser(argument);
    if (!SaveProject(Taskmill_SaveDialogue::Target::AskedFile, file))
        Print(notSavedText);
}

bool Taskmill_Console_Worker::MayClose()
{
    std::optional<Taskmill_ClosingDialogue> closing;
    Converse([&] { return &closing.emplace(m_console.Actions().Project()); });
    if (closing && closing->IsSaved())
        PrintSavedTo(closing->File());
    return closing && closing->MayClose();
}

void Taskmill_Console_Worker::QuitAndKeep()
{
    bool canJobsGoOn = false;
    OnMainThread([&] { canJobsGoOn = m_console.Actions().CanJobsGoOn(); });
    if (canJobsGoOn)
        Quit(Taskmill_Ending::AskedToKeep);
    else
        Print(u"\n<Taskmill> Running jobs cannot go on without Taskmill here; the debug log says why.\n\n"_s);
}

void Taskmill_Console_Worker::Quit(Taskmill_Ending ending)
{
    OfferWords({u"yes"_s, u"no"_s});
    const std::optional<QString> answer =
        Ask(u"\n<Taskmill> Are you sure you want to completely exit Taskmill?  "_s);
    const QString word = answer.value_or(QString{}).toLower();
    const bool ends = (word == "yes"_L1 || word == "y"_L1 || word == "1"_L1) && MayClose();
    // Before the end, from which nothing comes back here without an event loop.
    Print(u"\n"_s);
    if (ends)
        OnMainThread([this, ending] { m_console.Actions().Exit(ending); });
}

void Taskmill_Console_Worker::PrintDirectory()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &) {
        return u"\nCurrent Directory:  %1\n\n"_s.arg(QDir::toNativeSeparators(QDir::currentPath()));
    });
}

void Taskmill_Console_Worker::ChangeDirectory(const QString &argument)
{
    OnMainThread([&] { QDir::setCurrent(Taskmill_PathOfUser(argument)); });
    PrintDirectory();
}

void Taskmill_Console_Worker::GoHome()
{
    ChangeDirectory(QDir::homePath());
}

void Taskmill_Console_Worker::Clear()
{
    Taskmill_ConsoleShell::ClearConsole(m_console.Terminal());
}

void Taskmill_Console_Worker::ListDirectory(const QString &line)
{
    QProcess process;
    Taskmill_ConsoleShell::StartDirectoryCommand(process, line);
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(childRoundMs)) {
        if (m_console.IsQuitting() || m_console.Terminal().IsBrokenOff())
            process.kill();
        // What was posted meanwhile does not wait for the end.
        Print({});
    }
    QString listing = KilnUtil_StandardStreams::TextOfTool(process.readAllStandardOutput());
    Print(u'\n' + listing.replace("\r\n"_L1, "\n"_L1) + u"\n\n"_s);
}
