// SPDX-License-Identifier: MIT
#include "manager/listings.h"

#include "jobs/clusterrun.h"
#include "jobs/runofjob.h"
#include "manager/measuretext.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
using Job = Taskmill_JobRecord;
using JobType = Taskmill_JobType;
using Process = Taskmill_ProcessRecord;
using JobQuantity = Taskmill_Column<Job>::Quantity;
using ProcessNumber = Taskmill_Column<Process>::NumberText;

/// Of a column in a table of the window, in characters; see Taskmill_Column.
struct Widths
{
    int usual = 0; ///< 0 where the table does not have the column
    int least = 0;
};

struct JobField
{
    Taskmill_Column<Job> field;
    Widths inQueue{};
    Widths inFinishedJobs{};
    int placeInTables = 0; ///< among the columns that only the tables of the window have
};

template <auto Member>
QString OfJobType(const Job &job)
{
    return job.JobType.*Member;
}

QString CommandLine(const Job &job)
{
    return job.CommandLine();
}

QString Placeholders(const Job &job)
{
    QStringList texts;
    for (const auto &[name, value] : job.PlaceholderValues)
        texts += name + u'=' + value;
    return texts.join(u", "_s);
}

/// In the order in which they are applied.
QJsonValue PlaceholdersInJson(const Job &job)
{
    QJsonArray placeholders;
    for (const auto &[name, value] : job.PlaceholderValues)
        placeholders.append(QJsonObject{{u"name"_s, name}, {u"value"_s, value}});
    return placeholders;
}

QString ClientAddress(const Job &job)
{
    const bool hasNone = job.ClientAddress.isEmpty() && job.ClientPort == 0;
    return hasNone ? QString{} : job.ClientAddress + u':' + QString::number(job.ClientPort);
}

QString ClientUserAndGroup(const Job &job)
{
    return u"%1:%2"_s.arg(job.ClientUID).arg(job.ClientGID);
}

std::optional<qint64> ExitCode(const Job &job)
{
    return job.ExitCode || job.Status != Taskmill_JobStatus::Completed ? job.ExitCode : 0;
}

QString NumberText(qint64 number)
{
    return QString::number(number);
}

QString ResultText(const Job &job)
{
    return Taskmill_ResultText(job.Result);
}

std::optional<qint64> Elapsed(const Job &job)
{
    return job.ElapsedSeconds();
}

template <auto Member>
std::optional<qint64> Measure(const Job &job)
{
    return job.*Member;
}

QJsonValue ProcessorSecondsInJson(const Job &job)
{
    constexpr double msecs = 1000;
    return job.ProcessorMs ? QJsonValue{static_cast<double>(*job.ProcessorMs) / msecs} : QJsonValue{};
}

QJsonValue PeakMemoryBytesInJson(const Job &job)
{
    constexpr qint64 bytes = 1024;
    return job.PeakMemoryKB ? QJsonValue{*job.PeakMemoryKB * bytes} : QJsonValue{};
}

QString Folder(const Job &job)
{
    return job.Folder();
}

std::optional<qint64> Cores(const Job &job)
{
    return job.Cores();
}

std::optional<qint64> MemoryMB(const Job &job)
{
    return job.MemoryMB() > 0 ? std::optional{job.MemoryMB()} : std::nullopt;
}

QString MegabytesText(qint64 megabytes)
{
    constexpr qint64 kilobytes = 1024;
    return Taskmill_MemoryText(megabytes * kilobytes);
}

QString WaitReason(const Job &job)
{
    return job.WhyItWaits();
}

QString IsClientNotified(const Job &job)
{
    return job.ClientNotification ? u"yes"_s : u"no"_s;
}

QString EnvironmentInOneLine(const JobType &jobType)
{
    QString environment = jobType.EnvironmentVariables;
    return environment.replace("\n"_L1, " ; "_L1);
}

QJsonValue EnvironmentInJson(const JobType &jobType)
{
    return QJsonArray::fromStringList(jobType.EnvironmentVariables.split(u'\n', Qt::SkipEmptyParts));
}

