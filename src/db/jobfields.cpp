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
constexpr auto runField = "Run"_L1;
constexpr auto exitCodeField = "ExitCode"_L1;
} // namespace

Taskmill_AddedFields::Fields Taskmill_FieldsOfJob(const Taskmill_JobRecord &job)
{
    Taskmill_AddedFields::Fields fields;
    for (const TextField &field : fileFields) {
        if (!(job.*field.text).isEmpty())
            fields.insert(field.name, job.*field.text);
    }
    if (!job.OutputFile.isEmpty() && job.OutputFile == job.DerivedOutputFile())
        fields.remove(u"OutputFile"_s);
    if (!job.Run.isEmpty() && !job.IsFinished())
        fields.insert(runField, job.Run);
    // Of a completed job it is 0.
    if (job.IsFinished() && job.Status != Taskmill_JobStatus::Completed && job.ExitCode)
        fields.insert(exitCodeField, QString::number(*job.ExitCode));
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
    if (!job.IsFinished())
        job.Run = fields.value(runField);
    bool isNumber = false;
    if (const int code = fields.value(exitCodeField).toInt(&isNumber); isNumber && job.IsFinished())
        job.ExitCode = code;
    constexpr qsizetype nameBegin = placeholderPrefix.size() + placeholderDigits + 1;
    // The names are sorted, and with them the numbers.
    for (const auto &[name, value] : fields.asKeyValueRange()) {
        if (name.startsWith(placeholderPrefix) && name.size() > nameBegin &&
            job.PlaceholderValues.size() < Taskmill_MaxPlaceholders)
            job.PlaceholderValues.append({name.sliced(nameBegin), value});
    }
}
