// SPDX-License-Identifier: MIT
#pragma once

#include "ui/textpage.h"

class KilnUtil_FileThread;

/// The input file of a job, and whether it was changed since the job was submitted.
class Taskmill_InputPage final : public Taskmill_TextPage
{
    Q_OBJECT

public:
    /// So much of it is shown, in bytes.
    static constexpr qint64 Length = 1024LL * 1024;

    explicit Taskmill_InputPage(QWidget *parent);
    ~Taskmill_InputPage() override;
    Q_DISABLE_COPY_MOVE(Taskmill_InputPage)

    void ShowJob(const Taskmill_ShownJob &job) override;
    void Rest() override;

private:
    class Source;
    struct Content;

    Taskmill_InputPage(QWidget *parent, Source *source);
    void Read();
    void Take(const Content &content);
    [[nodiscard]] QString TextOfChange(const Taskmill_JobTime &changed) const;

    Source *m_source;
    std::unique_ptr<KilnUtil_FileThread> m_thread;
    std::optional<Taskmill_JobRecord> m_job;
    QString m_shownPath; ///< of the text that is shown
};
