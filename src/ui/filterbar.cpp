// SPDX-License-Identifier: MIT
#include "ui/filterbar.h"

#include "ui/jobtablemodel.h"
#include "widgets/tablesortproxy.h"
#include "widgets/tablewidget.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int typingPauseMs = 150;

/// With separators between the thousands.
QString NumberText(qsizetype number)
{
    return QLocale::c().toString(static_cast<qlonglong>(number));
}
} // namespace

Taskmill_FilterBar::Taskmill_FilterBar(KilnUtil_TableWidget &table, Taskmill_JobTableModel &model,
                                       QString emptyText, QWidget *parent)
    : QWidget{parent}
    , m_table{table}
    , m_model{model}
    , m_emptyText{std::move(emptyText)}
    , m_text{new QLineEdit{this}}
    , m_failedOnly{new QCheckBox{u"Failed &only"_s, this}}
    , m_count{new QLabel{this}}
{
    auto *label = new QLabel{u"Fil&ter:"_s, this};
    label->setBuddy(m_text);
    m_text->setPlaceholderText(u"Words in name, job type, folder or result"_s);
    m_text->setAccessibleName(u"Filter"_s);
    m_text->setClearButtonEnabled(true);
    m_failedOnly->setToolTip(u"Jobs that failed or crashed, did not converge, or ended with an error"_s);
    auto *close = new QPushButton{u"&Close"_s, this};
    close->setAccessibleName(u"Close the filter"_s);
    close->setToolTip(u"Show all jobs (Esc)"_s);
    auto *layout = new QHBoxLayout{this};
    layout->setContentsMargins({});
    layout->addWidget(label);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_failedOnly);
    layout->addWidget(m_count);
    layout->addWidget(close);
    hide();

    m_typing.setSingleShot(true);
    m_typing.setInterval(typingPauseMs);
    m_counting.setSingleShot(true);
    m_counting.setInterval(0);
    connect(&m_typing, &QTimer::timeout, this, &Taskmill_FilterBar::Apply);
    connect(&m_counting, &QTimer::timeout, this, &Taskmill_FilterBar::ShowCount);
    connect(m_text, &QLineEdit::textChanged, this, &Taskmill_FilterBar::TextChangedSlot);
    connect(m_failedOnly, &QCheckBox::toggled, this, &Taskmill_FilterBar::Apply);
    connect(close, &QPushButton::clicked, this, &Taskmill_FilterBar::Close);
    m_table.installEventFilter(this);
    m_text->installEventFilter(this);
    m_table.SetEmptyText(m_emptyText);
    const KilnUtil_TableSortProxy &rows = m_table.Rows();
    using Rows = KilnUtil_TableSortProxy;
    connect(&rows, &Rows::FilteringSignal, this, &Taskmill_FilterBar::CountSoon);
    connect(&rows, &Rows::rowsInserted, this, &Taskmill_FilterBar::CountSoon);
    connect(&rows, &Rows::rowsRemoved, this, &Taskmill_FilterBar::CountSoon);
    connect(&rows, &Rows::layoutChanged, this, &Taskmill_FilterBar::CountSoon);
    connect(&rows, &Rows::modelReset, this, &Taskmill_FilterBar::CountSoon);
}

void Taskmill_FilterBar::Open()
{
    show();
    ShowCount();
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
}

void Taskmill_FilterBar::Close()
{
    m_text->clear();
    m_failedOnly->setChecked(false);
    Apply();
    hide();
    m_table.setFocus();
}

void Taskmill_FilterBar::TextChangedSlot()
{
    m_typing.start();
}

void Taskmill_FilterBar::Apply()
{
    m_typing.stop();
    const Taskmill_JobFilter filter{m_text->text(), m_failedOnly->isChecked()};
    if (filter == m_model.Filter())
        return;
    m_model.SetFilter(filter);
    m_table.FilterChanged();
    ShowCount();
}

/// Jobs may come and go many at a time.
void Taskmill_FilterBar::CountSoon()
{
    if (isVisible() && !m_counting.isActive())
        m_counting.start();
}

void Taskmill_FilterBar::ShowCount()
{
    const qsizetype all = m_model.rowCount();
    const bool isFiltering = m_table.Rows().IsFiltering();
    const QString text = isFiltering
                             ? u"Looking through %1 jobs..."_s.arg(NumberText(all))
                             : u"%1 of %2 jobs"_s.arg(NumberText(m_table.Rows().rowCount()), NumberText(all));
    m_count->setText(text);
    m_text->setAccessibleDescription(text);
    m_table.SetEmptyText(all > 0 && m_model.HasFilter() ? u"No job matches the filter."_s : m_emptyText);
}

bool Taskmill_FilterBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || isHidden())
        return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (watched == &m_table && key == Qt::Key_Escape) {
        Close();
        return true;
    }
    const bool leavesLine = key == Qt::Key_Down || key == Qt::Key_Return || key == Qt::Key_Enter;
    if (watched != m_text || !leavesLine)
        return QWidget::eventFilter(watched, event);
    // Applies what was typed last, before the first row is chosen.
    Apply();
    m_table.setFocus();
    if (!m_table.currentIndex().isValid())
        m_table.setCurrentIndex(m_table.model()->index(0, 0));
    return true;
}

/// Keys that no control of the line has taken.
void Taskmill_FilterBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        Close();
    else
        QWidget::keyPressEvent(event);
}
