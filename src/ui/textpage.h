// SPDX-License-Identifier: MIT
#pragma once

#include "ui/detailspage.h"

#include <memory>

class KilnUtil_ElidedLabel;
class KilnUtil_TextSource;
class KilnUtil_TextView;
class QPushButton;

/// A page of the details with a text, a sentence about it above, and a button that opens all of it in a
/// viewer.
class Taskmill_TextPage : public Taskmill_DetailsPage
{
    Q_OBJECT

public:
    ~Taskmill_TextPage() override;
    Q_DISABLE_COPY_MOVE(Taskmill_TextPage)

    [[nodiscard]] KilnUtil_TextView &View() const { return *m_view; }
    /// The sentence.
    [[nodiscard]] QString Caption() const;

Q_SIGNALS:
    /// The user wants to see all of it.
    void ViewSignal();

protected:
    /// The names are for those who do not see the page.
    Taskmill_TextPage(QWidget *parent, std::unique_ptr<KilnUtil_TextSource> source, const QString &name,
                      const QString &viewName);

    /// Its parts stand one beside the other. Without a text there is nothing to be opened.
    void SetCaption(const QStringList &parts, bool hasText);

private:
    std::unique_ptr<KilnUtil_TextSource> m_source;
    KilnUtil_TextView *m_view;
    KilnUtil_ElidedLabel *m_caption;
    QPushButton *m_openViewer;
};