/// Of a running job, such as "job 4711, RUNNING on node3 since 2026-11-22 12:01". Reads a file in the folder
/// of the input.
QString Cluster(const Job &job)
{
    if (job.Status != Taskmill_JobStatus::Running || job.Run.isEmpty() ||
        !Taskmill_ClusterRun::IsFollower(job.JobType.ExecutablePath))
        return {};
    const auto state = Taskmill_ClusterRun{Taskmill_ClusterRun::WorkFolderOf(job.InputFilePath),
                                           Taskmill_RunOfJob{job.Run}.RunID}
                           .State();
    return state ? Taskmill_ClusterText(*state) : QString{};
}

QString ResultLine(const Job &job)
{
    return job.Result.Message;
}

QString ResultProgram(const Job &job)
{
    return (job.Result.Program + u' ' + job.Result.Version).trimmed();
}

QString ResultSteps(const Job &job)
{
    return job.Result.Steps > 0 ? QString::number(job.Result.Steps) : QString{};
}

QString ResultEnergy(const Job &job)
{
    return job.Result.Energies.isEmpty()
               ? QString{}
               : u"%1 hartree"_s.arg(job.Result.Energies.last(), 0, 'g', QLocale::FloatingPointShortest);
}

QJsonValue ResultInJson(const Job &job)
{
    return job.Result.IsOfKnownProgram() ? QJsonValue{job.Result.Json()} : QJsonValue{};
}

