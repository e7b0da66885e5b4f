// SPDX-License-Identifier: MIT
#include "widgets/outputwindow.h"

#include <QFontDatabase>
#include <QIcon>

namespace {
constexpr int columnsShown = 72;
constexpr int linesShown = 16;
} // namespace

KilnUtil_OutputWindow::KilnUtil_OutputWindow(const QString &title, const QIcon &icon)
{
    setWindowTitle(title);
    setWindowIcon(icon);
    setReadOnly(true);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void KilnUtil_OutputWindow::AppendText(const QString &text)
{
    moveCursor(QTextCursor::End);
    insertPlainText(text);
}

void KilnUtil_OutputWindow::Show()
{
    resize(fontMetrics().horizontalAdvance(u'x') * columnsShown, fontMetrics().lineSpacing() * linesShown);
    show();
    raise();
}

void KilnUtil_OutputWindow::closeEvent(QCloseEvent *event)
{
    QPlainTextEdit::closeEvent(event);
    Q_EMIT ClosedSignal();
}
