// SPDX-License-Identifier: MIT
#include "processes/processinspector.h"

#include "processes/processinspector_wmic.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringTokenizer>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct KeyAndField
{
    QLatin1StringView key; ///< with its "="
    QString Taskmill_ProcessRecord::*field;
};

using Record = Taskmill_ProcessRecord;

constexpr std::array<KeyAndField, 17> keys{{
    {"Caption="_L1, &Record::Caption},
    {"CommandLine="_L1, &Record::CommandLine},
    {"CreationDate="_L1, &Record::CreationDate},
    {"CSName="_L1, &Record::CSName},
    {"ExecutablePath="_L1, &Record::ExecutablePath},
    {"ExecutionState="_L1, &Record::ExecutionState},
    {"Handle="_L1, &Record::Handle},
    {"KernelModeTime="_L1, &Record::KernelModeTime},
    {"Name="_L1, &Record::Name},
    {"ParentProcessId="_L1, &Record::ParentProcessId},
    {"Priority="_L1, &Record::Priority},
    {"PrivatePageCount="_L1, &Record::PrivatePageCount},
    {"ProcessId="_L1, &Record::ProcessId},
    {"ThreadCount="_L1, &Record::ThreadCount},
    {"UserModeTime="_L1, &Record::UserModeTime},
    {"VirtualSize="_L1, &Record::VirtualSize},
    {"WorkingSetSize="_L1, &Record::WorkingSetSize},
}};

using ValuesOfKeys = std::array<QStringList, keys.size()>;

void TakeLine(QStringView line, ValuesOfKeys &values)
{
    for (size_t i = 0; i < keys.size(); ++i) {
        const QLatin1StringView key = keys[i].key;
        if (!line.startsWith(key, Qt::CaseInsensitive))
            continue;
        const QStringView value = line.mid(key.size());
        if (value.contains(key, Qt::CaseInsensitive))
            values[i].append(line.toString().remove(key, Qt::CaseInsensitive).trimmed());
        else
            values[i].append(value.trimmed().toString());
        return;
    }
}

int WholeNumber(const QString &text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? number : -1;
}
} // namespace

int Taskmill_ProcessRecord::ProcessIdNumber() const
{
    return WholeNumber(ProcessId);
}

int Taskmill_ProcessRecord::ParentProcessIdNumber() const
{
    return WholeNumber(ParentProcessId);
}

QList<Taskmill_ProcessRecord> Taskmill_ParseProcessListing(const QString &listing)
{
    ValuesOfKeys values;
    for (const QStringView line : qTokenize(listing, "\r\n"_L1))
        TakeLine(line.trimmed(), values);

    const auto idKey = std::ranges::find(keys, &Record::ProcessId, &KeyAndField::field);
    QList<Taskmill_ProcessRecord> records{values[static_cast<size_t>(idKey - keys.begin())].size()};
    for (size_t i = 0; i < keys.size(); ++i) {
        const qsizetype count = std::min(records.size(), values[i].size());
        for (qsizetype row = 0; row < count; ++row)
            records[row].*keys[i].field = values[i][row];
    }
    return records;
}

void Taskmill_AppendProcessLine(QByteArray &listing, QByteArrayView key, QByteArrayView value)
{
    listing.append(key).append('=');
    const qsizetype begin = listing.size();
    listing.append(value);
    const auto endsLine = [](char c) {
        return c == '\r' || c == '\n' || c == '\0';
    };
    std::replace_if(listing.begin() + begin, listing.end(), endsLine, ' ');
    listing.append("\r\n");
}

bool Taskmill_IsGaussianProgram(const QString &programText)
{
    static constexpr std::array drivers{"g09w.exe"_L1, "g09.exe"_L1,  "g16w.exe"_L1,
                                        "g16.exe"_L1,  "gdvw.exe"_L1, "gdv.exe"_L1};
    const QString fileName = QFileInfo{programText}.fileName();
    return std::ranges::any_of(drivers, [&](QLatin1StringView driver) {
        return programText.contains(driver, Qt::CaseInsensitive) ||
               fileName.compare(driver.chopped(4), Qt::CaseInsensitive) == 0;
    });
}

QList<Taskmill_ProcessRecord> Taskmill_ProcessInspector::ListProcesses()
{
    return Taskmill_ParseProcessListing(ListingText());
}

QList<Taskmill_ProcessRecord> Taskmill_ProcessInspector::ListProcessesUnlessInterrupted()
{
    return Taskmill_ParseProcessListing(InterruptibleListingText());
}

bool Taskmill_ProcessInspector::IsStillThere(const Taskmill_ProcessRecord &process)
{
    const int processID = process.ProcessIdNumber();
    if (processID < 0)
        return false;
    const std::optional<QString> creationDate = CreationDateNow(processID);
    return !creationDate || *creationDate == process.CreationDate;
}

bool Taskmill_ProcessInspector::Terminate(const QString &, int processID)
{
    if (processID < 0)
        return false;
    EndProcess(processID);
    return true;
}

bool Taskmill_ProcessInspector::Terminate(const Taskmill_ProcessRecord &process)
{
    return IsStillThere(process) && Terminate(process.Name, process.ProcessIdNumber());
}

bool Taskmill_ProcessInspector::TerminateParent(const Taskmill_ProcessRecord &process)
{
    const int parentID = process.ParentProcessIdNumber();
    if (parentID < 0)
        return false;
    if (ParentNow(process.ProcessIdNumber()).value_or(parentID) == parentID)
        EndProcess(parentID);
    return true;
}

bool Taskmill_ProcessInspector::TerminateTree(const QString &programText, int processID)
{
    if (processID < 0)
        return false;
    EndChildren(processID);
    if (!Taskmill_IsGaussianProgram(programText))
        return true;

    const QString marker = u"Gau-%1.inp"_s.arg(processID);
    for (const Taskmill_ProcessRecord &process : ListProcesses()) {
        if (process.CommandLine.contains(marker, Qt::CaseInsensitive) &&
            process.ProcessIdNumber() != QCoreApplication::applicationPid())
            Terminate(process);
    }
    return true;
}

std::optional<QString> Taskmill_ProcessInspector::CreationDateNow(int)
{
    return std::nullopt;
}

std::optional<int> Taskmill_ProcessInspector::ParentNow(int)
{
    return std::nullopt;
}

std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeProcessInspector()
{
    if (qEnvironmentVariable("TASKMILL_PROCESS_TOOL") == "wmic"_L1)
        return std::make_unique<Taskmill_WmicProcessInspector>();
    return Taskmill_MakeSystemProcessInspector();
}
