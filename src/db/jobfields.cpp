// SPDX-License-Identifier: MIT
#include "db/jobfields.h"

#include "jobs/jobrecord.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct TextField
{
    QLatin1StringView name;
    QString Taskmill_JobRecord::*text;
};

constexpr std::array fileFields{
    TextField{"StandardInputFile"_L1, &Taskmill_JobRecord::StandardInputFile},
    TextField{"StandardOutputFile"_L1, &Taskmill_JobRecord::StandardOutputFile},
    TextField{"OutputFile"_L1, &Taskmill_JobRecord::OutputFile},
    TextField{"CheckpointFile"_L1, &Taskmill_JobRecord::CheckpointFile},
    TextField{"CheckpointFile2"_L1, &Taskmill_JobRecord::CheckpointFile2},
};

/// Placeholders are applied in their order, so "Placeholder 001 @TITLE" has its number of three digits in
/// front of its own name.
constexpr auto placeholderPrefix = "Placeholder "_L1;
constexpr int placeholderDigits = 3;
constexpr auto placeField = "Place"_L1;
constexpr auto heldField = "Held"_L1;
constexpr auto notBeforeField = "NotBefore"_L1;
constexpr auto afterJobField = "AfterJob"_L1;
constexpr auto inputChangedField = "InputChanged"_L1;
constexpr auto clientResultField = "ClientResult"_L1;
/// Everything that the output said, as JSON.
constexpr auto resultDetailsField = "ResultDetails"_L1;

struct NeedsFields
{
    Taskmill_JobNeeds Taskmill_JobRecord::*needs;
    QLatin1StringView cores;
    QLatin1StringView memory; ///< in units of 2^20 bytes
};

constexpr std::array needsFields{
    NeedsFields{&Taskmill_JobRecord::AskedNeeds, "AskedCores"_L1, "AskedMemoryMB"_L1},
    NeedsFields{&Taskmill_JobRecord::InputNeeds, "InputCores"_L1, "InputMemoryMB"_L1},
};
/// Files that the input names, one in a line.
constexpr auto inputFilesField = "InputFiles"_L1;

void AddNeeds(const Taskmill_JobRecord &job, Taskmill_AddedFields::Fields &fields)
{
    for (const NeedsFields &field : needsFields) {
        const Taskmill_JobNeeds &needs = job.*field.needs;
        if (needs.Cores)
            fields.insert(field.cores, QString::number(*needs.Cores));
        if (needs.MemoryMB)
            fields.insert(field.memory, QString::number(*needs.MemoryMB));
    }
    if (!job.InputNeeds.Written.isEmpty())
        fields.insert(inputFilesField, job.InputNeeds.Written.join(u'\n'));
}

void SetNeeds(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields)
{
    for (const NeedsFields &field : needsFields) {
        Taskmill_JobNeeds &needs = job.*field.needs;
        needs.Cores = Taskmill_CoresFromText(fields.value(field.cores));
        needs.MemoryMB = Taskmill_MemoryFromText(fields.value(field.memory));
    }
    job.InputNeeds.Written = fields.value(inputFilesField).split(u'\n', Qt::SkipEmptyParts);
}

struct MeasureField
{
    QLatin1StringView name;
    std::optional<qint64> Taskmill_JobRecord::*value;
};

constexpr std::array measureFields{
    MeasureField{Taskmill_ProcessorTimeField, &Taskmill_JobRecord::ProcessorMs},
    MeasureField{Taskmill_PeakMemoryField, &Taskmill_JobRecord::PeakMemoryKB},
};

/// What a job that waits has besides, and one that runs, as it may wait again.
void AddFieldsOfWaiting(const Taskmill_JobRecord &job, Taskmill_AddedFields::Fields &fields)
{
    if (!job.Run.isEmpty())
        fields.insert(Taskmill_RunField, job.Run);
    if (!job.InputHash.isEmpty())
        fields.insert(Taskmill_InputHashField, job.InputHash);
    if (job.Place)
        fields.insert(placeField, QString::number(*job.Place));
    if (job.Conditions.IsHeld)
        fields.insert(heldField, u"yes"_s);
    if (job.Conditions.NotBefore.isValid())
        fields.insert(notBeforeField, job.Conditions.NotBefore.IsoText());
    if (job.Conditions.AfterJobID != 0)
        fields.insert(afterJobField, QString::number(job.Conditions.AfterJobID));
}

