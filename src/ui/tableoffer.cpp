// SPDX-License-Identifier: MIT
#include "ui/tableoffer.h"

#include "widgets/tablewidget.h"

#include <QEvent>

Taskmill_TableOffer::Taskmill_TableOffer(KilnUtil_TableWidget &table, const QString &text)
    : QPushButton{text, table.parentWidget()}
    , m_table{table}
{
    setAutoDefault(false);
    m_table.viewport()->installEventFilter(this);
    connect(m_table.model(), &QAbstractItemModel::rowsInserted, this, &QWidget::hide);
    PutInPlace();
}

void Taskmill_TableOffer::SetText(const QString &text)
{
    setText(text);
    PutInPlace();
}

bool Taskmill_TableOffer::IsTableEmpty() const
{
    return m_table.model()->rowCount() == 0;
}

bool Taskmill_TableOffer::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show)
        PutInPlace();
    return QPushButton::eventFilter(watched, event);
}

/// Beneath the text in the middle, which has two lines.
void Taskmill_TableOffer::PutInPlace()
{
    const QWidget &viewport = *m_table.viewport();
    const QPoint middle = viewport.mapTo(parentWidget(), viewport.rect().center());
    resize(sizeHint().boundedTo(viewport.size()));
    move(middle.x() - width() / 2, middle.y() + 2 * fontMetrics().lineSpacing());
    raise();
}
