// SPDX-License-Identifier: MIT
#include "jobs/job.h"

#include "jobs/clusterrun.h"
#include "jobs/commandline.h"
#include "jobs/jobenvironment.h"
#include "jobs/runofjob.h"
#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"
#include "kilnutil/textencoding.h"
#include "processes/process.h"
#include "processes/processinspector.h"
#include "processes/runkeepers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int msInSecond = 1000;
} // namespace

struct Taskmill_Job::Prepared
{
    Taskmill_JobRecord Record;
    QString RunID;
    std::unique_ptr<KilnUtil_Process> Process;
};

Taskmill_Job::Taskmill_Job(Taskmill_JobRecord record)
    : m_record{std::move(record)}
{
    // A relative program is the one seen from here, where the job type was judged, not from the directory of
    // the input file, in which the job runs.
    if (QString &program = m_record.JobType.ExecutablePath; !program.isEmpty())
        program = QDir::isAbsolutePath(program) ? program : QFileInfo{program}.absoluteFilePath();
    if (m_record.OutputFile.isEmpty())
        m_record.DeriveOutputFile();
}

Taskmill_Job::Taskmill_Job(const Taskmill_Job &other)
    : Taskmill_Job{other.m_record}
{
}

Taskmill_Job::~Taskmill_Job()
{
    delete m_process;
}

qint64 Taskmill_Job::ProcessID() const
{
    return m_process ? m_process->ProcessID() : 0;
}

void Taskmill_Job::SetWaitReason(const Taskmill_WaitReason &reason)
{
    const QString ofFiles = std::exchange(m_record.WaitReason, reason).OfFiles;
    m_record.WaitReason.OfFiles = ofFiles;
}

void Taskmill_Job::SetReasonOfFiles(const QString &reason)
{
    m_isHeldForFiles = !reason.isEmpty();
    m_record.WaitReason.OfFiles = reason;
}

void Taskmill_Job::SetLowPriority(bool isLow)
{
    if (std::exchange(m_hasLowPriority, isLow) != isLow)
        DropPreparation();
}

bool Taskmill_Job::Prepare(KilnUtil_RunKeepers &keepers, const QString &runID)
{
    if (m_process || m_followsOn || m_isStartPutOff || m_record.JobType.IsEmpty() ||
        m_record.HoldsNulInFileName())
        return false;
    const Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(m_record);
    // A file would have to be written for that one.
    if (!plan.StandardInput.isEmpty())
        return false;
    MakeProcess(plan, m_record.StandardInputFile);
    std::unique_ptr<KilnUtil_Process> process{std::exchange(m_process, nullptr)};
    process->SetKeeper(keepers, runID);
    if (!process->Prepare())
        return false;
    m_prepared = std::make_unique<Prepared>(
        Prepared{.Record = m_record, .RunID = runID, .Process = std::move(process)});
    return true;
}

void Taskmill_Job::DropPreparation()
{
    m_prepared.reset();
}

QString Taskmill_Job::PreparedRunID() const
{
    const bool isGood = m_prepared && m_prepared->Process->IsPrepared() && m_prepared->Record == m_record;
    return isGood ? m_prepared->RunID : QString{};
}

bool Taskmill_Job::Start(KilnUtil_RunKeepers *keepers)
{
    m_record.SetStatus(Taskmill_JobStatus::Running, true);
    m_record.WaitReason = {};
    if (std::exchange(m_isStartPutOff, false))
        m_record.StdOutAndStdErr.clear();
    if (m_prepared) {
        m_process = std::exchange(m_prepared, nullptr)->Process.release();
        RunProcess(keepers);
        return true;
    }
    if (m_followsOn) {
        StartFollower(keepers);
        return true;
    }
    if (m_record.JobType.IsEmpty()) {
        EndWithoutProcess(u"The job was not run: its job type is no longer in the project.\n"_s);
        return true;
    }

    // It may come from a project file.
    if (m_record.HoldsNulInFileName()) {
        EndWithoutProcess(u"The job was not run: the name of one of its files holds a NUL character.\n"_s);
        return true;
    }

    const Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(m_record);
    if (plan.StandardInput.isEmpty()) {
        MakeProcess(plan, m_record.StandardInputFile);
        RunProcess(keepers);
        return true;
    }
    return StartWithInput(plan, keepers);
}

