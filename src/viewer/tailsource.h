// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/memorysource.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class KilnUtil_FileThread;
class KilnUtil_Process;

/// The last lines of a file, of what a process writes, or of a text, one after the other. Files and texts are
/// read on another thread: nothing here waits for a drive.
class KilnUtil_TailSource final : public KilnUtil_MemorySource
{
public:
    /// So much is read of what is there at first, in bytes; what comes later is kept as well, up to Kept.
    static constexpr qint64 Length = 256LL * 1024;
    static constexpr qint64 Kept = 1024LL * 1024;

    /// Calls the function when a file or a text has been looked at: Refresh() then says what there is.
    explicit KilnUtil_TailSource(std::function<void()> hasNews);
    ~KilnUtil_TailSource() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_TailSource)

    /// Takes the place of what was shown, as soon as it has been read.
    void ShowFile(const QString &path);
    /// The process may be deleted at any time; nullptr shows nothing.
    void ShowProcess(KilnUtil_Process *process);
    /// The text, in UTF-8, is what the function returns on the other thread.
    void ShowText(const std::function<QByteArray()> &read);
    void ShowNothing();

    /// Looks again for more, in the background where it is a file.
    void LookAgain();
    /// Whether the first look at a file or a text is under way.
    [[nodiscard]] bool IsReading() const;
    /// Whether the file could not be opened when it was last looked at.
    [[nodiscard]] bool IsMissing() const { return m_isMissing; }
    /// When the file was last changed; not set where it is none.
    [[nodiscard]] const QDateTime &Changed() const { return m_changed; }
    /// Of all of it, also what is not shown; in bytes.
    [[nodiscard]] qint64 WholeSize() const { return m_wholeSize; }

    Change Refresh() override;
    /// What is to be known of the file.
    [[nodiscard]] QString StateText() const override { return m_state; }

private:
    class File;
    struct News;

    void TakeNews(const News &news);
    void PullFromProcess();
    void Replace(const QByteArray &bytes);
    void Reset();

    const std::function<void()> m_hasNews;
    std::unique_ptr<KilnUtil_FileThread> m_thread;
    std::shared_ptr<File> m_file; ///< used by the thread alone
    QPointer<KilnUtil_Process> m_process;
    qint64 m_processOffset = 0;
    qint64 m_wholeSize = 0;
    QString m_state;
    QDateTime m_changed;
    bool m_isMissing = false;
    bool m_isFirstLook = false;
    bool m_isReplaced = false; ///< since the last Refresh()
};
