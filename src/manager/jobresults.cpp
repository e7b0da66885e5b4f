// SPDX-License-Identifier: MIT
#include "manager/jobresults.h"

#include "engines/outputreader.h"
#include "jobs/job.h"
#include "jobs/runofjob.h"
#include "manager/resultworker.h"
#include "processes/process.h"
#include "processes/runkeepers.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <utility>

namespace {
/// So much is read in no time.
constexpr qsizetype mostReadHere = 16L * 1024;

/// An output file that a record names is where the job writes it, whatever directory this program has.
Taskmill_OutputFiles FilesOf(const Taskmill_JobRecord &job)
{
    Taskmill_OutputFiles files{.Paths = {job.OutputFilePath(), job.StandardOutputFile},
                               .Started = job.Started.ClockTime()};
    files.Paths.removeAll({});
    files.Paths.removeDuplicates();
    return files;
}

Taskmill_JobResult ResultOf(Taskmill_ProgramResult said, Taskmill_JobStatus status)
{
    if (status == Taskmill_JobStatus::Killed && said.Verdict == Taskmill_Verdict::Error) {
        said.Verdict = Taskmill_Verdict::None;
        said.Message.clear();
    }
    return Taskmill_ResultOf(said);
}

Taskmill_OutputText Whole(const QString &text)
{
    return [text] {
        return text.toUtf8();
    };
}

Taskmill_ProgramResult ResultOfText(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    Taskmill_OutputReader reader;
    reader.Feed({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    reader.Finish();
    return reader.State();
}
} // namespace

Taskmill_JobResults::Taskmill_JobResults(KilnUtil_RunKeepers *keepers, std::chrono::milliseconds interval)
    : m_keepers{keepers}
    , m_interval{interval}
{
    m_newTimer.setSingleShot(true);
    m_newTimer.setInterval(m_interval);
    connect(&m_newTimer, &QTimer::timeout, this, &Taskmill_JobResults::FollowNewSlot);
    m_printedTimer.setInterval(m_interval);
    connect(&m_printedTimer, &QTimer::timeout, this, &Taskmill_JobResults::TakePrintedSlot);
}

Taskmill_JobResults::~Taskmill_JobResults() = default;

Taskmill_ResultWorker &Taskmill_JobResults::Worker()
{
    if (!m_worker) {
        m_worker = std::make_unique<Taskmill_ResultWorker>(m_interval);
        connect(m_worker.get(), &Taskmill_ResultWorker::ReportsSignal, this,
                &Taskmill_JobResults::TakeReportsSlot);
    }
    return *m_worker;
}

Taskmill_ResultState Taskmill_JobResults::StateOf(int jobID) const
{
    const auto running = m_running.constFind(jobID);
    return running == m_running.constEnd() ? nullptr : running->State;
}

KilnUtil_PrintedReader Taskmill_JobResults::PrintedBy(const QString &run) const
{
    const QString runID = Taskmill_RunOfJob{run}.RunID;
    return m_keepers && !runID.isEmpty() ? m_keepers->ReaderOf(runID) : KilnUtil_PrintedReader{};
}

void Taskmill_JobResults::JobStarts(const Taskmill_Job &job)
{
    Taskmill_OutputFiles files = FilesOf(job.Record());
    files.Started = Taskmill_JobTime::Now().ClockTime();
    files.IsAboutToStart = true;
    Begin(job, files);
}

void Taskmill_JobResults::JobIsTakenOver(const Taskmill_Job &job)
{
    Begin(job, FilesOf(job.Record()));
}

void Taskmill_JobResults::Begin(const Taskmill_Job &job, const Taskmill_OutputFiles &files)
{
    const int jobID = job.JobID();
    const qint64 number = ++m_lastNumber;
    if (const auto before = m_running.constFind(jobID); before != m_running.constEnd())
        Drop(jobID, before->Number);
    m_running.insert(jobID, {.Number = number, .Job = &job, .HasFiles = !files.Paths.isEmpty()});
    m_jobs.insert(number, jobID);
    // What its files are now, they are without it.
    if (!files.Paths.isEmpty())
        Worker().Follow(number, files);
    if (!m_newTimer.isActive())
        m_newTimer.start();
    // One that is let go on ends without a word.
    connect(&job, &QObject::destroyed, this, [this, jobID, number] { Drop(jobID, number); });
}

void Taskmill_JobResults::Drop(int jobID, qint64 number)
{
    const auto running = m_running.constFind(jobID);
    if (running == m_running.constEnd() || running->Number != number)
        return;
    if (running->HasFiles || running->IsFollowed)
        Worker().Drop(number);
    m_jobs.remove(number);
    m_running.erase(running);
}

void Taskmill_JobResults::FollowNewSlot()
{
    for (Running &running : m_running) {
        if (!running.Job || std::exchange(running.IsFollowed, true))
            continue;
        if (!running.HasFiles)
            Worker().Follow(running.Number, FilesOf(running.Job->Record()));
        const auto printed = PrintedBy(running.Job->Record().Run);
        if (printed)
            Worker().Alter(running.Number, [printed](auto &output) { output.SetPrinted(printed); });
        else if (!m_printedTimer.isActive())
            m_printedTimer.start();
    }
}

void Taskmill_JobResults::TakePrintedSlot()
{
    // A drive that does not answer is not to make them pile up.
    constexpr qint64 mostUnderWay = 16LL * 1024 * 1024;
    bool isAny = false;
    for (Running &running : m_running) {
        if (!running.Job || !running.Job->Record().Run.isEmpty())
            continue;
        isAny = true;
        const KilnUtil_Process *process = running.IsFollowed ? running.Job->Process() : nullptr;
        if (!process || process->Output().TotalSize() == running.Taken || *m_underWay > mostUnderWay)
            continue;
        const QByteArray piece = process->Output().ReadFrom(running.Taken);
        *m_underWay += piece.size();
        Worker().Alter(running.Number, [piece, underWay = m_underWay](auto &output) {
            output.AddPrinted(piece);
            *underWay -= piece.size();
        });
    }
    if (!isAny)
        m_printedTimer.stop();
}

std::optional<Taskmill_JobResult> Taskmill_JobResults::ResultOfEnded(const Taskmill_JobRecord &job,
                                                                     const Done &done)
{
    std::optional<Running> running;
    if (const auto found = m_running.constFind(job.JobID); found != m_running.constEnd()) {
        running = *found;
        m_running.erase(found);
        m_jobs.remove(running->Number);
    }
    const Taskmill_OutputFiles files = FilesOf(job);
    const bool isKnownToThread = running && (running->HasFiles || running->IsFollowed);
    if (files.Paths.isEmpty() && !job.IsOutputLeft && job.StdOutAndStdErr.size() <= mostReadHere) {
        if (isKnownToThread)
            Worker().Drop(running->Number);
        return ResultOf(ResultOfText(job.StdOutAndStdErr), job.Status);
    }
    const qint64 number = isKnownToThread ? running->Number : ++m_lastNumber;
    if (!isKnownToThread)
        Worker().Follow(number, files);
    const auto printed = job.IsOutputLeft ? PrintedBy(job.Run) : KilnUtil_PrintedReader{};
    const bool goesOn = printed && running && running->IsFollowed;
    Worker().Alter(
        number,
        [printed, goesOn, ended = job.Finished.ClockTime(), text = job.StdOutAndStdErr](auto &output) {
            if (printed && !goesOn)
                output.SetPrinted(printed);
            else if (!printed)
                output.SetPrinted(Whole(text));
            output.End(ended);
        },
        true);
    m_ended.insert(number,
                   {.Run = job.IsOutputLeft ? job.Run : QString{}, .Status = job.Status, .Take = done});
    return std::nullopt;
}

void Taskmill_JobResults::TakeLeftOutput(const QString &run, const QString &output)
{
    for (const auto &[number, ended] : m_ended.asKeyValueRange()) {
        if (ended.Run == run)
            Worker().Alter(
                number, [output](auto &followed) { followed.SetPrinted(Whole(output)); }, true);
    }
}

qint64 Taskmill_JobResults::ReadEnded(const Taskmill_JobRecord &job, const Taskmill_OutputText &printed,
                                      QObject *context, const Progress &progress)
{
    // Stored times are whole seconds.
    constexpr qint64 roundedOff = 1;
    const qint64 number = ++m_lastNumber;
    Taskmill_OutputFiles files = FilesOf(job);
    files.Started = files.Started.addSecs(-roundedOff);
    files.Ended = job.Finished.ClockTime().addSecs(roundedOff);
    Worker().Follow(number, files);
    Worker().Alter(
        number,
        [printed, ended = files.Ended](auto &output) {
            output.SetPrinted(printed);
            output.End(ended);
        },
        true);
    m_readings.insert(number, {.Context = context, .Take = progress});
    return number;
}

void Taskmill_JobResults::GiveUp(qint64 reading)
{
    if (m_readings.remove(reading) > 0)
        Worker().Drop(reading);
}

bool Taskmill_JobResults::WaitForEnded(std::chrono::milliseconds longest)
{
    const QDeadlineTimer deadline{longest};
    for (;;) {
        TakeReportsSlot();
        if (m_ended.isEmpty())
            return true;
        if (deadline.hasExpired())
            return false;
        Worker().WaitForReports(std::chrono::milliseconds{deadline.remainingTime()});
    }
}

void Taskmill_JobResults::Forget()
{
    const QList<qint64> numbers = m_ended.keys();
    for (const qint64 number : numbers)
        Worker().Drop(number);
    m_ended.clear();
}

void Taskmill_JobResults::TakeReportsSlot()
{
    if (!m_worker)
        return;
    const QList<Taskmill_ResultReport> reports = m_worker->TakeReports();
    for (const Taskmill_ResultReport &report : reports)
        TakeReport(report);
}

void Taskmill_JobResults::TakeReport(const Taskmill_ResultReport &report)
{
    if (const auto job = m_jobs.constFind(report.Number); job != m_jobs.constEnd()) {
        m_running[*job].State = report.State->Program.empty() ? nullptr : report.State;
        Q_EMIT StateChangedSignal(*job);
        return;
    }
    if (report.IsComplete && m_ended.contains(report.Number)) {
        const Ended ended = m_ended.take(report.Number);
        ended.Take(ResultOf(*report.State, ended.Status));
        return;
    }
    if (!m_readings.contains(report.Number))
        return;
    const Reading found = m_readings.value(report.Number);
    if (!found.Context) {
        GiveUp(report.Number);
        return;
    }
    if (report.IsComplete)
        m_readings.remove(report.Number);
    found.Take(report.State, report.IsComplete);
}
