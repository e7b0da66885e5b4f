// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// How the user last had a list of files to open: where they were looked for and how they were sorted.
struct KilnUtil_FileOpenData
{
    QString Directory; ///< empty while none was chosen
    int SortColumn = 0;
    bool SortDescending = false;

    bool operator==(const KilnUtil_FileOpenData &) const = default;

    /// One line, for the settings.
    [[nodiscard]] QString ToText() const;
    /// What the text does not say, or says wrongly, is as in a new record.
    [[nodiscard]] static KilnUtil_FileOpenData FromText(const QString &text);
};
