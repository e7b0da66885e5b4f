// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// Bytes that a viewer shows, counted from their first one; they may grow while they are shown.
class KilnUtil_TextSource
{
public:
    enum class Change
    {
        None,
        Grown,   ///< what was there still is, at its offsets; bytes may have been dropped from the beginning
        Replaced ///< offsets from before mean nothing any more
    };

    virtual ~KilnUtil_TextSource() = default;

    /// False when there is nothing that could be read.
    [[nodiscard]] virtual bool Open() { return true; }

    /// Offset of the first byte that is still there.
    [[nodiscard]] virtual qint64 Begin() const { return 0; }
    /// Offset behind the last byte, as of the last Refresh().
    [[nodiscard]] virtual qint64 End() const = 0;
    /// The bytes from offset on, at most count; fewer at the end and when they cannot be read.
    [[nodiscard]] virtual QByteArray Read(qint64 offset, qint64 count) = 0;
    /// Looks for what has changed since the last call.
    virtual Change Refresh() = 0;
    /// What the user should know about the source; empty when there is nothing to say.
    [[nodiscard]] virtual QString StateText() const = 0;
};
