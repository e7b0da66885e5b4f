// SPDX-License-Identifier: MIT
#pragma once

#include <QPlainTextEdit>

class QIcon;

/// A window that shows text to a user who has no console.
class KilnUtil_OutputWindow final : public QPlainTextEdit
{
    Q_OBJECT

public:
    KilnUtil_OutputWindow(const QString &title, const QIcon &icon);

    void AppendText(const QString &text);
    /// Shows the window, wide enough for the text.
    void Show();

Q_SIGNALS:
    /// The user has closed the window.
    void ClosedSignal();

protected:
    void closeEvent(QCloseEvent *event) override;
};
