// SPDX-License-Identifier: MIT
#include "jobs/startchecker.h"

#include "jobs/jobcontainer.h"
#include "kilnutil/drives.h"
#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
constexpr auto nextTry = 10s;
/// As a rule files are looked at within that time.
constexpr auto shortWait = 4ms;
/// A drive that was only slow answers soon.
constexpr auto listening = 200ms;
/// How long a look does that was taken before the turn of its job.
constexpr std::chrono::milliseconds longestAhead = 1s;
/// Each holds a thread; beyond these, jobs start without a look at their files.
constexpr qsizetype mostSilentFolders = 8;
/// Then the event loop goes on first.
constexpr int mostLooks = 16;
/// Beyond that an input is read on the thread, wherever it is.
constexpr qint64 longestReadHere = 1 << 20;

/// Whether an event loop can look at these files.
bool AnswersAtOnce(const Taskmill_FileQuestion &question)
{
    QStringList files = question.Written;
    files << question.Input << question.Folder;
    files.removeAll(QString{});
    return std::ranges::all_of(files, KilnUtil_Drives::IsLocal) &&
           (question.InputHash.isEmpty() || QFileInfo{question.Input}.size() <= longestReadHere);
}

/// By what another content shows, as a rule.
std::pair<qint64, QDateTime> StateOf(const QString &file)
{
    const QFileInfo info{file};
    return {info.size(), info.fileTime(QFile::FileModificationTime)};
}

/// One of a test may take its time.
bool LooksAtFiles(const Taskmill_StartChecker::Look &look)
{
    const auto *const function = look.target<decltype(&Taskmill_LookAtFiles)>();
    return function && *function == Taskmill_LookAtFiles;
}
} // namespace

Taskmill_StartChecker::Taskmill_StartChecker(Look look, std::chrono::milliseconds longestLook)
    : m_look{std::move(look)}
    , m_longestLook{longestLook}
    , m_thread{nullptr}
{
    m_giveUp.setSingleShot(true);
    connect(&m_giveUp, &QTimer::timeout, this, &Taskmill_StartChecker::GiveUpIfSilent);
    m_tryAgain.setSingleShot(true);
    connect(&m_tryAgain, &QTimer::timeout, this, &Taskmill_StartChecker::TryAgain);
    m_listen.setInterval(listening);
    connect(&m_listen, &QTimer::timeout, this, &Taskmill_StartChecker::ListenSlot);
    // Before the containers ask about others.
    connect(this, &Taskmill_StartChecker::AnsweredSignal, this, &Taskmill_StartChecker::LookAtHeld);
}

void Taskmill_StartChecker::Join(Taskmill_JobContainer &jobs)
{
    m_all.append(&jobs);
    connect(this, &Taskmill_StartChecker::AnsweredSignal, &jobs, &Taskmill_JobContainer::LookAgain);
}

bool Taskmill_StartChecker::LookAhead(Taskmill_Job &job)
{
    m_ahead.reset();
    const Taskmill_FileQuestion question = Taskmill_FileQuestionOf(job.Record());
    // The job before may write what this one reads, and one of such a type is not to start then.
    if (job.Record().JobType.HoldsChangedInput || m_asked == &job || !LooksAtFiles(m_look) ||
        !AnswersAtOnce(question))
        return false;
    m_ahead = {.Job = &job,
               .Facts = {},
               .Input = question.Input,
               .InputState = StateOf(question.Input),
               .Since = {}};
    m_ahead->Since.start();
    m_ahead->Facts = m_look(question);
    return Taskmill_ReasonOfFiles(job.Record(), m_ahead->Facts).isEmpty();
}

std::optional<Taskmill_FileFacts> Taskmill_StartChecker::TakeAhead(const Taskmill_Job &job)
{
    if (!m_ahead || m_ahead->Job != &job)
        return std::nullopt;
    const Ahead ahead = *std::exchange(m_ahead, std::nullopt);
    if (ahead.Since.hasExpired(longestAhead.count()) || ahead.InputState != StateOf(ahead.Input))
        return std::nullopt;
    return ahead.Facts;
}

