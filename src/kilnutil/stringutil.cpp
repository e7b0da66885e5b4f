// SPDX-License-Identifier: MIT
#include "kilnutil/stringutil.h"

#include <algorithm>
#include <optional>

namespace {
QStringList SplitQuoted(const QString &text)
{
    QStringList arguments;
    std::optional<QString> argument; // set once an argument has begun, so that "" counts as one
    bool inQuotes = false;
    qsizetype backslashes = 0; // read but not taken yet: what they mean depends on the character after them
    const auto append = [&argument](const QString &piece) {
        if (!argument)
            argument.emplace();
        *argument += piece;
    };
    for (const QChar character : text) {
        if (character == u'\\') {
            ++backslashes;
            continue;
        }
        const bool isQuote = character == u'"';
        const bool isEscaped = isQuote && backslashes % 2 != 0;
        if (isQuote || backslashes > 0)
            append(QString{isQuote ? backslashes / 2 : backslashes, u'\\'});
        backslashes = 0;
        if (isQuote && !isEscaped) {
            inQuotes = !inQuotes;
        } else if (inQuotes || (character != u' ' && character != u'\t')) {
            append(character);
        } else if (argument) {
            arguments.append(*argument);
            argument.reset();
        }
    }
    if (backslashes > 0)
        append(QString{backslashes, u'\\'});
    if (argument)
        arguments.append(*argument);
    return arguments;
}
} // namespace

QStringList KilnUtil_String::MakeStringList(const QString &text, bool quoted)
{
    return quoted ? SplitQuoted(text) : text.split(u' ', Qt::SkipEmptyParts);
}
