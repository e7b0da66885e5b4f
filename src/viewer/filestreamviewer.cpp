// SPDX-License-Identifier: MIT
#include "viewer/filestreamviewer.h"

#include "kilnutil/error.h"
#include "kilnutil/filesource.h"
#include "kilnutil/filethread.h"
#include "processes/process.h"
#include "viewer/processsource.h"
#include "viewer/textsaver.h"
#include "viewer/textsearch.h"
#include "viewer/textview.h"
#include "widgets/elidedlabel.h"
#include "widgets/findbar.h"

#include <QAction>
#include <QClipboard>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QScreen>
#include <QStatusBar>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
/// How long the event loop is held up at once, in ms.
constexpr qint64 workSlice = 15;
constexpr qsizetype longestPreset = 200;

QString SizeText(qint64 bytes)
{
    const QLocale locale;
    const QString exact = u"%1 bytes"_s.arg(locale.toString(bytes));
    return bytes < 1024 ? exact : u"%1 (%2)"_s.arg(locale.formattedDataSize(bytes), exact);
}
} // namespace

KilnUtil_FileStreamViewer::KilnUtil_FileStreamViewer(QWidget *parent, const QString &path,
                                                     const QString &caption, int interval,
                                                     const QString &title)
    : KilnUtil_FileStreamViewer{
          parent,
          path.isEmpty() ? std::unique_ptr<KilnUtil_TextSource>{std::make_unique<KilnUtil_MemorySource>()}
                         : std::make_unique<KilnUtil_FileSource>(path),
          caption, interval, title}
{
    m_path = path;
}

KilnUtil_FileStreamViewer::KilnUtil_FileStreamViewer(QWidget *parent, KilnUtil_Process *process,
                                                     const QString &caption, int interval,
                                                     const QString &title)
    : KilnUtil_FileStreamViewer{parent, std::make_unique<KilnUtil_ProcessSource>(process), caption, interval,
                                title}
{
    if (process)
        FollowUntilEndOf(*process);
}

KilnUtil_FileStreamViewer::KilnUtil_FileStreamViewer(QWidget *parent,
                                                     std::unique_ptr<KilnUtil_TextSource> source,
                                                     const QString &caption, int interval,
                                                     const QString &title)
    : QMainWindow{parent}
    , m_source{std::move(source)}
    , m_memory{dynamic_cast<KilnUtil_MemorySource *>(m_source.get())}
    , m_interval{interval}
    , m_view{new KilnUtil_TextView{*m_source, this}}
    , m_findBar{new KilnUtil_FindBar{this}}
    , m_drive{new KilnUtil_FileThread{this}}
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto *captionLabel = new KilnUtil_ElidedLabel{this};
    captionLabel->SetText(caption);
    captionLabel->setMargin(captionLabel->fontMetrics().height() / 3);
    m_view->setAccessibleName(caption);
    m_findBar->hide();

    auto *centre = new QWidget{this};
    auto *layout = new QVBoxLayout{centre};
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(captionLabel);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_findBar);
    setCentralWidget(centre);
    MakeMenus();
    MakeStatusBar();

    m_workTimer.setInterval(0);
    connect(&m_workTimer, &QTimer::timeout, this, &KilnUtil_FileStreamViewer::WorkSlot);
    connect(&m_refreshTimer, &QTimer::timeout, this, &KilnUtil_FileStreamViewer::RefreshSoon);
    connect(m_view, &KilnUtil_TextView::PlaceChangedSignal, this,
            &KilnUtil_FileStreamViewer::UpdateStatusSlot);
    connect(m_findBar, &KilnUtil_FindBar::FindSignal, this, &KilnUtil_FileStreamViewer::FindSlot);
    connect(m_findBar, &KilnUtil_FindBar::ClosedSignal, this, [this] {
        m_findBar->hide();
        m_view->setFocus();
    });
}

KilnUtil_FileStreamViewer::~KilnUtil_FileStreamViewer()
{
    // The view reads the source, which goes before the children would.
    delete m_view;
}

