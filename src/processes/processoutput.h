// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>
#include <optional>

/// Returns the bytes that a run has written from the offset on, at most so many, and moves the offset behind
/// them; to the beginning, when the bytes are not there any more. `hasEnded` says that nobody writes any
/// more.
using KilnUtil_PrintedReader = std::function<QByteArray(qint64 &offset, qint64 most, bool hasEnded)>;

/// What a keeper has stored of the output of a run.
struct KilnUtil_StoredOutput
{
    QByteArray Bytes;    ///< of one that cannot be read now, what can be, and a line that says where it is
    bool IsWhole = true; ///< else it may be readable later, and is not to be removed
};

/// What one run of a program has written so far, of which a very long one keeps only both ends. Readers have
/// an offset of their own, so that none takes bytes away from another.
class KilnUtil_ProcessOutput
{
public:
    KilnUtil_ProcessOutput() = default;
    virtual ~KilnUtil_ProcessOutput() = default;
    KilnUtil_ProcessOutput(const KilnUtil_ProcessOutput &) = default;
    KilnUtil_ProcessOutput &operator=(const KilnUtil_ProcessOutput &) = default;

    /// Adds what is to be said of the run behind what it wrote.
    virtual void Append(QByteArrayView bytes) = 0;

    /// What Append() has added, where the rest is in a file that stays when the run has ended; nothing where
    /// it is held here.
    [[nodiscard]] virtual std::optional<QByteArray> Appended() const { return std::nullopt; }

    /// Whether all that is kept can be read now; what cannot stays where it is. Reads it.
    [[nodiscard]] virtual bool IsReadable() const { return true; }

    /// All bytes so far, those that are no longer kept too.
    [[nodiscard]] virtual qint64 TotalSize() const = 0;
    /// Everything kept; where bytes were dropped, one line says how many.
    [[nodiscard]] virtual QByteArray Content() const = 0;
    /// The bytes from offset (counted from the first byte ever written) on, and moves offset behind them.
    /// Bytes that are not kept any more are skipped.
    [[nodiscard]] virtual QByteArray ReadFrom(qint64 &offset) const = 0;
};
