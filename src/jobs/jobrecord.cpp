// SPDX-License-Identifier: MIT
#include "jobs/jobrecord.h"

#include "jobs/commandline.h"
#include "jobs/joborder.h"
#include "kilnutil/filesys.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
std::array<const QString *, 8> FileNames(const Taskmill_JobRecord &job)
{
    return {&job.JobType.ExecutablePath, &job.InputFilePath,  &job.InputFilePath2,  &job.StandardInputFile,
            &job.StandardOutputFile,     &job.CheckpointFile, &job.CheckpointFile2, &job.OutputFile};
}
} // namespace

void Taskmill_JobRecord::SetStatus(Taskmill_JobStatus status, bool stamp)
{
    Status = status;
    if (status != Taskmill_JobStatus::Pending)
        WaitReason = {};
    if (!stamp)
        return;
    if (status == Taskmill_JobStatus::Pending)
        Submitted = Taskmill_JobTime::Now();
    else if (status == Taskmill_JobStatus::Running)
        Started = Taskmill_JobTime::Now();
    else if (IsFinished())
        Finished = Taskmill_JobTime::Now();
}

QString Taskmill_JobRecord::WhyItWaits() const
{
    QStringList texts{WaitReason.Text()};
    if (InputHasChanged)
        texts.append(u"its input has changed since it was submitted"_s);
    texts.removeAll(QString{});
    return texts.join(u"; "_s);
}

qint64 Taskmill_JobRecord::OrderNumber() const
{
    return Place.value_or(Taskmill_OrderNumber::OfJobID(JobID));
}

std::optional<qint64> Taskmill_JobRecord::ElapsedSeconds() const
{
    const bool isRunning = Status == Taskmill_JobStatus::Running;
    if (Started.isNull() || !(isRunning || (IsFinished() && !Finished.isNull())))
        return std::nullopt;
    const Taskmill_JobTime end = isRunning ? Taskmill_JobTime::Now() : Finished;
    // The clock may have been put back.
    return std::max<qint64>(end.SecondsSince(Started), 0);
}

qint32 Taskmill_JobRecord::Cores() const
{
    return AskedNeeds.Cores.value_or(InputNeeds.Cores.value_or(std::max(JobType.Cores, 1)));
}

qint64 Taskmill_JobRecord::MemoryMB() const
{
    return AskedNeeds.MemoryMB.value_or(InputNeeds.MemoryMB.value_or(JobType.MemoryMB));
}

bool Taskmill_JobRecord::HasFailed() const
{
    return Status == Taskmill_JobStatus::Failed || Status == Taskmill_JobStatus::Crashed ||
           Result.Verdict == Taskmill_Verdict::Error || Result.Verdict == Taskmill_Verdict::NotConverged;
}

QString Taskmill_JobRecord::Folder() const
{
    // Works on the text of the path alone: a filter asks for the folders of a million jobs.
    const QString &file = InputFilePath.isEmpty() ? OutputFile : InputFilePath;
    const qsizetype end = std::max(file.lastIndexOf(u'/'), file.lastIndexOf(QDir::separator()));
    return QDir::toNativeSeparators(file.first(std::max<qsizetype>(end, file.startsWith(u'/') ? 1 : 0)));
}

QString Taskmill_JobRecord::DerivedOutputFile() const
{
    if (InputFilePath.isEmpty())
        return {};

    QString file = InputFilePath;
    if (JobType.OutputFileFilter.contains("Veltra Output"_L1, Qt::CaseInsensitive)) {
        const bool isNewer = KilnUtil_FileSys::IsNewVeltraFileExtension(QFileInfo{InputFilePath}.suffix());
        KilnUtil_FileSys::SetFileExtension(file, KilnUtil_FileSys::FileType::VeltraOutput, isNewer ? 1 : 0);
        return file;
    }

    const QStringList pieces = Taskmill_FilterPieces(JobType.OutputFileFilter);
    const auto pattern =
        std::ranges::find_if(pieces, [](const QString &piece) { return piece.startsWith("*."_L1); });
    if (pattern == pieces.end())
        return {};
    KilnUtil_FileSys::SetFileExtension(file, QString{*pattern}.remove(u'*'));
    return file;
}

QString Taskmill_JobRecord::OutputFilePath() const
{
    return OutputFile.isEmpty() ? QString{} : QFileInfo{InputFilePath}.absoluteDir().filePath(OutputFile);
}

bool Taskmill_JobRecord::HoldsNulInFileName() const
{
    return std::ranges::any_of(FileNames(*this),
                               [](const QString *name) { return name->contains(QChar::Null); });
}

bool Taskmill_JobRecord::IsValid() const
{
    const auto holdsLineFeed = [](const QString *name) {
        return name->contains(u'\n');
    };
    if (std::ranges::any_of(FileNames(*this), holdsLineFeed) || HoldsNulInFileName() ||
        Name.contains(QChar::Null))
        return false;
    if (PlaceholderValues.size() > Taskmill_MaxPlaceholders)
        return false;
    if (JobType.UsesInputFile() && !QFileInfo::exists(InputFilePath))
        return false;
    return !Name.isEmpty() && JobType.IsValid();
}

QString Taskmill_JobRecord::CommandLine() const
{
    return RecordedCommandLine.isEmpty() ? Taskmill_FullCommandLine(*this) : RecordedCommandLine;
}
