// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// Helpers for texts.
class KilnUtil_String
{
public:
    /// Splits an argument text at blanks. With `quoted`, also at tabs, and by the quoting rule of the
    /// Microsoft C run-time: double quotes keep blanks together, 2n backslashes before one give n, 2n+1 give
    /// n and a plain quote.
    [[nodiscard]] static QStringList MakeStringList(const QString &text, bool quoted);
};