Taskmill_StartChecker::Answer Taskmill_StartChecker::Ask(Taskmill_Job &job)
{
    if (const auto facts = TakeAhead(job))
        return Decide(job, *facts);
    // What is known of its files from an earlier look does for this.
    if (HoldForWriter(job))
        return Answer::IsHeld;
    if (m_asked != &job) {
        const Taskmill_FileQuestion question = Taskmill_FileQuestionOf(job.Record());
        if (LooksAtFiles(m_look) && AnswersAtOnce(question))
            return Decide(job, m_look(question));
        const QString &folder = question.Folder;
        if (IsSilent(folder)) {
            Hold(job,
                 u"waits for the drive of %1, which does not answer"_s.arg(QDir::toNativeSeparators(folder)),
                 false);
            return Answer::IsHeld;
        }
        if (m_thread.IsBusy())
            return Answer::IsLookedAt;
        if (m_silent.size() >= mostSilentFolders) {
            NoteFilesOf(job);
            return HoldForWriter(job) ? Answer::IsHeld : Answer::Starts;
        }
        LookAt(job);
    }
    if (!m_facts)
        return Answer::IsLookedAt;
    m_asked = nullptr;
    return Decide(job, *std::exchange(m_facts, std::nullopt));
}

void Taskmill_StartChecker::LookAt(Taskmill_Job &job)
{
    const Taskmill_FileQuestion question = Taskmill_FileQuestionOf(job.Record());
    m_asked = &job;
    m_folder = question.Folder;
    m_facts.reset();
    m_hasAnswered = std::make_shared<std::atomic<bool>>(false);
    const auto isWaiting = std::make_shared<bool>(true);
    m_lookTime.start();
    m_thread.Run([this, question, isWaiting, look = m_look, hasAnswered = m_hasAnswered] {
        const Taskmill_FileFacts facts = look(question);
        *hasAnswered = true;
        return [this, facts, isWaiting] {
            m_giveUp.stop();
            m_facts = facts;
            m_isSlow = m_lookTime.elapsed() > shortWait.count();
            if (!*isWaiting)
                Q_EMIT AnsweredSignal();
        };
    });
    // Of hundreds of jobs on a slow drive each would hold up the event loop.
    if (!m_isSlow)
        m_thread.Wait(shortWait);
    *isWaiting = false;
    if (!m_facts)
        m_giveUp.start(m_longestLook);
}

/// The thread is left alone with its drive, and with it the jobs of that folder.
void Taskmill_StartChecker::GiveUpIfSilent()
{
    if (m_facts)
        return;
    qCWarning(Taskmill_JobsLog, "The drive of %ls does not answer: its jobs wait", qUtf16Printable(m_folder));
    m_silent.insert(m_folder, m_hasAnswered);
    m_thread.LeaveAlone();
    m_asked = nullptr;
    m_listen.start();
    Q_EMIT AnsweredSignal();
}

void Taskmill_StartChecker::ListenSlot()
{
    if (m_silent.removeIf([](const auto &folder) { return folder.value()->load(); }) == 0)
        return;
    if (m_silent.isEmpty())
        m_listen.stop();
    TryAgain();
}

bool Taskmill_StartChecker::IsSilent(const QString &folder) const
{
    const auto found = m_silent.constFind(folder);
    return found != m_silent.constEnd() && !**found;
}

const Taskmill_Job *Taskmill_StartChecker::WriterOf(const QStringList &files, const Taskmill_Job &except,
                                                    QString &file) const
{
    if (files.isEmpty())
        return nullptr;
    for (const Taskmill_JobContainer *jobs : m_all) {
        for (const Taskmill_Job *job : jobs->Jobs()) {
            // Behind the first one that waits none runs.
            if (job->Status() == Taskmill_JobStatus::Pending)
                break;
            if (job == &except || job->Status() != Taskmill_JobStatus::Running)
                continue;
            const auto isWritten = [job](const QString &one) {
                return job->WrittenFiles().contains(one);
            };
            if (const auto found = std::ranges::find_if(files, isWritten); found != files.end()) {
                file = *found;
                return job;
            }
        }
    }
    return nullptr;
}

bool Taskmill_StartChecker::HoldForWriter(Taskmill_Job &job)
{
    QString file;
    const Taskmill_Job *writer = WriterOf(job.WrittenFiles(), job, file);
    if (!writer)
        return false;
    const QString number = QString::number(writer->JobID());
    Hold(job, u"waits for job %1, which writes %2"_s.arg(number, QFileInfo{file}.fileName()), true);
    return true;
}

