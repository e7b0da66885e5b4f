// SPDX-License-Identifier: MIT
#include "help/helpdialog.h"

#include "help/helpbrowser.h"
#include "help/helpcontentspanel.h"
#include "kilnutil/filesys.h"
#include "kilnutil/registry.h"
#include "widgets/findbar.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QHideEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QSize usualSize{920, 680}; // logical pixels
constexpr int usualContentsWidth = 240;

const QString geometryKey = u"/Help_Dialog/Geometry"_s;
const QString splitterKey = u"/Help_Dialog/Splitter"_s;
const QString zoomKey = u"/Help_Dialog/Zoom"_s;

QPointer<KilnUtil_HelpDialog> globalDialog;
} // namespace

KilnUtil_HelpDialog &KilnUtil_HelpDialog::Global()
{
    if (!globalDialog) {
        globalDialog = new KilnUtil_HelpDialog;
        // No widget may outlive the application object.
        qAddPostRoutine([] { delete globalDialog; });
    }
    return *globalDialog;
}

KilnUtil_HelpDialog::KilnUtil_HelpDialog()
    : m_browser{new KilnUtil_HelpBrowser{this}}
    , m_contents{new KilnUtil_HelpContentsPanel{m_pages, this}}
    , m_findBar{new KilnUtil_FindBar{this}}
    , m_message{new QLabel{this}}
    , m_splitter{new QSplitter{this}}
{
    setWindowFlags(Qt::Window);
    setModal(false);
    m_browser->setAccessibleName(u"Page of the manual"_s);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setWordWrap(true);
    m_message->hide();
    m_findBar->hide();
    m_findBar->layout()->setContentsMargins(0, 0, 0, 0);
    // Enter in the contents is not to press them.
    for (QPushButton *button : m_findBar->findChildren<QPushButton *>())
        button->setAutoDefault(false);

    auto *right = new QWidget{this};
    auto *rightLayout = new QVBoxLayout{right};
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->addWidget(m_browser, 1);
    rightLayout->addWidget(m_findBar);
    rightLayout->addWidget(m_message);
    m_splitter->addWidget(m_contents);
    m_splitter->addWidget(right);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setChildrenCollapsible(false);

    auto *layout = new QVBoxLayout{this};
    layout->addWidget(MakeToolBar());
    layout->addWidget(m_splitter, 1);
    MakeShortcuts();
    SetInitialSize();

    connect(m_contents, &KilnUtil_HelpContentsPanel::PageChosenSignal, this,
            &KilnUtil_HelpDialog::PageChosenSlot);
    connect(m_findBar, &KilnUtil_FindBar::FindSignal, this, &KilnUtil_HelpDialog::FindSlot);
    connect(m_findBar, &KilnUtil_FindBar::ClosedSignal, this, &KilnUtil_HelpDialog::reject);
    connect(m_browser, &QTextBrowser::sourceChanged, this, &KilnUtil_HelpDialog::SourceChangedSlot);
    connect(m_browser, &KilnUtil_HelpBrowser::OutsideLinkSignal, this, &KilnUtil_HelpDialog::OutsideLinkSlot);
}

