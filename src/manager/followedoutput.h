// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"
#include "processes/processoutput.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class Taskmill_OutputPart;
class Taskmill_OutputReader;

/// What an output says, as of some moment.
using Taskmill_ResultState = std::shared_ptr<const Taskmill_ProgramResult>;

/// Reads the whole of an output, in UTF-8, once and on any thread.
using Taskmill_OutputText = std::function<QByteArray()>;

/// The files in which the output of a job is looked for. Times are those of the clock on the wall, as
/// Taskmill_JobTime::ClockTime() has them.
struct Taskmill_OutputFiles
{
    QStringList Paths;           ///< in the order in which they count
    QDateTime Started;           ///< what was not changed since is of an earlier run
    QDateTime Ended{};           ///< what was changed later is of another run; not set while the job runs
    bool IsAboutToStart = false; ///< as the files are now, they are of an earlier run
};

/// The output of one job while it is read, each byte of it once. It is no more than what a reader of outputs
/// needs in memory. All of it belongs to one thread.
class Taskmill_FollowedOutput
{
public:
    /// A file that names no known program within so many bytes is of none.
    static constexpr qint64 MostUnknown = 16LL * 1024 * 1024;

    explicit Taskmill_FollowedOutput(const Taskmill_OutputFiles &files);
    ~Taskmill_FollowedOutput();
    Q_DISABLE_COPY_MOVE(Taskmill_FollowedOutput)

    [[nodiscard]] const QStringList &Paths() const { return m_paths; }

    /// What the job prints counts where its files are of no known program. One of the three, and it replaces
    /// what was set before.
    void SetPrinted(const KilnUtil_PrintedReader &read);
    void SetPrinted(const Taskmill_OutputText &whole);
    /// The next piece of it.
    void AddPrinted(const QByteArray &piece);

    /// Another job that writes one of the same files has been started since.
    void SetOvertaken();
    /// The job has ended, and nobody writes any more.
    void End(const QDateTime &ended);

    /// Reads at most so many bytes of what is new. False when there is no more for now.
    [[nodiscard]] bool Advance(qint64 most);
    /// Whether the job has ended and everything is read.
    [[nodiscard]] bool IsComplete() const;
    [[nodiscard]] bool HasEnded() const { return m_hasEnded; }
    [[nodiscard]] bool IsOfKnownProgram() const;
    /// Bytes that were read so far, of all parts.
    [[nodiscard]] qint64 Read() const { return m_read; }
    /// Whether there is another state since the last State().
    [[nodiscard]] bool HasChanged() const { return m_hasChanged; }
    [[nodiscard]] Taskmill_ResultState State();

private:
    struct Part;

    [[nodiscard]] Part *KnownPart();
    void SetPrinted(std::unique_ptr<Taskmill_OutputPart> source);
    [[nodiscard]] bool Advance(Part &part, qint64 &left);
    void BeginAnew(Part &part);

    const QStringList m_paths;
    std::vector<Part> m_parts; ///< those of the files and then, if it is set, what the job prints
    qint64 m_read = 0;
    bool m_hasPrinted = false;
    bool m_hasEnded = false;
    bool m_hasChanged = false;
};