bool Taskmill_Job::StartWithInput(const Taskmill_LaunchPlan &plan, KilnUtil_RunKeepers *keepers)
{
    QFile file;
    if (!OpenStandardInput(file)) {
        if (file.error() == QFileDevice::ResourceError) {
            PutStartOff(file.errorString());
            return true;
        }
        m_record.StdOutAndStdErr =
            u"The job was not run: no file for its standard input could be made in %1.\n"_s.arg(
                StandardInputDirectory());
        return false;
    }
    if (file.write(plan.StandardInput) != plan.StandardInput.size() || !file.flush()) {
        EndWithoutProcess(u"The job was not run: its standard input could not be written to %1: %2\n"_s.arg(
            file.fileName(), file.errorString()));
        // By its name: a file that cannot be written cannot be closed without an error either, and would
        // then not remove itself.
        const QString name = file.fileName();
        file.close();
        QFile::remove(name);
        return true;
    }
    m_writtenInput = file.fileName();
    file.close();
    MakeProcess(plan, m_record.StandardInputFile.isEmpty() ? file.fileName() : m_record.StandardInputFile);
    RunProcess(keepers);
    return true;
}

void Taskmill_Job::RunProcess(KilnUtil_RunKeepers *keepers)
{
    if (const QString runID = Taskmill_RunOfJob{m_record.Run}.RunID; keepers && !runID.isEmpty())
        m_process->SetKeeper(*keepers, runID);
    m_process->Start();
    // When the keepers are out of order, this program runs the job itself.
    if (!m_process->IsKept())
        m_record.Run.clear();
}

void Taskmill_Job::StartFollower(KilnUtil_RunKeepers *keepers)
{
    m_followsOn = false;
    Taskmill_LaunchPlan plan;
    plan.Program = Taskmill_ClusterRun::Program(m_record.JobType.ExecutablePath);
    plan.Arguments = ClusterRun().Arguments();
    MakeProcess(plan, {});
    RunProcess(keepers);
}

Taskmill_ClusterRun Taskmill_Job::ClusterRun() const
{
    return {WorkingDirectory(), Taskmill_RunOfJob{m_record.Run}.RunID};
}

bool Taskmill_Job::PassRunOn(const QString &runID) const
{
    return !m_followsOn || ClusterRun().PassTo(runID);
}

bool Taskmill_Job::FollowOn()
{
    if (!ClusterRun().IsToBeFollowed())
        return false;
    m_record.SetStatus(Taskmill_JobStatus::Running, true);
    m_followsOn = true;
    PutStartOff(u"the program that followed it on the cluster was ended, and is started again"_s);
    return true;
}

bool Taskmill_Job::IsToBeFollowedOn()
{
    constexpr int mostQuickEnds = 5;
    constexpr qint64 quickMs = 10'000;
    // The user may have given it too little time to have the job cancelled.
    const bool isOver = m_process && m_process->End().How == KilnUtil_RunEnd::Kind::Exit &&
                        m_process->ExitCode() == 0 && !m_process->WasKilled();
    if (m_isEndWanted || !m_process || isOver || !ClusterRun().IsToBeFollowed())
        return false;
    const qint64 ranMs = QDateTime::currentMSecsSinceEpoch() - m_followedSinceMs;
    m_quickEnds = ranMs < quickMs ? m_quickEnds + 1 : 0;
    return m_quickEnds < mostQuickEnds;
}

void Taskmill_Job::TakeOver(KilnUtil_FoundRun run)
{
    m_record.SetStatus(Taskmill_JobStatus::Running, true);
    if (run.StartMs > 0)
        m_record.Started = QDateTime::fromMSecsSinceEpoch(run.StartMs);
    UseNewProcess();
    m_process->SetProgramText(m_record.JobType.ExecutablePath);
    m_process->TakeOver(std::move(run.Run));
}

QString Taskmill_Job::WorkingDirectory() const
{
    return Taskmill_ClusterRun::WorkFolderOf(m_record.InputFilePath);
}

QString Taskmill_Job::StandardInputDirectory() const
{
    return m_record.OutputFile.isEmpty() ? WorkingDirectory()
                                         : QFileInfo{m_record.OutputFilePath()}.absolutePath();
}

