// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The names that a removal question lists: at most 10, one a line, and the number of the others. A name is
/// cut to what fits a line.
[[nodiscard]] QString Taskmill_NameList(const QStringList &names);

/// The names that are listed.
constexpr qsizetype Taskmill_MostNamesListed = 10;

/// The same of so many, of which only the first names need be there.
[[nodiscard]] QString Taskmill_NameList(const QStringList &names, qsizetype count);
