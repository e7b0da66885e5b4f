// SPDX-License-Identifier: MIT
#pragma once

#include "ui/textpage.h"

#include <QTimer>

class KilnUtil_TailSource;

/// The last lines of what a job writes, which follow while it runs: of its output file where it has one, else
/// of what it prints. The line that says why the calculation failed is marked.
class Taskmill_OutputPage final : public Taskmill_TextPage
{
    Q_OBJECT

public:
    explicit Taskmill_OutputPage(QWidget *parent);

    void ShowJob(const Taskmill_ShownJob &job) override;
    void Rest() override;

private:
    /// What the text is taken from: another one makes another text.
    struct Origin
    {
        int jobID = -1;
        QString file;
        const KilnUtil_Process *process = nullptr;
        bool isFinished = false;
        bool isWaiting = false; ///< what is there is of another job

        bool operator==(const Origin &) const = default;
    };

    Taskmill_OutputPage(QWidget *parent, KilnUtil_TailSource *source);
    void Begin();
    void ShowPrinted();
    void Refresh();
    void MarkLine();
    void UpdateCaption();

    KilnUtil_TailSource *m_source;
    QTimer m_timer;
    std::optional<Taskmill_ShownJob> m_job;
    Origin m_origin;
    bool m_showsPrinted = false;
};