QToolBar *KilnUtil_HelpDialog::MakeToolBar()
{
    auto *bar = new QToolBar{this};
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const auto add = [&](const QString &text, QStyle::StandardPixmap icon,
                         const QList<QKeySequence> &shortcuts, auto *receiver, auto slot) {
        QAction *action = bar->addAction(style()->standardIcon(icon), text, receiver, slot);
        action->setShortcuts(shortcuts);
        action->setToolTip(u"%1 (%2)"_s.arg(text, shortcuts.first().toString(QKeySequence::NativeText)));
        return action;
    };
    QAction *back = add(u"Back"_s, QStyle::SP_ArrowBack, {Qt::ALT | Qt::Key_Left, Qt::Key_Back}, m_browser,
                        &QTextBrowser::backward);
    QAction *forward = add(u"Forward"_s, QStyle::SP_ArrowForward, {Qt::ALT | Qt::Key_Right, Qt::Key_Forward},
                           m_browser, &QTextBrowser::forward);
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(m_browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    add(u"Contents"_s, QStyle::SP_DirHomeIcon, {Qt::ALT | Qt::Key_Home}, this,
        &KilnUtil_HelpDialog::HomeSlot);
    bar->addSeparator();
    const auto addText = [&](const QString &text, const QString &toolTip,
                             const QList<QKeySequence> &shortcuts, auto slot) {
        QAction *action = bar->addAction(text, this, slot);
        action->setShortcuts(shortcuts);
        action->setToolTip(toolTip);
    };
    addText(u"Find"_s, u"Find in this page (Ctrl+F)"_s, {QKeySequence::Find},
            &KilnUtil_HelpDialog::OpenFindBarSlot);
    addText(u"Smaller"_s, u"Smaller text (Ctrl+-)"_s, {QKeySequence::ZoomOut},
            [this] { m_browser->SetZoom(m_browser->Zoom() - 1); });
    addText(u"Larger"_s, u"Larger text (Ctrl++)"_s, {QKeySequence::ZoomIn, Qt::CTRL | Qt::Key_Equal},
            [this] { m_browser->SetZoom(m_browser->Zoom() + 1); });
    return bar;
}

void KilnUtil_HelpDialog::MakeShortcuts()
{
    const auto add = [this](const QKeySequence &keys, auto *receiver, auto slot) {
        connect(new QShortcut{keys, this}, &QShortcut::activated, receiver, slot);
    };
    add(Qt::CTRL | Qt::Key_0, m_browser, [this] { m_browser->SetZoom(0); });
    add(Qt::CTRL | Qt::Key_K, m_contents, &KilnUtil_HelpContentsPanel::FocusSearchSlot);
    add(Qt::Key_F3, this, [this] { FindSlot(true); });
    add(Qt::SHIFT | Qt::Key_F3, this, [this] { FindSlot(false); });
    add(QKeySequence::Close, this, &QWidget::close);
}

void KilnUtil_HelpDialog::SetInitialSize()
{
    const QSize available = screen()->availableGeometry().size();
    resize(usualSize.boundedTo(available));
    const int contentsWidth = qMin(usualContentsWidth, width() / 3);
    m_splitter->setSizes({contentsWidth, width() - contentsWidth});
    restoreGeometry(KilnUtil_Registry::Value(geometryKey).toByteArray());
    m_splitter->restoreState(KilnUtil_Registry::Value(splitterKey).toByteArray());
    m_browser->SetZoom(KilnUtil_Registry::Value(zoomKey).toInt());
}

void KilnUtil_HelpDialog::ConnectButton(QAbstractButton *button, const QString &helpId)
{
    connect(button, &QAbstractButton::clicked, this, [this, helpId] { ShowPage(helpId); });
}

void KilnUtil_HelpDialog::ConnectAction(QAction *action, const QString &helpId, bool /*unused*/)
{
    connect(action, &QAction::triggered, this, [this, helpId] { ShowPage(helpId); });
}

void KilnUtil_HelpDialog::ShowPage(const QString &helpId)
{
    ReadPages();
    PageChosenSlot(m_pages.FilePathOf(helpId), {});
    ShowWindow();
    m_browser->setFocus();
}

void KilnUtil_HelpDialog::ReadPages()
{
    const QString &directory = KilnUtil_FileSys::m_appHelpDirPath;
    if (!m_pages.Pages().isEmpty() && m_pages.Directory() == directory)
        return;
    m_pages = KilnUtil_HelpPages{directory};
    m_browser->SetDirectory(directory);
    m_contents->Fill();
}

void KilnUtil_HelpDialog::ShowWindow()
{
    // A modal dialog blocks all windows but those that belong to it, and its help would be of no use then.
    const QWidget *modal = QApplication::activeModalWidget();
    QWindow *owner = modal ? modal->windowHandle() : nullptr;
    create();
    if (windowHandle()->transientParent() != owner) {
        hide();
        windowHandle()->setTransientParent(owner);
    }
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
}

void KilnUtil_HelpDialog::hideEvent(QHideEvent *event)
{
    QDialog::hideEvent(event);
    if (event->spontaneous())
        return;
    KilnUtil_Registry::SetValue(geometryKey, saveGeometry());
    KilnUtil_Registry::SetValue(splitterKey, m_splitter->saveState());
    KilnUtil_Registry::SetValue(zoomKey, m_browser->Zoom());
}

void KilnUtil_HelpDialog::PageChosenSlot(const QString &filePath, const QString &words)
{
    if (filePath != m_browser->FilePath() || m_browser->document()->isEmpty())
        m_browser->ShowFile(filePath);
    m_browser->MarkWords(words);
}

void KilnUtil_HelpDialog::SourceChangedSlot(const QUrl &source)
{
    Tell({});
    // The browser itself still returns the page before.
    m_contents->SetCurrentPage(source.toLocalFile());
    const QString home = m_pages.TitleOf(m_pages.HomePath());
    const QString page = m_browser->documentTitle();
    setWindowTitle(home.isEmpty() || home == page ? page : u"%1 - %2"_s.arg(page, home));
}

void KilnUtil_HelpDialog::OutsideLinkSlot(const QUrl &link)
{
    Tell(u"This link leads out of the manual and is not opened: %1"_s.arg(link.toDisplayString()));
}

void KilnUtil_HelpDialog::OpenFindBarSlot()
{
    const QString selected = m_browser->textCursor().selectedText();
    m_findBar->Activate(selected.contains(QChar::ParagraphSeparator) ? QString{} : selected);
}

void KilnUtil_HelpDialog::FindSlot(bool forward)
{
    if (m_findBar->Text().isEmpty()) {
        OpenFindBarSlot();
        return;
    }
    switch (m_browser->Find(m_findBar->Text(), m_findBar->Sensitivity(), forward)) {
    case KilnUtil_HelpBrowser::FindResult::Found:
        Tell({});
        break;
    case KilnUtil_HelpBrowser::FindResult::FoundAtOtherEnd:
        Tell(u"The search was continued at the other end of the page."_s);
        break;
    case KilnUtil_HelpBrowser::FindResult::NotFound:
        Tell(u"This page does not hold the text."_s);
        break;
    }
}

void KilnUtil_HelpDialog::Tell(const QString &message)
{
    m_message->setText(message);
    m_message->setVisible(!message.isEmpty());
}

void KilnUtil_HelpDialog::reject()
{
    if (!m_findBar->isVisible()) {
        QDialog::reject();
        return;
    }
    m_findBar->hide();
    Tell({});
    m_browser->setFocus();
}

void KilnUtil_HelpDialog::HomeSlot()
{
    PageChosenSlot(m_pages.HomePath(), {});
}
