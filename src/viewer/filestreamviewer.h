// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/textsource.h"

#include <QMainWindow>
#include <QTimer>

#include <memory>

class KilnUtil_ElidedLabel;
class KilnUtil_FileThread;
class KilnUtil_FindBar;
class KilnUtil_MemorySource;
class KilnUtil_Process;
class KilnUtil_TextSaver;
class KilnUtil_TextSearch;
class KilnUtil_TextView;
class QAction;
class QLabel;

/// A window that shows a text: a file, what a process writes, or what it is given by AppendLine(). It deletes
/// itself when it is closed.
class KilnUtil_FileStreamViewer final : public QMainWindow
{
    Q_OBJECT

public:
    /// The interval of a view that does not follow its source.
    static constexpr int OneTimeView = -1;

    /// Views the file; with an empty path, a text that AppendLine() makes. The interval in ms is how often
    /// the window looks for changes. It then begins at the end of the text and follows it, else at the
    /// beginning.
    KilnUtil_FileStreamViewer(QWidget *parent, const QString &path, const QString &caption, int interval,
                              const QString &title);
    /// Views the output of a process, which may be deleted at any time.
    KilnUtil_FileStreamViewer(QWidget *parent, KilnUtil_Process *process, const QString &caption,
                              int interval, const QString &title);
    ~KilnUtil_FileStreamViewer() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_FileStreamViewer)

    /// Ends the following when the process ends, which may be deleted at any time. To be called before
    /// Start().
    void FollowUntilEndOf(const KilnUtil_Process &process);
    /// Opens the source and shows the window. False when the file cannot be read or there is no process; the
    /// caller then deletes the viewer.
    [[nodiscard]] bool Start();
    /// Looks for the last line that holds this text, marks it and scrolls to it. To be called when the text
    /// is there. The message then stands in the status line.
    void MarkLine(const QString &line, const QString &message);
    /// Adds text, and a line feed behind it when asked for. Not for the view of a file.
    void AppendLine(const QString &text, bool lineFeed);

    /// Stands at the left of the status line until there is something else to be said.
    void ShowMessage(const QString &message);

    [[nodiscard]] KilnUtil_TextView &View() { return *m_view; }
    /// The sentence at the left of the status line.
    [[nodiscard]] QString StateText() const;
    /// Whether a search or the saving of a copy is under way.
    [[nodiscard]] bool IsBusy() const { return m_workTimer.isActive(); }

public Q_SLOTS:
    /// Shows what has changed in the source; called by the timer.
    void RefreshSlot();
    void ShowFindBarSlot();
    void FindNextSlot();
    void FindPreviousSlot();
    void CopySlot();
    void SaveCopySlot();
    /// Stops a search or the saving of a copy; when there is none, hides the search controls.
    void StopSlot();
    /// Back to what MarkLine() has found.
    void ShowMarkSlot();

private Q_SLOTS:
    void FindSlot(bool forward);
    void WorkSlot();
    void UpdateStatusSlot();
    void EndFollowingSlot();

private:
    KilnUtil_FileStreamViewer(QWidget *parent, std::unique_ptr<KilnUtil_TextSource> source,
                              const QString &caption, int interval, const QString &title);
    void MakeMenus();
    void MakeStatusBar();
    void RefreshSoon();
    [[nodiscard]] bool IsShownFile(const QString &path) const;
    void StepSearch();
    void StepMarking();
    void StepSaver();
    void StopWork(const QString &message);

    std::unique_ptr<KilnUtil_TextSource> m_source;
    QString m_path;                            ///< of the file; else empty
    KilnUtil_MemorySource *m_memory = nullptr; ///< the source, when it takes AppendLine()
    int m_interval;
    KilnUtil_TextView *m_view;
    KilnUtil_FindBar *m_findBar;
    KilnUtil_FileThread *m_drive; ///< asks whether it answers
    KilnUtil_ElidedLabel *m_stateLabel = nullptr;
    QLabel *m_sizeLabel = nullptr;
    QLabel *m_placeLabel = nullptr;
    QLabel *m_followLabel = nullptr;
    bool m_hasEnded = false; ///< the process that writes the text
    QString m_markMessage;   ///< of the line that is looked for; empty when none is
    QAction *m_showMark = nullptr;
    QString m_message; ///< shown in place of the source's state
    QTimer m_refreshTimer;
    QTimer m_workTimer; ///< runs whenever the event loop is idle while there is work
    std::unique_ptr<KilnUtil_TextSearch> m_search;
    std::unique_ptr<KilnUtil_TextSearch> m_marking; ///< looks for the line to be marked
    std::unique_ptr<KilnUtil_TextSaver> m_saver;
};
