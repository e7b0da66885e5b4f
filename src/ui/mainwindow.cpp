// SPDX-License-Identifier: MIT
#include "ui/mainwindow.h"

#include "help/helpdialog.h"
#include "jobs/destination.h"
#include "ui/statusicon.h"
#include "widgets/widgetutil.h"

#include <QActionGroup>
#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QMenuBar>
#include <QProxyStyle>
#include <QPushButton>
#include <QScreen>
#include <QSizeGrip>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int gap = 10;             // pixels between the parts
constexpr int gapAboveContent = 20; // pixels

QStringList PageLabels()
{
    QStringList labels;
    for (const Taskmill_QueueNames &queue : Taskmill_Queues)
        labels.append(queue.Tab);
    return labels << u"Running Jobs"_s << u"Finished Jobs"_s << u"Job Types"_s;
}
} // namespace

/// The style of the desktop, with less room beside the texts of tabs where it is scarce.
class Taskmill_MainWindow::TabStyle final : public QProxyStyle
{
public:
    bool IsCompact = false;

    [[nodiscard]] int RoomSaved(const QWidget &tabs) const
    {
        return QProxyStyle::pixelMetric(PM_TabBarTabHSpace, nullptr, &tabs) / 2;
    }
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption *option,
                                  const QWidget *widget) const override
    {
        const int value = QProxyStyle::pixelMetric(metric, option, widget);
        return metric == PM_TabBarTabHSpace && IsCompact && widget ? value - RoomSaved(*widget) : value;
    }
};

Taskmill_MainWindow::Taskmill_MainWindow()
    : m_tabs{new QTabWidget}
    , m_tabStyle{new TabStyle}
{
    m_tabStyle->setParent(this);
    m_tabs->tabBar()->setStyle(m_tabStyle);
    auto *frame = new QFrame{this};
    setCentralWidget(frame);
    auto *separator = new QFrame{frame};
    separator->setFrameShape(QFrame::HLine);
    separator->setFrameShadow(QFrame::Sunken);

    auto *layout = new QVBoxLayout{frame};
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addSpacing(gap);
    layout->addWidget(m_tabs, 1);
    layout->addSpacing(gap);
    layout->addWidget(separator);
    layout->addSpacing(gap);
    layout->addLayout(MakeButtonRow());
    layout->addSpacing(gap);
    MakePages();
    MakeMenus();
    MakeTabEntries();
}

void Taskmill_MainWindow::MakePages()
{
    m_tabs->setAccessibleName(u"Queues and Lists"_s);
    const QStringList labels = PageLabels();
    for (const QString &label : labels) {
        auto *page = new QFrame;
        auto *layout = new QVBoxLayout{page};
        layout->setContentsMargins({});
        layout->setSpacing(0);
        layout->addSpacing(gapAboveContent);
        const int tab = m_tabs->addTab(page, label);
        m_tabs->tabBar()->setAccessibleTabName(tab, label);
    }
}

/// The buttons have other keys with Alt.
void Taskmill_MainWindow::MakeMenus()
{
    size_t menu = 0;
    for (const QString &title : {u"Pro&ject"_s, u"Jo&bs"_s, u"&Queue"_s, u"&View"_s, u"He&lp"_s})
        m_menus.at(menu++) = menuBar()->addMenu(title);
}

/// Alt and the number of the tab, as browsers have it.
void Taskmill_MainWindow::MakeTabEntries()
{
    auto *group = new QActionGroup{this};
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        QAction *entry =
            Menu(Taskmill_WindowMenu::View).addAction(u"&%1  %2"_s.arg(tab + 1).arg(m_tabs->tabText(tab)));
        entry->setShortcut(Qt::ALT | static_cast<Qt::Key>(Qt::Key_1 + tab));
        entry->setCheckable(true);
        entry->setChecked(tab == m_tabs->currentIndex());
        group->addAction(entry);
        connect(entry, &QAction::triggered, m_tabs, [this, tab] { m_tabs->setCurrentIndex(tab); });
    }
    connect(m_tabs, &QTabWidget::currentChanged, group,
            [group](int tab) { group->actions().at(tab)->setChecked(true); });
}

QPushButton *Taskmill_MainWindow::MakeButton(const QString &text, const QString &toolTip, Qt::Key mnemonic)
{
    auto *button = new QPushButton{text, this};
    const QKeySequence shortcut{Qt::ALT | mnemonic};
    button->setShortcut(shortcut);
    button->setToolTip(toolTip + u" ("_s + shortcut.toString(QKeySequence::NativeText) + u')');
    return button;
}

QBoxLayout *Taskmill_MainWindow::MakeButtonRow()
{
    m_submitJobs = MakeButton(u"Submit Jobs..."_s, u"Choose input files and submit them"_s, Qt::Key_S);
    m_hide = MakeButton(u"Hide"_s, u"Close the window; jobs run on"_s, Qt::Key_H);
    m_exit = MakeButton(u"Exit"_s, u"End Taskmill"_s, Qt::Key_X);
    m_help = MakeButton(u"Help"_s, u"Open the manual"_s, Qt::Key_P);
    m_about = MakeButton(u"About"_s, u"Show which version this is"_s, Qt::Key_A);
    for (QPushButton *button : {m_help, m_about}) {
        button->setDefault(false);
        button->setAutoDefault(false);
    }
    KilnUtil_HelpDialog::Global().ConnectButton(m_help, u"taskmill/introduction"_s);

    auto *row = new QHBoxLayout;
    row->setSpacing(0);
    row->addStretch();
    row->addSpacing(gap);
    row->addWidget(m_submitJobs);
    row->addSpacing(gap);
    row->addStretch();
    row->addWidget(m_hide);
    row->addSpacing(gap);
    row->addWidget(m_exit);
    row->addSpacing(gap);
    row->addStretch();
    row->addWidget(m_help);
    row->addSpacing(gap);
    row->addStretch();
    row->addWidget(m_about);
    row->addSpacing(gap);
    row->addWidget(new QSizeGrip{this}, 0, Qt::AlignBottom);
    row->addSpacing(gap);
    return row;
}