void KilnUtil_FileStreamViewer::MakeMenus()
{
    QMenu *file = menuBar()->addMenu(u"&File"_s);
    QAction *save = file->addAction(u"&Save a Copy As..."_s, this, &KilnUtil_FileStreamViewer::SaveCopySlot);
    save->setShortcut(QKeySequence::Save);
    file->addSeparator();
    file->addAction(u"&Close"_s, this, &QWidget::close)->setShortcut(Qt::CTRL | Qt::Key_W);

    QMenu *edit = menuBar()->addMenu(u"&Edit"_s);
    QAction *copy = edit->addAction(u"&Copy"_s, this, &KilnUtil_FileStreamViewer::CopySlot);
    copy->setShortcut(QKeySequence::Copy);
    copy->setEnabled(false);
    connect(m_view, &KilnUtil_TextView::SelectionChangedSignal, copy,
            [this, copy] { copy->setEnabled(!m_view->Selection().IsEmpty()); });
    QAction *selectAll = edit->addAction(u"Select &All"_s, m_view, &KilnUtil_TextView::SelectAll);
    selectAll->setShortcut(QKeySequence::SelectAll);
    edit->addSeparator();
    QAction *find = edit->addAction(u"&Find..."_s, this, &KilnUtil_FileStreamViewer::ShowFindBarSlot);
    find->setShortcut(QKeySequence::Find);
    edit->addAction(u"Find &Next"_s, this, &KilnUtil_FileStreamViewer::FindNextSlot)->setShortcut(Qt::Key_F3);
    edit->addAction(u"Find &Previous"_s, this, &KilnUtil_FileStreamViewer::FindPreviousSlot)
        ->setShortcut(Qt::SHIFT | Qt::Key_F3);

    QMenu *view = menuBar()->addMenu(u"&View"_s);
    const auto zoomBy = [this](int steps) {
        m_view->SetZoom(steps == 0 ? 0 : m_view->Zoom() + steps);
    };
    // The key of the plus sign is another one on many keyboards.
    view->addAction(u"Zoom &In"_s, this, [zoomBy] { zoomBy(1); })
        ->setShortcuts({QKeySequence{QKeySequence::ZoomIn}, QKeySequence{Qt::CTRL | Qt::Key_Equal}});
    view->addAction(u"Zoom &Out"_s, this, [zoomBy] { zoomBy(-1); })->setShortcut(QKeySequence::ZoomOut);
    view->addAction(u"&Usual Size"_s, this, [zoomBy] { zoomBy(0); })->setShortcut(Qt::CTRL | Qt::Key_0);

    QMenu *go = menuBar()->addMenu(u"&Go"_s);
    go->addAction(u"To the &Beginning"_s, m_view, &KilnUtil_TextView::ScrollToBeginSlot)
        ->setShortcut(Qt::CTRL | Qt::Key_Home);
    go->addAction(m_interval > 0 ? u"To the &End, and Follow"_s : u"To the &End"_s, m_view,
                  &KilnUtil_TextView::ScrollToEndSlot)
        ->setShortcut(Qt::CTRL | Qt::Key_End);
    m_showMark = go->addAction(u"To the &Marked Line"_s, this, &KilnUtil_FileStreamViewer::ShowMarkSlot);
    m_showMark->setShortcut(Qt::CTRL | Qt::Key_M);
    m_showMark->setEnabled(false);

    m_view->addActions({copy, selectAll, find, save});
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);

    auto *stop = new QAction{this};
    stop->setShortcut(Qt::Key_Escape);
    connect(stop, &QAction::triggered, this, &KilnUtil_FileStreamViewer::StopSlot);
    addAction(stop);
}

void KilnUtil_FileStreamViewer::MakeStatusBar()
{
    m_stateLabel = new KilnUtil_ElidedLabel{this};
    m_stateLabel->setAccessibleName(u"State of the text"_s);
    m_sizeLabel = new QLabel{this};
    m_sizeLabel->setAccessibleName(u"Size"_s);
    m_placeLabel = new QLabel{this};
    m_placeLabel->setAccessibleName(u"Position"_s);
    m_followLabel = new QLabel{this};
    m_followLabel->setAccessibleName(u"Following"_s);
    statusBar()->addWidget(m_stateLabel, 1);
    const int space = fontMetrics().horizontalAdvance(u'x');
    for (QLabel *label : {m_sizeLabel, m_placeLabel, m_followLabel}) {
        label->setContentsMargins(space, 0, space, 0);
        statusBar()->addPermanentWidget(label);
    }
}

bool KilnUtil_FileStreamViewer::Start()
{
    if (!m_source->Open())
        return false;
    m_source->Refresh();
    m_view->SourceChanged(KilnUtil_TextSource::Change::Replaced);
    m_view->SetFollowsEnd(m_interval > 0);
    if (m_interval > 0 && !m_hasEnded)
        m_refreshTimer.start(m_interval);
    UpdateStatusSlot();

    resize(sizeHint().boundedTo(screen()->availableSize() * 9 / 10));
    m_view->setFocus();
    show();
    return true;
}

void KilnUtil_FileStreamViewer::FollowUntilEndOf(const KilnUtil_Process &process)
{
    m_hasEnded = process.HasEnded();
    connect(&process, &KilnUtil_Process::FinishedSignal, this, &KilnUtil_FileStreamViewer::EndFollowingSlot);
}