void SetFieldsOfWaiting(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields)
{
    job.Run = fields.value(Taskmill_RunField);
    job.InputHash = fields.value(Taskmill_InputHashField);
    bool isNumber = false;
    if (const qint64 place = fields.value(placeField).toLongLong(&isNumber); isNumber)
        job.Place = place;
    job.Conditions = {.IsHeld = fields.value(heldField) == "yes"_L1,
                      .NotBefore = Taskmill_JobTime::FromIsoText(fields.value(notBeforeField)),
                      .AfterJobID = fields.value(afterJobField).toInt()};
}

/// What a finished job has besides.
void AddFieldsOfEnd(const Taskmill_JobRecord &job, Taskmill_AddedFields::Fields &fields)
{
    // The exit code of a completed job is always 0.
    if (job.Status != Taskmill_JobStatus::Completed && job.ExitCode)
        fields.insert(Taskmill_ExitCodeField, QString::number(*job.ExitCode));
    for (const MeasureField &field : measureFields) {
        if (const std::optional<qint64> &value = job.*field.value)
            fields.insert(field.name, QString::number(*value));
    }
    Taskmill_SetResultField(fields, job.Result);
}

void SetFieldsOfEnd(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields)
{
    bool isNumber = false;
    if (const int code = fields.value(Taskmill_ExitCodeField).toInt(&isNumber); isNumber)
        job.ExitCode = code;
    for (const MeasureField &field : measureFields) {
        if (const qint64 value = fields.value(field.name).toLongLong(&isNumber); isNumber && value >= 0)
            job.*field.value = value;
    }
    if (const QString details = fields.value(resultDetailsField); !details.isEmpty()) {
        job.Result = Taskmill_JobResult::FromJson(details);
    } else if (const QString verdict = fields.value(Taskmill_ResultField); !verdict.isEmpty()) {
        job.Result = Taskmill_JobResult::OfVerdict(verdict);
    }
}
} // namespace

void Taskmill_SetResultField(Taskmill_AddedFields::Fields &fields, const Taskmill_JobResult &result)
{
    if (result.IsOfKnownProgram()) {
        fields.insert(Taskmill_ResultField, result.VerdictText());
        fields.insert(resultDetailsField, result.ToJson());
    } else {
        fields.remove(Taskmill_ResultField);
        fields.remove(resultDetailsField);
    }
}

Taskmill_AddedFields::Fields Taskmill_FieldsOfJob(const Taskmill_JobRecord &job)
{
    Taskmill_AddedFields::Fields fields;
    for (const TextField &field : fileFields) {
        if (!(job.*field.text).isEmpty())
            fields.insert(field.name, job.*field.text);
    }
    if (!job.OutputFile.isEmpty() && job.OutputFile == job.DerivedOutputFile())
        fields.remove(u"OutputFile"_s);
    AddNeeds(job, fields);
    if (job.InputHasChanged)
        fields.insert(inputChangedField, u"yes"_s);
    if (job.ClientResult)
        fields.insert(clientResultField, u"yes"_s);
    if (job.IsFinished())
        AddFieldsOfEnd(job, fields);
    else
        AddFieldsOfWaiting(job, fields);
    int number = 0;
    for (const auto &[name, value] : job.PlaceholderValues)
        fields.insert(placeholderPrefix + u"%1 "_s.arg(++number, placeholderDigits, 10, QChar{u'0'}) + name,
                      value.isNull() ? u""_s : value);
    return fields;
}

void Taskmill_SetFieldsOfJob(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields)
{
    for (const TextField &field : fileFields) {
        if (const QString text = fields.value(field.name); !text.isEmpty())
            job.*field.text = text;
    }
    SetNeeds(job, fields);
    job.ClientResult = fields.value(clientResultField) == "yes"_L1;
    job.InputHasChanged = fields.value(inputChangedField) == "yes"_L1;
    if (!job.IsFinished())
        SetFieldsOfWaiting(job, fields);
    else
        SetFieldsOfEnd(job, fields);
    constexpr qsizetype nameBegin = placeholderPrefix.size() + placeholderDigits + 1;
    // The names are sorted, and with them the numbers.
    for (const auto &[name, value] : fields.asKeyValueRange()) {
        if (name.startsWith(placeholderPrefix) && name.size() > nameBegin &&
            job.PlaceholderValues.size() < Taskmill_MaxPlaceholders)
            job.PlaceholderValues.append({name.sliced(nameBegin), value});
    }
}