void Taskmill_StartChecker::Hold(Taskmill_Job &job, const QString &reason, bool isForWriter)
{
    if (!job.IsHeldForFiles())
        m_held.append(&job);
    job.SetReasonOfFiles(reason);
    job.SetHeldForWriter(isForWriter);
    if (!isForWriter && !m_tryAgain.isActive())
        m_tryAgain.start(nextTry);
}

Taskmill_StartChecker::Answer Taskmill_StartChecker::Decide(Taskmill_Job &job,
                                                            const Taskmill_FileFacts &facts)
{
    job.SetWrittenFiles(facts.Written);
    if (HoldForWriter(job))
        return Answer::IsHeld;
    const QString reason = job.IgnoresFiles() ? QString{} : Taskmill_ReasonOfFiles(job.Record(), facts);
    if (!reason.isEmpty()) {
        Hold(job, reason, false);
        return Answer::IsHeld;
    }
    if (facts.IsInputChanged) {
        qCInfo(Taskmill_JobsLog, "The input of job %d has changed since it was submitted", job.JobID());
        job.SetInputHasChanged();
    }
    return Answer::Starts;
}

void Taskmill_StartChecker::NoteFilesOf(Taskmill_Job &job) const
{
    QStringList files = Taskmill_FileQuestionOf(job.Record()).Written;
    // What lies on a drive that may not answer is compared as it is spelled.
    std::ranges::transform(files, files.begin(), [](const QString &file) {
        return KilnUtil_Drives::IsLocal(file) ? Taskmill_ComparableFile(file)
                                              : KilnUtil_FileSys::ComparablePath(QDir::cleanPath(file));
    });
    files.removeAll(QString{});
    job.SetWrittenFiles(files);
}

void Taskmill_StartChecker::LetStart(Taskmill_Job &job) const
{
    job.SetIgnoresFiles();
    if (!job.IsHeldForWriter())
        job.SetReasonOfFiles({});
}

void Taskmill_StartChecker::JobEnded()
{
    bool isAnyFree = false;
    m_held.removeIf([&](const QPointer<Taskmill_Job> &job) {
        QString file;
        const bool waits = job && job->Status() == Taskmill_JobStatus::Pending && job->IsHeldForFiles();
        if (!waits)
            return true;
        if (!job->IsHeldForWriter() || WriterOf(job->WrittenFiles(), *job, file))
            return false;
        job->SetHeldForWriter(false);
        job->SetReasonOfFiles({});
        isAnyFree = true;
        return true;
    });
    // They may wait in another queue than the one that looks anyhow.
    if (isAnyFree)
        QMetaObject::invokeMethod(this, &Taskmill_StartChecker::AnsweredSignal, Qt::QueuedConnection);
}

void Taskmill_StartChecker::TryAgain()
{
    // What is being looked at may have been otherwise when that began.
    m_asked = nullptr;
    m_toLookAt.clear();
    m_held.removeIf([this](const QPointer<Taskmill_Job> &job) {
        if (!job || job->Status() != Taskmill_JobStatus::Pending || !job->IsHeldForFiles())
            return true;
        if (!job->IsHeldForWriter())
            m_toLookAt.append(job);
        return false;
    });
    if (LookAtHeld())
        Q_EMIT AnsweredSignal();
}

/// They stay held until the answer is there: a job that cannot be started is not to take the turn of another.
/// Whether one may start now.
bool Taskmill_StartChecker::LookAtHeld()
{
    bool isAnyFree = false;
    for (int looks = 0; looks < mostLooks && !m_toLookAt.isEmpty(); ++looks) {
        Taskmill_Job *job = m_toLookAt.first();
        if (job && job->Status() == Taskmill_JobStatus::Pending && job->IsHeldForFiles()) {
            const Answer answer = Ask(*job);
            if (answer == Answer::IsLookedAt)
                return isAnyFree;
            if (answer == Answer::Starts) {
                job->SetReasonOfFiles({});
                isAnyFree = true;
            }
        }
        m_toLookAt.removeFirst();
    }
    if (!m_toLookAt.isEmpty())
        QMetaObject::invokeMethod(this, &Taskmill_StartChecker::AnsweredSignal, Qt::QueuedConnection);
    return isAnyFree;
}
