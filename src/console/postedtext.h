// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <mutex>

/// Text on its way from threads that must not wait to the one that writes it. Everything may be called from
/// any thread, and never waits for anybody's writing.
class Taskmill_PostedText
{
public:
    /// More than this many characters are not kept: one line takes the place of what comes then.
    static constexpr qsizetype MostCharacters = 2 << 20;

    void Add(const QString &text);
    /// All that was added since the last time, in order.
    [[nodiscard]] QString Take();
    [[nodiscard]] bool IsEmpty() const;

private:
    mutable std::mutex m_mutex;
    QString m_text;
    bool m_isFull = false;
};