void KilnUtil_FileStreamViewer::EndFollowingSlot()
{
    // The process may be deleted before the timer comes again.
    m_hasEnded = true;
    RefreshSoon();
    UpdateStatusSlot();
    // A last look: others may still write to a file.
    m_refreshTimer.setSingleShot(true);
}

void KilnUtil_FileStreamViewer::MarkLine(const QString &line, const QString &message)
{
    if (line.isEmpty() || m_source->End() == m_source->Begin())
        return;
    StopWork({});
    m_markMessage = message;
    m_marking = std::make_unique<KilnUtil_TextSearch>(
        *m_source, line, Qt::CaseSensitive, KilnUtil_TextSearch::Direction::Backward, m_source->End());
    m_workTimer.start();
}

void KilnUtil_FileStreamViewer::ShowMarkSlot()
{
    m_view->ScrollToMarkSlot();
    ShowMessage(m_markMessage);
}

void KilnUtil_FileStreamViewer::StepMarking()
{
    switch (m_marking->Step()) {
    case KilnUtil_TextSearch::Result::Searching:
        ShowMessage(u"Looking for the line that decides: %1 % (Esc stops)"_s.arg(m_marking->Percent()));
        return;
    case KilnUtil_TextSearch::Result::Found:
        m_view->SetMark(m_marking->FoundBegin(), m_marking->FoundEnd());
        m_showMark->setEnabled(true);
        StopWork({});
        ShowMarkSlot();
        return;
    case KilnUtil_TextSearch::Result::NotFound:
        StopWork({});
        return;
    }
}

void KilnUtil_FileStreamViewer::AppendLine(const QString &text, bool lineFeed)
{
    if (!m_memory)
        return;
    m_memory->Append(text.toUtf8());
    if (lineFeed)
        m_memory->Append("\n");
    RefreshSlot();
}

/// When the drive of the file has answered: the window does not wait for one that does not.
void KilnUtil_FileStreamViewer::RefreshSoon()
{
    if (m_path.isEmpty()) {
        RefreshSlot();
        return;
    }
    if (m_drive->IsBusy())
        return;
    m_drive->Run([this, path = m_path]() -> KilnUtil_FileThread::Deliver {
        (void)KilnUtil_SharedFile::StatusOf(path);
        return [this] {
            RefreshSlot();
        };
    });
}

void KilnUtil_FileStreamViewer::RefreshSlot()
{
    const KilnUtil_TextSource::Change change = m_source->Refresh();
    // First of all: the view's place may be behind the text's end.
    m_view->SourceChanged(change);
    m_showMark->setEnabled(m_view->HasMark());
    if (change == KilnUtil_TextSource::Change::Replaced && IsBusy())
        StopWork(u"Stopped: the text has changed."_s);
    UpdateStatusSlot();
}

QString KilnUtil_FileStreamViewer::StateText() const
{
    return m_stateLabel->text();
}

void KilnUtil_FileStreamViewer::UpdateStatusSlot()
{
    const qint64 begin = m_source->Begin();
    const qint64 size = m_source->End() - begin;
    const qint64 above = m_view->TopOffset() - begin;
    const QString state = m_source->StateText();
    const QString stateText = m_hasEnded && state.isEmpty() ? u"The process has ended."_s : state;
    m_stateLabel->SetText(m_message.isEmpty() ? stateText : m_message);
    m_sizeLabel->setText(SizeText(size));
    if (m_view->IsAtEnd())
        m_placeLabel->setText(above == 0 ? u"All"_s : u"End"_s);
    else
        m_placeLabel->setText(above == 0 ? u"Beginning"_s : u"%1 %"_s.arg(100 * above / size));
    m_followLabel->setText(m_view->IsFollowing() && !m_hasEnded ? u"Following"_s : u"Not following"_s);
}

void KilnUtil_FileStreamViewer::ShowMessage(const QString &message)
{
    m_message = message;
    UpdateStatusSlot();
}

void KilnUtil_FileStreamViewer::CopySlot()
{
    if (m_view->Selection().IsEmpty())
        return;
    const auto text = m_view->Selection().Text();
    if (text)
        QGuiApplication::clipboard()->setText(*text);
    ShowMessage(text ? QString{} : u"Too much is selected to be copied; save a copy instead."_s);
}