bool Taskmill_Job::OpenStandardInput(QFile &file) const
{
    // Another job may take the new name between choosing and opening it.
    for (int attempt = 0; attempt < 100; ++attempt) {
        file.setFileName(KilnUtil_FileSys::ConvertFilename(
            KilnUtil_FileSys::NewFileName(u"freqchk"_s, u"inp"_s, StandardInputDirectory(), false), false,
            false));
        if (file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::NewOnly))
            return true;
        if (!file.exists())
            return false;
    }
    return false;
}

void Taskmill_Job::MakeProcess(const Taskmill_LaunchPlan &plan, const QString &standardInputFile)
{
    UseNewProcess();
    m_followedSinceMs = QDateTime::currentMSecsSinceEpoch();
    m_process->SetEnvironment(Taskmill_JobEnvironment(m_record, KilnUtil_Process::StartEnvironment()));
    // A program that reads a prompt nobody answers must find the end of the input instead of waiting for
    // ever.
    m_process->SetStandardInputFilePath(standardInputFile.isEmpty() ? QProcess::nullDevice()
                                                                    : standardInputFile);
    if (!m_record.StandardOutputFile.isEmpty())
        m_process->SetStandardOutputFilePath(m_record.StandardOutputFile);
    m_process->SetWorkingDirectory(WorkingDirectory());
    m_process->SetLowPriority(m_hasLowPriority);
    m_process->SetProgramText(plan.Program);
    m_process->SetArgumentText(plan.Arguments);
}

void Taskmill_Job::Say(const QString &line)
{
    if (m_process)
        m_process->Say(u"\n"_s + line + u'\n');
}

void Taskmill_Job::UseNewProcess()
{
    m_process = new KilnUtil_Process{nullptr, m_record.Name};
    // What follows a job of a cluster ends when the cluster has confirmed that its job is gone.
    const int grace = Taskmill_ClusterRun::IsFollower(m_record.JobType.ExecutablePath)
                          ? Taskmill_JobType::LongestKillGrace
                          : m_record.JobType.KillGraceSeconds;
    m_process->SetGrace(msInSecond * qBound(0, grace, Taskmill_JobType::LongestKillGrace));
    connect(m_process, &KilnUtil_Process::FinishedSignal, this, &Taskmill_Job::ProcessFinishedSlot);
    connect(m_process, &KilnUtil_Process::RemainsSignal, this, [this](const QList<qint64> &processIDs) {
        m_isBeingKilled = false;
        Q_EMIT RemainsSignal(processIDs);
    });
}

void Taskmill_Job::PutStartOff(const QString &reason)
{
    m_isStartPutOff = true;
    // The next try to start writes a new file for the standard input.
    if (!m_writtenInput.isEmpty())
        QFile::remove(std::exchange(m_writtenInput, {}));
    m_record.StdOutAndStdErr =
        u"The job waits to be started, which is tried again every few seconds: %1\n"_s.arg(reason);
    Q_EMIT StartPutOffSignal(reason);
}

bool Taskmill_Job::Kill(Taskmill_ProcessInspector &inspector)
{
    m_isEndWanted = true;
    if (std::exchange(m_isStartPutOff, false)) {
        if (m_followsOn)
            ClusterRun().Cancel();
        m_record.ExitCode = KilnUtil_Process::ExitCodeOfFailedStart;
        m_record.SetStatus(Taskmill_JobStatus::Killed, true);
        Q_EMIT JobFinishedSignal();
        return true;
    }
    if (m_record.Status != Taskmill_JobStatus::Running || !m_process)
        return false;
    // A keeper finds all processes of its run by itself, and gives them time to end.
    if (const qint64 processID = m_process->ProcessID(); processID > 0 && !m_process->IsKept()) {
        // TerminateTree ends the direct children, whose own children would be out of reach afterwards.
        m_process->KillDescendants();
        inspector.TerminateTree(m_process->Program(), static_cast<int>(processID));
    }
    m_process->KillSlot();
    return true;
}

bool Taskmill_Job::IsKept() const
{
    return m_record.Status == Taskmill_JobStatus::Running && m_process && m_process->IsKept();
}

bool Taskmill_Job::BeginKill()
{
    if (!IsKept())
        return false;
    m_isBeingKilled = true;
    m_isEndWanted = true;
    m_process->BeginKill();
    return true;
}