QWidget *Taskmill_MainWindow::PageOf(Taskmill_Page page) const
{
    return m_tabs->widget(static_cast<int>(page));
}

void Taskmill_MainWindow::SetContent(Taskmill_Page page, QWidget *content) const
{
    PageOf(page)->layout()->addWidget(content);
    PageOf(page)->setFocusProxy(content);
}

void Taskmill_MainWindow::ShowPaused(Taskmill_Page page, bool paused)
{
    m_paused.removeAll(page);
    if (paused)
        m_paused.append(page);
    const int tab = static_cast<int>(page);
    m_tabs->setTabIcon(tab, paused ? Taskmill_PausedIcon() : QIcon{});
    UpdateToolTip(page);
    FitTabs();
}

void Taskmill_MainWindow::ShowCount(Taskmill_Page page, qsizetype count, const QString &explanation)
{
    const int tab = static_cast<int>(page);
    const QString label = m_tabs->tabBar()->accessibleTabName(tab);
    const QString text = count > 0 ? u"%1 (%2)"_s.arg(label).arg(count) : label;
    m_explanations[page] = explanation;
    UpdateToolTip(page);
    if (m_tabs->tabText(tab) == text)
        return;
    m_tabs->setTabText(tab, text);
    FitTabs();
}

void Taskmill_MainWindow::UpdateToolTip(Taskmill_Page page)
{
    QStringList lines{m_explanations.value(page)};
    if (m_paused.contains(page))
        lines.append(u"This queue is paused"_s);
    lines.removeAll(QString{});
    m_tabs->setTabToolTip(static_cast<int>(page), lines.join(u'\n'));
}

/// Of all of them with the usual room beside their texts.
int Taskmill_MainWindow::WidthOfTabs() const
{
    const QTabBar &bar = *m_tabs->tabBar();
    const int saved = m_tabStyle->IsCompact ? m_tabStyle->RoomSaved(bar) * bar.count() : 0;
    return bar.sizeHint().width() + saved;
}

/// What the least width has besides, so that the window does not grow with the first jobs or paused queues.
int Taskmill_MainWindow::RoomForCounts() const
{
    constexpr int besideIcon = 4; // as Qt has it
    int room = 0;
    const QTabBar &bar = *m_tabs->tabBar();
    for (const Taskmill_Page page : {Taskmill_Page::LongJobs, Taskmill_Page::ShortJobs})
        room += m_paused.contains(page) ? 0 : bar.iconSize().width() + besideIcon;
    for (const Taskmill_Page page : {Taskmill_Page::LongJobs, Taskmill_Page::ShortJobs,
                                     Taskmill_Page::QueuelessJobs, Taskmill_Page::FinishedJobs}) {
        const int tab = static_cast<int>(page);
        const QString text = bar.accessibleTabName(tab) + u" (999)"_s;
        room += qMax(0, fontMetrics().horizontalAdvance(text) -
                            fontMetrics().horizontalAdvance(bar.tabText(tab)));
    }
    return room;
}

/// All tabs are in view where the screen is wide enough for them: none has to be looked for with arrows.
void Taskmill_MainWindow::FitTabs()
{
    const QTabBar &bar = *m_tabs->tabBar();
    const int least = WidthOfTabs() - m_tabStyle->RoomSaved(bar) * bar.count() + RoomForCounts();
    m_tabs->setMinimumWidth(qMin(least, screen()->availableGeometry().width()));
    const bool compact = m_tabs->width() < WidthOfTabs();
    if (compact == m_tabStyle->IsCompact)
        return;
    m_tabStyle->IsCompact = compact;
    QEvent change{QEvent::StyleChange};
    QApplication::sendEvent(m_tabs->tabBar(), &change);
}

bool Taskmill_MainWindow::event(QEvent *event)
{
    const bool done = QMainWindow::event(event);
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Resize:
    case QEvent::FontChange:
    case QEvent::StyleChange:
        FitTabs();
        break;
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
        m_sizeToCentre = {};
        break;
    default:
        break;
    }
    // No event reports that the frame is there, but one of the first events comes after it.
    if (size() == m_sizeToCentre && frameGeometry() != geometry()) {
        m_sizeToCentre = {};
        KilnUtil_WidgetUtil::CentreOn(this, screen()->availableGeometry());
    }
    return done;
}

/// The mark of a paused queue is in the colour of the text.
void Taskmill_MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::PaletteChange)
        return;
    const QList<Taskmill_Page> paused = m_paused;
    for (const Taskmill_Page page : paused)
        ShowPaused(page, true);
}

void Taskmill_MainWindow::PutInMiddleOfScreen()
{
    const QRect available = screen()->availableGeometry();
    resize((available.width() + 1) / 2, (available.height() + 1) / 2);
    KilnUtil_WidgetUtil::CentreOn(this, available);
    m_sizeToCentre = size();
}

void Taskmill_MainWindow::ShowInFront()
{
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    showNormal();
    raise();
    activateWindow();
    // A dialog that came while the window was away would stand behind it, and block it.
    if (QWidget *dialog = QApplication::activeModalWidget()) {
        dialog->raise();
        dialog->activateWindow();
    }
}
