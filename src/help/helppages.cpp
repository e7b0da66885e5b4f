// SPDX-License-Identifier: MIT
#include "help/helppages.h"

#include "kilnutil/textencoding.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int groupHeadingLevel = 2;
constexpr qsizetype titleWeight = 100;
constexpr qsizetype excerptBefore = 30;  // characters
constexpr qsizetype excerptLength = 110; // characters
const QString homeId = u"index"_s;

QStringList Words(const QString &text)
{
    return text.simplified().split(u' ', Qt::SkipEmptyParts);
}

/// 0 when a word is missing.
qsizetype Score(const KilnUtil_HelpPage &page, const QStringList &words)
{
    qsizetype score = 0;
    for (const QString &word : words) {
        const qsizetype inText = page.Text.count(word, Qt::CaseInsensitive);
        const bool inTitle = page.Title.contains(word, Qt::CaseInsensitive);
        if (inText == 0 && !inTitle)
            return 0;
        score += inText + (inTitle ? titleWeight : 0);
    }
    return score;
}
} // namespace

KilnUtil_HelpPages::KilnUtil_HelpPages(const QString &directory)
    : m_directory{directory}
{
    if (directory.isEmpty())
        return;
    ReadPages(directory);
    ReadPages(directory + "/taskmill"_L1);
}

void KilnUtil_HelpPages::ReadPages(const QString &directory)
{
    const auto files = QDir{directory}.entryInfoList({u"*.html"_s}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QFileInfo &file : files) {
        QTextDocument document;
        document.setHtml(Html(file.absoluteFilePath()));
        const QString title = document.metaInformation(QTextDocument::DocumentTitle).simplified();
        m_pages.append({.FilePath = file.absoluteFilePath(),
                        .Title = title.isEmpty() ? file.completeBaseName() : title,
                        .Text = document.toPlainText().simplified()});
    }
}

QString KilnUtil_HelpPages::Html(const QString &filePath)
{
    QFile file{filePath};
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression linkForBrowsers{u"<p class=\"contents\">.*?</p>"_s};
    return KilnUtil_TextEncoding::FromUtf8OrLatin1(file.readAll()).remove(linkForBrowsers);
}

QString KilnUtil_HelpPages::FilePathOf(const QString &helpId) const
{
    const QString fileName = helpId.section(u'/', -1) + ".html"_L1;
    const QDir directory{m_directory};
    QString path = directory.absoluteFilePath("taskmill/"_L1 + fileName);
    return Find(path) ? path : directory.absoluteFilePath(fileName);
}

QString KilnUtil_HelpPages::HomePath() const
{
    return FilePathOf(homeId);
}

const KilnUtil_HelpPage *KilnUtil_HelpPages::Find(const QString &filePath) const
{
    const auto page = std::ranges::find(m_pages, filePath, &KilnUtil_HelpPage::FilePath);
    return page == m_pages.end() ? nullptr : &*page;
}

QString KilnUtil_HelpPages::TitleOf(const QString &filePath) const
{
    const KilnUtil_HelpPage *page = Find(filePath);
    return page ? page->Title : QString{};
}

QList<KilnUtil_HelpContentsLine> KilnUtil_HelpPages::Contents() const
{
    QList<KilnUtil_HelpContentsLine> lines;
    QSet<QString> listed;
    const QDir homeDirectory = QFileInfo{HomePath()}.dir();
    const auto append = [&](const QString &filePath) {
        const KilnUtil_HelpPage *page = Find(filePath);
        if (!page || listed.contains(filePath))
            return;
        listed.insert(filePath);
        lines.append({.Title = page->Title, .FilePath = filePath});
    };

    append(HomePath());
    QTextDocument home;
    home.setHtml(Html(HomePath()));
    for (QTextBlock block = home.begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().headingLevel() == groupHeadingLevel)
            lines.append({.Title = block.text().simplified(), .FilePath = {}});
        for (auto piece = block.begin(); !piece.atEnd(); ++piece) {
            const QString link = piece.fragment().charFormat().anchorHref().section(u'#', 0, 0);
            if (!link.isEmpty())
                append(QDir::cleanPath(homeDirectory.absoluteFilePath(link)));
        }
    }
    for (const KilnUtil_HelpPage &page : m_pages)
        append(page.FilePath);
    return lines;
}

QList<KilnUtil_HelpPage> KilnUtil_HelpPages::Search(const QString &words) const
{
    const QStringList wanted = Words(words);
    QList<std::pair<qsizetype, KilnUtil_HelpPage>> hits;
    for (const KilnUtil_HelpPage &page : m_pages) {
        if (const qsizetype score = Score(page, wanted); score > 0)
            hits.append({score, page});
    }
    std::ranges::stable_sort(hits, std::ranges::greater{}, [](const auto &hit) { return hit.first; });
    QList<KilnUtil_HelpPage> pages;
    for (const auto &[score, page] : std::as_const(hits))
        pages.append(page);
    return pages;
}

QString KilnUtil_HelpPages::Excerpt(const KilnUtil_HelpPage &page, const QString &words)
{
    const QStringList wanted = Words(words);
    qsizetype position = -1;
    for (const QString &word : wanted) {
        if (position < 0)
            position = page.Text.indexOf(word, 0, Qt::CaseInsensitive);
    }
    const qsizetype begin = qMax<qsizetype>(0, position - excerptBefore);
    QString piece = page.Text.mid(begin, excerptLength);
    if (begin > 0)
        piece = u"… "_s + piece.sliced(piece.indexOf(u' ') + 1);
    if (begin + excerptLength < page.Text.size())
        piece = piece.first(qMax<qsizetype>(piece.lastIndexOf(u' '), 0)) + u" …"_s;
    return piece;
}
