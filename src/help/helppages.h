// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

/// One page of the manual.
struct KilnUtil_HelpPage
{
    QString FilePath; ///< absolute
    QString Title;
    QString Text; ///< without markup, in one line
};

/// A line of the contents: a page, or the heading of the pages that follow it.
struct KilnUtil_HelpContentsLine
{
    QString Title;
    QString FilePath; ///< empty for a heading
};

/// The pages of a manual: the HTML files of a directory and of its subdirectory "taskmill". The page "index"
/// is the home page; its headings of the second level and its links are the contents. Needs the application
/// object.
class KilnUtil_HelpPages
{
public:
    KilnUtil_HelpPages() = default;
    /// Reads all pages. A directory that does not exist makes a manual without pages.
    explicit KilnUtil_HelpPages(const QString &directory);

    /// As it was given.
    [[nodiscard]] const QString &Directory() const { return m_directory; }
    [[nodiscard]] const QList<KilnUtil_HelpPage> &Pages() const { return m_pages; }

    /// The file of a help id such as "taskmill/jobtypes". An id without a page gives the path where its page
    /// would be; no id leads out of the directory.
    [[nodiscard]] QString FilePathOf(const QString &helpId) const;
    [[nodiscard]] QString HomePath() const;
    /// Empty for a file that is no page.
    [[nodiscard]] QString TitleOf(const QString &filePath) const;
    /// In the order of the home page; pages that it does not link come last.
    [[nodiscard]] QList<KilnUtil_HelpContentsLine> Contents() const;

    /// The pages that hold all words, in any case and order, the best match first.
    [[nodiscard]] QList<KilnUtil_HelpPage> Search(const QString &words) const;
    /// A piece of the page around the first of the words, for a list of results.
    [[nodiscard]] static QString Excerpt(const KilnUtil_HelpPage &page, const QString &words);

    /// The page as its file has it, but for the link to the contents that browsers need and this program's
    /// window has as a button. Empty for a file that cannot be read.
    [[nodiscard]] static QString Html(const QString &filePath);

private:
    void ReadPages(const QString &directory);
    [[nodiscard]] const KilnUtil_HelpPage *Find(const QString &filePath) const;

    QString m_directory;
    QList<KilnUtil_HelpPage> m_pages;
};