bool Taskmill_Job::LetGoOn()
{
    // Whoever opens the project follows its job on the cluster.
    if (m_isStartPutOff && m_followsOn)
        return std::exchange(m_isStartPutOff, false);
    if (!IsKept())
        return false;
    m_process->LetGoOn();
    delete std::exchange(m_process, nullptr);
    return true;
}

QString Taskmill_Job::OutputNow() const
{
    if (!m_process)
        return m_record.StdOutAndStdErr;
    return TextOfOutput(m_process->Output().Content());
}

QString Taskmill_Job::TextOfOutput(QByteArray bytes)
{
    // A database text is cut at a NUL character by whoever reads it with C functions.
    if (bytes.contains('\0'))
        bytes.replace('\0', QByteArrayView{});
    return KilnUtil_TextEncoding::FromUtf8OrLatin1(bytes);
}

/// A job's end is to hold nothing up: of a long output only what was said of it is taken over. What cannot be
/// read now may be later.
void Taskmill_Job::GatherLastOutput()
{
    constexpr qint64 longestGathered = 256L * 1024;
    const bool isLong = m_process && m_process->Output().TotalSize() > longestGathered;
    const bool isLeft = isLong || (m_process && !m_process->Output().IsReadable());
    if (isLeft && !isLong)
        qCWarning(Taskmill_JobsLog, "The output of job %d cannot be read now, and stays where it is",
                  JobID());
    const std::optional<QByteArray> said = isLeft ? m_process->Output().Appended() : std::nullopt;
    m_record.IsOutputLeft = said.has_value();
    if (said)
        m_record.StdOutAndStdErr = QString::fromUtf8(*said);
    else
        m_record.StdOutAndStdErr = OutputNow();
}

bool Taskmill_Job::HasOutput() const
{
    return m_process ? m_process->Output().TotalSize() > 0 : !m_record.StdOutAndStdErr.isEmpty();
}

Taskmill_JobStatus Taskmill_Job::FinalStatus() const
{
    if (!m_process)
        return Taskmill_JobStatus::Finished;
    if (m_process->WasKilled())
        return Taskmill_JobStatus::Killed;
    if (m_process->HasCrashed())
        return Taskmill_JobStatus::Crashed;
    return m_process->ExitCode() == 0 ? Taskmill_JobStatus::Completed : Taskmill_JobStatus::Failed;
}

void Taskmill_Job::TakeMeasuresOf(const KilnUtil_RunEnd &end)
{
    m_record.EndMs = end.EndMs;
    m_record.ProcessorMs = end.ProcessorMs;
    m_record.PeakMemoryKB = end.PeakMemoryKB;
}

void Taskmill_Job::ProcessFinishedSlot(bool)
{
    if (m_process && m_process->End().IsForLack && !m_process->WasKilled()) {
        const QString reason = m_process->End().Reason;
        std::exchange(m_process, nullptr)->DeleteWhenEnded();
        if (!FollowOn())
            PutStartOff(reason);
        return;
    }
    if (IsToBeFollowedOn()) {
        std::exchange(m_process, nullptr)->DeleteWhenEnded();
        FollowOn();
        return;
    }
    if (m_isEndWanted && ClusterRun().State())
        Taskmill_RepeatCancellations();
    const Taskmill_JobStatus status = FinalStatus();
    m_record.ExitCode = m_process ? m_process->ExitCode() : 0;
    if (m_process)
        TakeMeasuresOf(m_process->End());
    GatherLastOutput();
    m_record.SetStatus(status, true);
    // The run may have ended while no manager was there to see it.
    if (m_record.EndMs > 0)
        m_record.Finished =
            qMax(m_record.Started, Taskmill_JobTime{QDateTime::fromMSecsSinceEpoch(m_record.EndMs)});
    Q_EMIT JobFinishedSignal();
    // The process is the sender of the signal that led here.
    if (KilnUtil_Process *process = std::exchange(m_process, nullptr))
        process->DeleteWhenEnded();
}

void Taskmill_Job::EndWithoutProcess(const QString &reason)
{
    m_record.StdOutAndStdErr = reason;
    QTimer::singleShot(0, this, [this] {
        m_record.ExitCode = KilnUtil_Process::ExitCodeOfFailedStart;
        m_record.SetStatus(Taskmill_JobStatus::Failed, true);
        Q_EMIT JobFinishedSignal();
    });
}
