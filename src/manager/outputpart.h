// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/sharedfile.h"
#include "manager/followedoutput.h"

#include <deque>
#include <optional>
#include <utility>

class KilnUtil_FileSource;

/// One place where the output of a job is found, from which each byte is taken once.
class Taskmill_OutputPart
{
public:
    virtual ~Taskmill_OutputPart() = default;

    /// The next bytes, at most so many; none when there are none for now.
    [[nodiscard]] virtual QByteArray Take(qint64 most) = 0;
    /// Whether what Take() returned before its last call is not there any more: its bytes are the first ones.
    [[nodiscard]] virtual bool IsBegunAnew() { return false; }
    /// Nobody writes any more.
    virtual void End(const QDateTime &) { m_hasEnded = true; }
    /// Another job writes there too.
    virtual void SetOvertaken() {}
    /// Whether it has ended and all bytes are taken.
    [[nodiscard]] virtual bool IsComplete() const = 0;

protected:
    /// So often one tries to read what should be there, when the job has ended.
    static constexpr int MostLooks = 5;

    [[nodiscard]] bool HasEnded() const { return m_hasEnded; }

private:
    bool m_hasEnded = false;
};

/// A file that the job writes, from the moment on at which it has changed it.
class Taskmill_OutputFilePart final : public Taskmill_OutputPart
{
public:
    Taskmill_OutputFilePart(const QString &path, const Taskmill_OutputFiles &times);
    ~Taskmill_OutputFilePart() override;
    Q_DISABLE_COPY_MOVE(Taskmill_OutputFilePart)

    [[nodiscard]] QByteArray Take(qint64 most) override;
    [[nodiscard]] bool IsBegunAnew() override { return std::exchange(m_isBegunAnew, false); }
    void End(const QDateTime &ended) override;
    void SetOvertaken() override { m_mayBeOfLaterRun = true; }
    [[nodiscard]] bool IsComplete() const override;

private:
    [[nodiscard]] bool IsOfThisRun() const;
    [[nodiscard]] bool IsOfLaterRun() const;
    /// False when there is nothing to be read.
    [[nodiscard]] bool Look();

    const QString m_path;
    const QDateTime m_started;
    QDateTime m_ended;
    bool m_mayBeOfLaterRun;
    /// As it was when this was made; nothing when it was not there.
    std::optional<KilnUtil_SharedFile::Status> m_before;
    bool m_wasAtOnce = false; ///< that was before the job could write anything
    std::unique_ptr<KilnUtil_FileSource> m_source;
    qint64 m_offset = 0;
    bool m_isBegunAnew = false;
    bool m_isLastLookDone = false;
    int m_failedReads = 0;
};

/// What a run prints, in the place where its keeper stores it.
class Taskmill_PrintedPart final : public Taskmill_OutputPart
{
public:
    explicit Taskmill_PrintedPart(KilnUtil_PrintedReader read)
        : m_read{std::move(read)}
    {
    }

    [[nodiscard]] QByteArray Take(qint64 most) override;
    [[nodiscard]] bool IsComplete() const override { return m_isComplete; }

private:
    const KilnUtil_PrintedReader m_read;
    qint64 m_offset = 0;
    int m_looksWhileGone = 0; ///< whoever takes the output away hands it over
    bool m_isComplete = false;
};

/// What a run has printed, as a whole or in pieces.
class Taskmill_PrintedTextPart final : public Taskmill_OutputPart
{
public:
    explicit Taskmill_PrintedTextPart(Taskmill_OutputText whole = {})
        : m_whole{std::move(whole)}
    {
    }

    void Add(const QByteArray &piece) { m_pieces.push_back(piece); }
    [[nodiscard]] QByteArray Take(qint64 most) override;
    [[nodiscard]] bool IsComplete() const override { return HasEnded() && m_pieces.empty() && !m_whole; }

private:
    Taskmill_OutputText m_whole; ///< is read when it is wanted
    std::deque<QByteArray> m_pieces;
    qsizetype m_taken = 0; ///< of the first
};
