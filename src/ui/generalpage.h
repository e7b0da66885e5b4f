// SPDX-License-Identifier: MIT
#pragma once

#include "ui/detailspage.h"

class QTextEdit;

/// Everything that is known of a job, as one text that can be selected and copied.
class Taskmill_GeneralPage final : public Taskmill_DetailsPage
{
    Q_OBJECT

public:
    explicit Taskmill_GeneralPage(QWidget *parent);

    void ShowJob(const Taskmill_ShownJob &job) override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void Update();
    [[nodiscard]] QString Html() const;
    [[nodiscard]] int GroupsBeside() const;

    QTextEdit *m_text;
    std::optional<Taskmill_ShownJob> m_job;
    QString m_html;
};
