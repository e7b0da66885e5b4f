// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// Lays out a table for a text terminal: the header line, a line of '-' as long, and a line for each row,
/// each with its line feed. Columns are as wide as their widest text, filled up with blanks and two blanks
/// apart. Line feeds and other control characters are shown as a blank. A row's missing cells are empty,
/// cells beyond the headers are left out. A cell of more than 4,000 characters is cut.
[[nodiscard]] QString Taskmill_TextTable(const QStringList &headers, const QList<QStringList> &rows);

/// The same in lines of at most `width` columns of the terminal, 0 for any width. Columns leave the table
/// until the others fit, those whose headers come first in `leftOutFirst` before the rest, and a line below
/// names them; long cells lose their middle.
[[nodiscard]] QString Taskmill_FittedTextTable(const QStringList &headers, const QList<QStringList> &rows,
                                               qsizetype width, const QStringList &leftOutFirst);

/// The columns that the text takes on a terminal: none for a combining character, two for a wide East Asian
/// one.
[[nodiscard]] qsizetype Taskmill_TextWidth(const QString &text);