void KilnUtil_FileStreamViewer::SaveCopySlot()
{
    // The main window may end the viewer while the user chooses.
    const QPointer<KilnUtil_FileStreamViewer> self{this};
    const QString path =
        KilnUtil_Error::UserPrompt().AskSaveFileName(u"Save a Copy As"_s, m_path, u"All Files (*)"_s);
    if (!self || path.isEmpty())
        return;
    if (IsShownFile(path)) {
        KilnUtil_Error::ReportError(u"Save a Copy As"_s,
                                    u"A copy cannot replace the file that is shown.\n\n%1"_s.arg(path));
        return;
    }
    StopWork({});
    m_saver = std::make_unique<KilnUtil_TextSaver>(*m_source, path);
    m_workTimer.start();
}

/// A copy on top of it would take the file away from the program that is writing it.
bool KilnUtil_FileStreamViewer::IsShownFile(const QString &path) const
{
    const auto target = KilnUtil_SharedFile::StatusOf(path);
    const auto shown = m_path.isEmpty() ? std::nullopt : KilnUtil_SharedFile::StatusOf(m_path);
    return target && shown && target->IsSameFile(*shown);
}

void KilnUtil_FileStreamViewer::ShowFindBarSlot()
{
    const KilnUtil_TextSelection &selection = m_view->Selection();
    QString preset;
    if (!selection.IsEmpty() && selection.End() - selection.Begin() <= longestPreset)
        preset = selection.Text().value_or(QString{});
    m_findBar->Activate(preset.contains(u'\n') ? QString{} : preset);
}

void KilnUtil_FileStreamViewer::FindNextSlot()
{
    FindSlot(true);
}

void KilnUtil_FileStreamViewer::FindPreviousSlot()
{
    FindSlot(false);
}

void KilnUtil_FileStreamViewer::FindSlot(bool forward)
{
    if (m_findBar->Text().isEmpty()) {
        ShowFindBarSlot();
        return;
    }
    StopWork({});
    using Direction = KilnUtil_TextSearch::Direction;
    const KilnUtil_TextSelection &selection = m_view->Selection();
    const qint64 atSelection = forward ? selection.End() : selection.Begin();
    m_search = std::make_unique<KilnUtil_TextSearch>(*m_source, m_findBar->Text(), m_findBar->Sensitivity(),
                                                     forward ? Direction::Forward : Direction::Backward,
                                                     selection.IsEmpty() ? m_view->TopOffset() : atSelection);
    m_workTimer.start();
}

void KilnUtil_FileStreamViewer::WorkSlot()
{
    QElapsedTimer slice;
    slice.start();
    // A box that reports a failure may outlive the window.
    const QPointer<KilnUtil_FileStreamViewer> alive{this};
    while (alive && IsBusy() && slice.elapsed() < workSlice) {
        if (m_search)
            StepSearch();
        else if (m_marking)
            StepMarking();
        else
            StepSaver();
    }
}

void KilnUtil_FileStreamViewer::StepSearch()
{
    switch (m_search->Step()) {
    case KilnUtil_TextSearch::Result::Searching:
        ShowMessage(u"Searching: %1 % (Esc stops)"_s.arg(m_search->Percent()));
        return;
    case KilnUtil_TextSearch::Result::Found:
        m_view->Select(m_search->FoundBegin(), m_search->FoundEnd());
        StopWork(m_search->HasWrapped() ? u"Found beyond the end of the text."_s : QString{});
        return;
    case KilnUtil_TextSearch::Result::NotFound:
        StopWork(u"“%1” was not found."_s.arg(m_findBar->Text()));
        return;
    }
}

void KilnUtil_FileStreamViewer::StepSaver()
{
    switch (m_saver->Step()) {
    case KilnUtil_TextSaver::Result::Saving:
        ShowMessage(u"Saving: %1 % (Esc stops)"_s.arg(m_saver->Percent()));
        return;
    case KilnUtil_TextSaver::Result::Saved:
        StopWork(u"Saved as %1."_s.arg(m_saver->Path()));
        return;
    case KilnUtil_TextSaver::Result::Failed:
        break;
    }
    const QString text = u"%1 could not be written.\n\n%2"_s.arg(m_saver->Path(), m_saver->ErrorText());
    StopWork(u"The copy was not saved."_s);
    KilnUtil_Error::ReportError(u"Save a Copy As"_s, text);
}

void KilnUtil_FileStreamViewer::StopWork(const QString &message)
{
    m_workTimer.stop();
    m_search.reset();
    m_marking.reset();
    m_saver.reset();
    ShowMessage(message);
}

void KilnUtil_FileStreamViewer::StopSlot()
{
    if (IsBusy())
        StopWork(u"Stopped."_s);
    else if (m_findBar->isVisible())
        Q_EMIT m_findBar->ClosedSignal();
}
