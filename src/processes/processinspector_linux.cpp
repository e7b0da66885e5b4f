// SPDX-License-Identifier: MIT
#include "processes/processinspector.h"

#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"
#include "processes/procfiles_linux.h"
#include "wire/procstat_linux.h"

#include <QDir>
#include <QFile>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace {
/// State word and memory of a process as /proc/N/status shows them.
struct ProcStatus
{
    QByteArrayView state; ///< such as "sleeping"
    qulonglong privateBytes = 0;
};

QByteArrayView StatusValue(QByteArrayView status, QByteArrayView key)
{
    const qsizetype begin = status.indexOf(key);
    if (begin < 0)
        return {};
    const QByteArrayView rest = status.sliced(begin + key.size());
    const qsizetype end = rest.indexOf('\n');
    return (end < 0 ? rest : rest.first(end)).trimmed();
}

ProcStatus ReadStatus(QByteArrayView text)
{
    ProcStatus status;
    const QByteArrayView state = StatusValue(text, "\nState:");
    const qsizetype open = state.indexOf('(');
    const qsizetype close = state.indexOf(')');
    if (open >= 0 && close > open)
        status.state = state.sliced(open + 1, close - open - 1);
    for (const char *key : {"\nRssAnon:", "\nVmSwap:"}) {
        const QByteArrayView value = StatusValue(text, key);
        qulonglong kilobytes = 0;
        std::from_chars(value.begin(), value.end(), kilobytes);
        status.privateBytes += kilobytes * 1024;
    }
    return status;
}

QByteArrayView FileName(QByteArrayView path)
{
    return path.sliced(path.lastIndexOf('/') + 1);
}

QByteArray QuotedArgument(QByteArrayView argument)
{
    const auto needsQuotes = [](char c) {
        return c == ' ' || c == '\t' || c == '"';
    };
    if (std::none_of(argument.begin(), argument.end(), needsQuotes))
        return argument.toByteArray();
    return QFile::encodeName(KilnUtil_FileSys::ConvertFilename(QString::fromUtf8(argument), true, false));
}

QByteArray CommandLineText(const QList<QByteArray> &arguments)
{
    QByteArray text;
    for (const QByteArray &argument : arguments) {
        if (!text.isEmpty())
            text.append(' ');
        text.append(QuotedArgument(argument));
    }
    return text;
}

bool IsRegularFile(const QByteArray &path)
{
    struct stat information;
    return stat(path.constData(), &information) == 0 && S_ISREG(information.st_mode);
}

/// A path that a process was given, taken from its working directory when it is relative.
QByteArray AbsolutePath(int processID, const QByteArray &path)
{
    if (path.startsWith('/'))
        return path;
    const QString directory = QFile::decodeName(Taskmill_ReadProcLink(processID, "cwd"));
    return QFile::encodeName(QDir::cleanPath(directory + u'/' + QFile::decodeName(path)));
}

/// The script that an interpreter runs, absolute; empty when the process runs no script. The kernel names a
/// process that was started as a script after the script, while its executable is the interpreter.
QByteArray ScriptPath(int processID, QByteArrayView comm, const QList<QByteArray> &arguments)
{
    constexpr qsizetype longestComm = 15;
    for (qsizetype i = 1; i <= 2 && i < arguments.size(); ++i) {
        if (FileName(arguments[i]).first(std::min(longestComm, FileName(arguments[i]).size())) != comm)
            continue;
        QByteArray path = AbsolutePath(processID, arguments[i]);
        if (IsRegularFile(path))
            return path;
    }
    return {};
}

QByteArray ExecutablePath(int processID, QByteArrayView comm, const QList<QByteArray> &arguments)
{
    QByteArray path = ScriptPath(processID, comm, arguments);
    if (!path.isEmpty())
        return path;
    path = Taskmill_ReadProcLink(processID, "exe");
    constexpr QByteArrayView deleted = " (deleted)";
    if (path.endsWith(deleted))
        path.chop(deleted.size());
    return path;
}

/// Start of the system, in microseconds of the wall clock. Taken once: a process must keep its creation date
/// even when the clock is set later.
qint64 SystemStart()
{
    static const qint64 start = [] {
        timespec now{};
        timespec sinceStart{};
        clock_gettime(CLOCK_REALTIME, &now);
        clock_gettime(CLOCK_BOOTTIME, &sinceStart);
        return (now.tv_sec - sinceStart.tv_sec) * 1'000'000 + (now.tv_nsec - sinceStart.tv_nsec) / 1000;
    }();
    return start;
}

qint64 TicksPerSecond()
{
    static const qint64 ticks = sysconf(_SC_CLK_TCK);
    return ticks;
}

