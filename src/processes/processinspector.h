// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

/// One process of the system. All texts as the listing gives them; the numbers are decimal.
struct Taskmill_ProcessRecord
{
    QString Caption;
    QString CommandLine;
    QString CreationDate;   ///< "yyyyMMddhhmmss.ffffff+mmm", local time and its offset in minutes
    QString CSName;         ///< name of the computer
    QString ExecutablePath; ///< empty when it may not be read
    QString ExecutionState;
    QString Handle;         ///< the same as ProcessId
    QString KernelModeTime; ///< in units of 100 ns, as UserModeTime
    QString Name;
    QString ParentProcessId;
    QString Priority;
    QString PrivatePageCount; ///< bytes, as VirtualSize and WorkingSetSize
    QString ProcessId;
    QString ThreadCount;
    QString UserModeTime;
    QString VirtualSize;
    QString WorkingSetSize;
    QString User; ///< always empty: the listing does not have it

    bool operator==(const Taskmill_ProcessRecord &) const = default;

    /// -1 when the text is empty or not a whole number.
    [[nodiscard]] int ProcessIdNumber() const;
    [[nodiscard]] int ParentProcessIdNumber() const;
};

/// Lists and ends the processes of this computer. Every call blocks until it is done and reports nothing to
/// the user.
class Taskmill_ProcessInspector : public std::enable_shared_from_this<Taskmill_ProcessInspector>
{
public:
    Taskmill_ProcessInspector() = default;
    virtual ~Taskmill_ProcessInspector() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_ProcessInspector)

    /// Empty when the system does not say.
    [[nodiscard]] QList<Taskmill_ProcessRecord> ListProcesses();
    /// The same, but given up where the system lets it once an interruption of the calling thread is
    /// requested.
    [[nodiscard]] QList<Taskmill_ProcessRecord> ListProcessesUnlessInterrupted();

    /// Whether a process listed earlier has not ended: false for a negative id, and when its number is known
    /// to be free or another process's. True when asking is not cheap.
    [[nodiscard]] bool IsStillThere(const Taskmill_ProcessRecord &process);

    /// Ends one process at once, without giving it a chance to clean up. False for a negative id, and only
    /// then: whether the process ended is not examined. The name is not compared.
    bool Terminate(const QString &name, int processID);
    /// The same for a process listed earlier. False, with nothing ended, when it is not IsStillThere().
    bool Terminate(const Taskmill_ProcessRecord &process);
    /// Ends the parent that the process was listed with, unless it is known to have ended: who has its number
    /// now is left alone, and so is the process's new parent. False for a negative id of the parent, and only
    /// then.
    bool TerminateParent(const Taskmill_ProcessRecord &process);

    /// Ends the direct children of a process and, when the program is a Gaussian driver, the workers that
    /// carry the process's temporary input file on their command lines. Ends neither grandchildren nor the
    /// process itself. False for a negative id, and only then.
    bool TerminateTree(const QString &programText, int processID);

protected:
    /// All processes as lines "Key=Value" that end with "\r\n", every key for every process.
    virtual QString ListingText() = 0;
    virtual QString InterruptibleListingText() { return ListingText(); }
    /// Never called with a negative id, as EndChildren().
    virtual void EndProcess(int processID) = 0;
    virtual void EndChildren(int processID) = 0;
    /// CreationDate of the process that has the number now, empty when there is none; no value when asking is
    /// not cheap.
    [[nodiscard]] virtual std::optional<QString> CreationDateNow(int processID);
    /// Number of the parent that the process has now, -1 when it has none; no value when asking is not cheap.
    [[nodiscard]] virtual std::optional<int> ParentNow(int processID);
};

/// The inspector of this system. TASKMILL_PROCESS_TOOL=wmic in the environment asks for the one that runs
/// "wmic".
[[nodiscard]] std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeProcessInspector();

/// The inspector of this system, whatever the environment says; each system has its own definition.
[[nodiscard]] std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeSystemProcessInspector();

/// Reads a listing by position: the n-th process has the n-th value of every key. Each value loses every
/// occurrence of its key and "=", and lines that begin with no key are ignored. There are as many records as
/// ProcessId lines.
[[nodiscard]] QList<Taskmill_ProcessRecord> Taskmill_ParseProcessListing(const QString &listing);

/// Appends one line of a listing in UTF-8; what would end the line becomes a blank.
void Taskmill_AppendProcessLine(QByteArray &listing, QByteArrayView key, QByteArrayView value);

/// Whether the program, given by name or path, is a Gaussian driver, which starts workers of its own.
[[nodiscard]] bool Taskmill_IsGaussianProgram(const QString &programText);
