// SPDX-License-Identifier: MIT
#include "help/helpbrowser.h"

#include "help/helppages.h"
#include "kilnutil/textencoding.h"

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QScrollBar>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qsizetype mostMarks = 1000;

QString FileText(const QString &filePath)
{
    QFile file{filePath};
    return file.open(QIODevice::ReadOnly) ? KilnUtil_TextEncoding::FromUtf8OrLatin1(file.readAll())
                                          : QString{};
}
} // namespace

KilnUtil_HelpBrowser::KilnUtil_HelpBrowser(QWidget *parent)
    : QTextBrowser{parent}
{
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &KilnUtil_HelpBrowser::LinkClickedSlot);
    connect(this, &QTextBrowser::sourceChanged, this, [this] { setExtraSelections({}); });
    // What find has found is to be seen while the field of the find bar has the focus.
    QPalette colours = palette();
    for (const auto role : {QPalette::Highlight, QPalette::HighlightedText})
        colours.setBrush(QPalette::Inactive, role, colours.brush(QPalette::Active, role));
    setPalette(colours);
}

void KilnUtil_HelpBrowser::SetDirectory(const QString &directory)
{
    m_directory = QDir{directory}.absolutePath();
}

void KilnUtil_HelpBrowser::ShowFile(const QString &filePath)
{
    setSource(QUrl::fromLocalFile(filePath), QTextDocument::HtmlResource);
}

KilnUtil_HelpBrowser::FindResult KilnUtil_HelpBrowser::Find(const QString &text,
                                                            Qt::CaseSensitivity sensitivity, bool forward)
{
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindCaseSensitively, sensitivity == Qt::CaseSensitive);
    flags.setFlag(QTextDocument::FindBackward, !forward);
    if (find(text, flags))
        return FindResult::Found;
    const QTextCursor before = textCursor();
    moveCursor(forward ? QTextCursor::Start : QTextCursor::End);
    if (find(text, flags))
        return FindResult::FoundAtOtherEnd;
    setTextCursor(before);
    return FindResult::NotFound;
}

void KilnUtil_HelpBrowser::SetZoom(int steps)
{
    const int zoom = qBound(LeastZoom, steps, MostZoom);
    zoomIn(zoom - m_zoom);
    m_zoom = zoom;
}

void KilnUtil_HelpBrowser::MarkWords(const QString &words)
{
    QList<ExtraSelection> marks;
    QTextCursor first;
    for (const QString &word : words.simplified().split(u' ', Qt::SkipEmptyParts)) {
        for (QTextCursor found = document()->find(word); !found.isNull() && marks.size() < mostMarks;
             found = document()->find(word, found)) {
            ExtraSelection mark;
            mark.cursor = found;
            mark.format.setBackground(palette().brush(QPalette::Highlight));
            mark.format.setForeground(palette().brush(QPalette::HighlightedText));
            marks.append(mark);
            if (first.isNull() || found.position() < first.position())
                first = found;
        }
    }
    setExtraSelections(marks);
    if (first.isNull())
        return;
    first.clearSelection();
    setTextCursor(first);
    ensureCursorVisible();
}

QVariant KilnUtil_HelpBrowser::loadResource(int type, const QUrl &name)
{
    const QUrl url = source().resolved(name);
    const QString filePath = url.toLocalFile();
    const bool isReadable = IsInManual(url) && QFileInfo{filePath}.isFile();
    switch (type) {
    case QTextDocument::HtmlResource:
        return isReadable ? KilnUtil_HelpPages::Html(filePath) : MissingPageText(filePath);
    case QTextDocument::StyleSheetResource:
        return isReadable ? FileText(filePath) : QString{};
    default:
        return isReadable ? QTextBrowser::loadResource(type, url) : QVariant{};
    }
}

void KilnUtil_HelpBrowser::changeEvent(QEvent *event)
{
    QTextBrowser::changeEvent(event);
    // The colours of a page are chosen when it is read.
    if (event->type() != QEvent::PaletteChange || source().isEmpty())
        return;
    const int position = verticalScrollBar()->value();
    reload();
    verticalScrollBar()->setValue(position);
}

void KilnUtil_HelpBrowser::wheelEvent(QWheelEvent *event)
{
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        QTextBrowser::wheelEvent(event);
        return;
    }
    if (const int delta = event->angleDelta().y(); delta != 0)
        SetZoom(m_zoom + (delta > 0 ? 1 : -1));
    event->accept();
}

void KilnUtil_HelpBrowser::LinkClickedSlot(const QUrl &link)
{
    const QUrl url = source().resolved(link);
    if (IsInManual(url))
        setSource(url, QTextDocument::HtmlResource);
    else
        Q_EMIT OutsideLinkSignal(url);
}

bool KilnUtil_HelpBrowser::IsInManual(const QUrl &url) const
{
    return url.isLocalFile() && !m_directory.isEmpty() &&
           QDir::cleanPath(url.toLocalFile()).startsWith(m_directory + u'/');
}

QString KilnUtil_HelpBrowser::MissingPageText(const QString &filePath) const
{
    const QString page = QFileInfo{filePath}.completeBaseName().toHtmlEscaped();
    const QString directory = QDir::toNativeSeparators(m_directory).toHtmlEscaped();
    if (!QFileInfo{m_directory}.isDir()) {
        return u"<html><head><title>No manual</title></head><body><h1>No manual</h1>"
               "<p>The manual is not installed. It is looked for in this directory:</p><p>%1</p></body></html>"_s
                   .arg(directory);
    }
    return u"<html><head><title>No such page</title></head><body><h1>No such page</h1>"
           "<p>The manual has no page \"%1\". The list beside this text shows those it has.</p>"
           "<p>The manual is read from this directory:</p><p>%2</p></body></html>"_s.arg(page, directory);
}