QByteArray CreationDate(qlonglong startTicks)
{
    const qint64 microseconds = SystemStart() + startTicks * (1'000'000 / TicksPerSecond());
    const time_t seconds = microseconds / 1'000'000;
    tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 80> text;
    const int length =
        std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d.%06d%+04d", local.tm_year + 1900,
                      local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                      static_cast<int>(microseconds % 1'000'000), static_cast<int>(local.tm_gmtoff / 60));
    return {text.data(), length};
}

/// Ticks of processor time in units of 100 ns.
QByteArray ProcessorTime(qulonglong ticks)
{
    return QByteArray::number(ticks * static_cast<qulonglong>(10'000'000 / TicksPerSecond()));
}

/// What a process says of the program it runs; empty for kernel threads.
struct ProcProgram
{
    QByteArray commandLine;
    QByteArray executablePath;
};

ProcProgram ReadProgram(int processID, const Taskmill_ProcStat &stat)
{
    if (stat.IsKernelThread())
        return {};
    QByteArray content = Taskmill_ReadProcFile(processID, "cmdline");
    if (content.endsWith('\0'))
        content.chop(1);
    const QList<QByteArray> arguments = content.split('\0');
    return {.commandLine = CommandLineText(arguments),
            .executablePath = ExecutablePath(processID, stat.comm, arguments)};
}

void AppendProcess(QByteArray &listing, int processID, const Taskmill_ProcStat &stat)
{
    static const QByteArray computer = QSysInfo::machineHostName().toUtf8();
    static const qlonglong pageSize = sysconf(_SC_PAGESIZE);

    const ProcProgram program = ReadProgram(processID, stat);
    const QByteArrayView name =
        program.executablePath.isEmpty() ? QByteArrayView{stat.comm} : FileName(program.executablePath);
    const QByteArray statusText = Taskmill_ReadProcFile(processID, "status");
    const ProcStatus status = ReadStatus(statusText);
    const QByteArray id = QByteArray::number(processID);

    const auto append = [&listing](QByteArrayView key, QByteArrayView value) {
        Taskmill_AppendProcessLine(listing, key, value);
    };
    append("Caption", name);
    append("CommandLine", program.commandLine);
    append("CreationDate", CreationDate(stat.startTicks));
    append("CSName", computer);
    append("ExecutablePath", program.executablePath);
    append("ExecutionState", status.state);
    append("Handle", id);
    append("KernelModeTime", ProcessorTime(stat.kernelTicks));
    append("Name", name);
    append("ParentProcessId", QByteArray::number(stat.parent));
    append("Priority", QByteArray::number(stat.priority));
    append("PrivatePageCount", QByteArray::number(status.privateBytes));
    append("ProcessId", id);
    append("ThreadCount", QByteArray::number(stat.threads));
    append("UserModeTime", ProcessorTime(stat.userTicks));
    append("VirtualSize", QByteArray::number(stat.virtualSize));
    append("WorkingSetSize", QByteArray::number(stat.residentPages * pageSize));
    listing.append("\r\n");
}

/// Ends a process as surely as the system can. The ids 0 and 1 are no process that could be meant: 0 is this
/// program's own process group, 1 the system's first process.
void Kill(int processID)
{
    if (processID > 1 && kill(processID, SIGKILL) != 0)
        qCInfo(Taskmill_ProcessesLog, "Process %d was not ended: %s", processID, std::strerror(errno));
}

class ProcProcessInspector final : public Taskmill_ProcessInspector
{
protected:
    QString ListingText() override
    {
        QByteArray listing;
        for (const int processID : Taskmill_ListProcesses()) {
            const Taskmill_ProcStat stat = Taskmill_ReadProcStat(processID);
            if (stat.IsAlive())
                AppendProcess(listing, processID, stat);
        }
        return QString::fromUtf8(listing);
    }

    void EndProcess(int processID) override { Kill(processID); }

    void EndChildren(int processID) override
    {
        // Every process whose own parent has ended is a child of process 1.
        if (processID <= 1)
            return;
        for (const int candidate : Taskmill_ListProcesses()) {
            if (candidate != getpid() && Taskmill_ReadProcStat(candidate).parent == processID)
                Kill(candidate);
        }
    }

    std::optional<QString> CreationDateNow(int processID) override
    {
        const Taskmill_ProcStat stat = Taskmill_ReadProcStat(processID);
        return stat.IsAlive() ? QString::fromUtf8(CreationDate(stat.startTicks)) : QString{};
    }

    std::optional<int> ParentNow(int processID) override { return Taskmill_ReadProcStat(processID).parent; }
};
} // namespace

std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeSystemProcessInspector()
{
    return std::make_unique<ProcProcessInspector>();
}
