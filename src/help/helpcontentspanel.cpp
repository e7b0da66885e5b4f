// SPDX-License-Identifier: MIT
#include "help/helpcontentspanel.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int filePathRole = Qt::UserRole;
}

KilnUtil_HelpContentsPanel::KilnUtil_HelpContentsPanel(const KilnUtil_HelpPages &pages, QWidget *parent)
    : QWidget{parent}
    , m_pages{pages}
    , m_search{new QLineEdit{this}}
    , m_stack{new QStackedWidget{this}}
    , m_contents{new QTreeWidget{this}}
    , m_results{new QListWidget{this}}
    , m_noResult{new QLabel{this}}
{
    m_search->setPlaceholderText(u"Search the manual"_s);
    m_search->setAccessibleName(u"Search the manual"_s);
    m_search->setToolTip(u"Pages that hold all of these words (Ctrl+K)"_s);
    m_search->setClearButtonEnabled(true);
    m_search->installEventFilter(this);
    connect(m_search, &QLineEdit::textChanged, this, &KilnUtil_HelpContentsPanel::SearchSlot);
    MakeContents();
    MakeResults();
    KeepSelectionVisible();

    auto *layout = new QVBoxLayout{this};
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_search);
    layout->addWidget(m_stack, 1);
    setFocusProxy(m_search);
}

void KilnUtil_HelpContentsPanel::MakeContents()
{
    m_contents->setAccessibleName(u"Contents"_s);
    m_contents->setHeaderHidden(true);
    m_contents->setRootIsDecorated(false);
    m_contents->setItemsExpandable(false);
    m_contents->setIndentation(fontMetrics().horizontalAdvance(u'x'));
    connect(m_contents, &QTreeWidget::currentItemChanged, this,
            &KilnUtil_HelpContentsPanel::ContentsLineSlot);
    connect(m_contents, &QTreeWidget::itemClicked, this, &KilnUtil_HelpContentsPanel::ContentsLineSlot);
    m_stack->addWidget(m_contents);
}

void KilnUtil_HelpContentsPanel::MakeResults()
{
    m_results->setAccessibleName(u"Pages found"_s);
    m_results->setWordWrap(true);
    m_results->setResizeMode(QListView::Adjust);
    m_results->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(m_results, &QListWidget::currentItemChanged, this, &KilnUtil_HelpContentsPanel::ResultSlot);
    connect(m_results, &QListWidget::itemClicked, this, &KilnUtil_HelpContentsPanel::ResultSlot);
    m_stack->addWidget(m_results);

    m_noResult->setText(u"No page holds all of these words."_s);
    m_noResult->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_noResult->setWordWrap(true);
    m_stack->addWidget(m_noResult);
}

void KilnUtil_HelpContentsPanel::KeepSelectionVisible()
{
    // The page usually has the focus, and the list is to show which one it is all the same.
    QPalette colours = palette();
    for (const auto role : {QPalette::Highlight, QPalette::HighlightedText})
        colours.setBrush(QPalette::Inactive, role, colours.brush(QPalette::Active, role));
    m_contents->setPalette(colours);
    m_results->setPalette(colours);
}

void KilnUtil_HelpContentsPanel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        KeepSelectionVisible();
}

void KilnUtil_HelpContentsPanel::Fill()
{
    const QSignalBlocker quiet{m_contents};
    m_contents->clear();
    QTreeWidgetItem *group = nullptr;
    for (const KilnUtil_HelpContentsLine &line : m_pages.Contents()) {
        auto *item = new QTreeWidgetItem{{line.Title}};
        item->setData(0, filePathRole, line.FilePath);
        if (line.FilePath.isEmpty()) {
            item->setFlags(Qt::ItemIsEnabled);
            QFont bold = font();
            bold.setBold(true);
            item->setFont(0, bold);
            group = item;
            m_contents->addTopLevelItem(item);
        } else if (group) {
            group->addChild(item);
        } else {
            m_contents->addTopLevelItem(item);
        }
    }
    m_contents->expandAll();
    SearchSlot();
}

void KilnUtil_HelpContentsPanel::SetCurrentPage(const QString &filePath)
{
    const QSignalBlocker quiet{m_contents};
    for (QTreeWidgetItemIterator item{m_contents}; *item; ++item) {
        if ((*item)->data(0, filePathRole).toString() == filePath) {
            m_contents->setCurrentItem(*item);
            return;
        }
    }
    m_contents->setCurrentItem(nullptr);
    m_contents->clearSelection();
}

void KilnUtil_HelpContentsPanel::FocusSearchSlot()
{
    m_search->selectAll();
    m_search->setFocus(Qt::ShortcutFocusReason);
}

bool KilnUtil_HelpContentsPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_search || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    const bool isReturn = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (key == Qt::Key_Escape && !m_search->text().isEmpty()) {
        m_search->clear();
        return true;
    }
    if (!isReturn && key != Qt::Key_Down)
        return QWidget::eventFilter(watched, event);
    m_stack->currentWidget()->setFocus();
    if (m_stack->currentWidget() == m_results)
        m_results->setCurrentRow(0);
    return true;
}

void KilnUtil_HelpContentsPanel::SearchSlot()
{
    const QString words = m_search->text().simplified();
    const QSignalBlocker quiet{m_results};
    m_results->clear();
    for (const KilnUtil_HelpPage &page : m_pages.Search(words)) {
        auto *item =
            new QListWidgetItem{page.Title + u'\n' + KilnUtil_HelpPages::Excerpt(page, words), m_results};
        item->setData(filePathRole, page.FilePath);
    }
    if (words.isEmpty())
        m_stack->setCurrentWidget(m_contents);
    else if (m_results->count() == 0)
        m_stack->setCurrentWidget(m_noResult);
    else
        m_stack->setCurrentWidget(m_results);
}

void KilnUtil_HelpContentsPanel::ContentsLineSlot(QTreeWidgetItem *item)
{
    const QString filePath = item ? item->data(0, filePathRole).toString() : QString{};
    if (!filePath.isEmpty())
        Q_EMIT PageChosenSignal(filePath, {});
}

void KilnUtil_HelpContentsPanel::ResultSlot(QListWidgetItem *item)
{
    if (item)
        Q_EMIT PageChosenSignal(item->data(filePathRole).toString(), m_search->text());
}