/// A new field goes to the end, so that the columns before it stay where they are.
const QList<JobField> &AllJobFields()
{
    static const QList<JobField> fields{
        {{.header = u"Job ID"_s, .key = u"id"_s, .cell = &Job::JobID}, {6}, {5}},
        {{.header = u"Name"_s, .key = u"name"_s, .cell = &Job::Name}, {24, 12}, {24, 8}},
        {{.header = u"Status"_s, .key = u"status"_s, .cell = &Job::Status}, {11}, {10}},
        {{.header = u"Job Type"_s, .key = u"jobtype"_s, .cell = OfJobType<&JobType::Name>}, {20, 8}, {20, 5}},
        {{.header = u"Queue"_s, .key = u"queue"_s, .cell = &Job::QueueName, .leavesListing = 3}, {}, {5}},
        {{.header = u"Job Class"_s, .cell = &Job::JobClass}},
        {{.header = u"Executable Path"_s,
          .key = u"executablepath"_s,
          .cell = OfJobType<&JobType::ExecutablePath>,
          .leavesListing = 1},
         {30, 6},
         {30, 2}},
        {{.header = u"Command Line"_s, .key = u"commandline"_s, .cell = CommandLine, .leavesListing = 4},
         {40, 6},
         {40, 2}},
        {{.header = u"Input File"_s, .key = u"inputfile"_s, .cell = &Job::InputFilePath}},
        {{.header = u"Second Input File"_s, .key = u"inputfile2"_s, .cell = &Job::InputFilePath2}},
        {{.header = u"Output File"_s, .key = u"outputfile"_s, .cell = &Job::OutputFile}},
        {{.header = u"Standard Input File"_s,
          .key = u"standardinputfile"_s,
          .cell = &Job::StandardInputFile}},
        {{.header = u"Standard Output File"_s,
          .key = u"standardoutputfile"_s,
          .cell = &Job::StandardOutputFile}},
        {{.header = u"Checkpoint File"_s, .key = u"checkpointfile"_s, .cell = &Job::CheckpointFile}},
        {{.header = u"Second Checkpoint File"_s, .key = u"checkpointfile2"_s, .cell = &Job::CheckpointFile2}},
        {{.header = u"Placeholders"_s,
          .key = u"placeholders"_s,
          .cell = Placeholders,
          .json = PlaceholdersInJson}},
        {{.header = u"Submitted"_s, .key = u"submitted"_s, .cell = &Job::Submitted, .leavesListing = 2},
         {16},
         {16, 8}},
        {{.header = u"Started"_s, .key = u"started"_s, .cell = &Job::Started, .leavesListing = 5},
         {16},
         {16}},
        {{.header = u"Finished"_s, .key = u"finished"_s, .cell = &Job::Finished}, {}, {16}},
        {{.header = u"Client"_s, .key = u"clientname"_s, .cell = &Job::ClientName}},
        {{.header = u"Client Application"_s, .key = u"clientappname"_s, .cell = &Job::ClientAppName}},
        {{.header = u"Client Address"_s, .cell = ClientAddress}},
        {{.header = u"Client User and Group"_s, .cell = ClientUserAndGroup}},
        {{.header = u"Client Is Notified"_s, .cell = IsClientNotified}},
        {{.header = u"Exit Code"_s,
          .key = u"exitcode"_s,
          .cell = JobQuantity{ExitCode, NumberText},
          .isHidden = true},
         {8},
         {8},
         5},
        {{.header = u"Result"_s,
          .key = u"result"_s,
          .cell = ResultText,
          .standsBehind = u"Status"_s,
          .json = ResultInJson},
         {13, 6},
         {13, 6},
         1},
        {{.header = u"Result Line"_s, .cell = ResultLine}},
        {{.header = u"Program"_s, .cell = ResultProgram}},
        {{.header = u"Optimization Steps"_s, .cell = ResultSteps}},
        {{.header = u"Last Energy"_s, .cell = ResultEnergy}},
        {{.header = u"Elapsed"_s,
          .key = u"elapsed"_s,
          .cell = JobQuantity{Elapsed, Taskmill_DurationText},
          .standsBehind = u"Result"_s},
         {10, 7},
         {10, 7},
         2},
        {{.header = u"Processor Time"_s,
          .key = u"processortime"_s,
          .cell = JobQuantity{Measure<&Job::ProcessorMs>, Taskmill_ProcessorTimeText},
          .isHidden = true,
          .json = ProcessorSecondsInJson},
         {12},
         {12},
         3},
        {{.header = u"Peak Memory"_s,
          .key = u"peakmemory"_s,
          .cell = JobQuantity{Measure<&Job::PeakMemoryKB>, Taskmill_MemoryText},
          .isHidden = true,
          .json = PeakMemoryBytesInJson},
         {9},
         {9},
         4},
        {{.header = u"Folder"_s, .key = u"folder"_s, .cell = Folder, .isHidden = true}, {30}, {30}, 6},
        {{.header = u"Waits Because"_s,
          .key = u"waitreason"_s,
          .cell = WaitReason,
          .standsBehind = u"Elapsed"_s},
         {26, 18},
         {},
         7},
        {{.header = u"Cores"_s, .key = u"cores"_s, .cell = JobQuantity{Cores, NumberText}, .isHidden = true},
         {6},
         {},
         8},
        {{.header = u"Memory"_s,
          .key = u"memory_mb"_s,
          .cell = JobQuantity{MemoryMB, MegabytesText},
          .isHidden = true},
         {9},
         {},
         9},
        {{.header = u"Cluster"_s, .key = u"cluster"_s, .cell = Cluster}},
    };
    return fields;
}

enum class Extent
{
    Listing,
    Table
};

/// The columns of one of the two tables, with their widths there.
QList<Taskmill_Column<Job>> ColumnsIn(Widths JobField::*table, Extent extent)
{
    QList<JobField> fields = AllJobFields();
    fields.removeIf([&](const JobField &field) {
        return (field.*table).usual == 0 || (extent == Extent::Listing && field.placeInTables > 0);
    });
    std::ranges::stable_sort(fields, {}, &JobField::placeInTables);
    QList<Taskmill_Column<Job>> columns;
    for (const JobField &field : std::as_const(fields)) {
        columns.append(field.field);
        columns.last().width = (field.*table).usual;
        columns.last().leastWidth = (field.*table).least;
    }
    return columns;
}

QList<Taskmill_Column<Job>> FieldsWithoutWidth()
{
    QList<Taskmill_Column<Job>> columns;
    for (const JobField &field : AllJobFields())
        columns.append(field.field);
    return columns;
}
} // namespace

const Taskmill_Columns<Job> &Taskmill_Listings::JobFields()
{
    static const Taskmill_Columns<Job> columns{FieldsWithoutWidth()};
    return columns;
}

const Taskmill_Columns<Job> &Taskmill_Listings::Queue()
{
    static const Taskmill_Columns<Job> columns{ColumnsIn(&JobField::inQueue, Extent::Listing)};
    return columns;
}

const Taskmill_Columns<Job> &Taskmill_Listings::FinishedJobs()
{
    static const Taskmill_Columns<Job> columns{ColumnsIn(&JobField::inFinishedJobs, Extent::Listing)};
    return columns;
}

const Taskmill_Columns<Job> &Taskmill_Listings::QueueTable()
{
    static const Taskmill_Columns<Job> columns{ColumnsIn(&JobField::inQueue, Extent::Table)};
    return columns;
}

const Taskmill_Columns<Job> &Taskmill_Listings::FinishedJobsTable()
{
    static const Taskmill_Columns<Job> columns{ColumnsIn(&JobField::inFinishedJobs, Extent::Table)};
    return columns;
}

const Taskmill_Columns<JobType> &Taskmill_Listings::JobTypes()
{
    static const Taskmill_Columns<JobType> columns{{
        {.header = u"DBID"_s, .key = u"id"_s, .cell = &JobType::JobTypeID, .width = 5},
        {.header = u"Name"_s, .key = u"name"_s, .cell = &JobType::Name, .width = 18},
        {.header = u"Application Name"_s,
         .key = u"applicationname"_s,
         .cell = &JobType::ApplicationName,
         .width = 16,
         .leavesListing = 4},
        {.header = u"Executable Path"_s,
         .key = u"executablepath"_s,
         .cell = &JobType::ExecutablePath,
         .width = 36,
         .leavesListing = 1},
        {.header = u"Default Queue"_s,
         .key = u"defaultqueue"_s,
         .cell = &JobType::DefaultQueue,
         .width = 12,
         .leavesListing = 5},
        {.header = u"Input File Filter"_s,
         .key = u"inputfilefilter"_s,
         .cell = &JobType::InputFileFilter,
         .width = 34,
         .leavesListing = 6},
        {.header = u"Output File Filter"_s,
         .key = u"outputfilefilter"_s,
         .cell = &JobType::OutputFileFilter,
         .width = 34,
         .leavesListing = 3},
        {.header = u"Environment Variables"_s,
         .key = u"environmentvariables"_s,
         .cell = EnvironmentInOneLine,
         .width = 30,
         .leavesListing = 2,
         .json = EnvironmentInJson},
        {.header = u"Generic Command Line"_s,
         .key = u"genericcommandline"_s,
         .cell = &JobType::GenericCommandLine,
         .width = 40},
    }};
    return columns;
}

const Taskmill_Columns<Process> &Taskmill_Listings::Processes()
{
    static const Taskmill_Columns<Process> columns{{
        {.header = u"User"_s, .cell = &Process::User, .width = 5},
        {.header = u"Process ID"_s, .cell = ProcessNumber{&Process::ProcessId}, .width = 11},
        {.header = u"Parent Process ID"_s,
         .cell = ProcessNumber{&Process::ParentProcessId},
         .width = 17,
         .leavesListing = 2},
        {.header = u"App Name"_s, .cell = &Process::Name, .width = 20},
        {.header = u"Status"_s, .cell = &Process::ExecutionState, .width = 12},
        {.header = u"App Path"_s, .cell = &Process::ExecutablePath, .width = 40, .leavesListing = 1},
        {.header = u"Command Line"_s, .cell = &Process::CommandLine, .width = 60, .leavesListing = 3},
    }};
    return columns;
}
