#include "kilnutil/stringutil.h"

#include <algorithm>
#include <optional>

namespace {
QStringList SplitQuoted(const QString &text)
{
    QStringList arguments;
    std::optional<QString> argument; // set once an argument has begun, so that "" counts as one
    bool inQuotes = false;
    for (qsizetype position = 0; position < text.size(); ++position) {
        if (!inQuotes && (text[position] == u' ' || text[position] == u'\t')) {
            if (argument)
                arguments.append(*argument);
            argument.reset();
            continue;
        }
        if (!argument)
            argument.emplace();
        const qsizetype start = position;
        while (position < text.size() && text[position] == u'\\')
            ++position;
        const qsizetype backslashes = position - start;
        if (position == text.size() || text[position] != u'"') {
            // Backslashes that stand before no quote are plain; so is a character before which there were
            // none.
            *argument += backslashes == 0 ? QString{text[position]} : QString{backslashes, u'\\'};
            if (backslashes > 0)
                --position;
            continue;
        }
        *argument += QString{backslashes / 2, u'\\'};
        if (backslashes % 2 != 0)
            *argument += u'"';
        else
            inQuotes = !inQuotes;
    }
    if (argument)
        arguments.append(*argument);
    return arguments;
}
} // namespace

QStringList KilnUtil_String::MakeStringList(const QString &text, bool quoted)
{
    return quoted ? SplitQuoted(text) : text.split(u' ', Qt::SkipEmptyParts);
}

qsizetype KilnUtil_String::FindIndex(const QString &text, const QStringList &list, bool ignoreCase)
{
    return list.indexOf(text, 0, ignoreCase ? Qt::CaseInsensitive : Qt::CaseSensitive);
}

QString KilnUtil_String::MaxString(const QStringList &list)
{
    const auto longest = std::ranges::max_element(list, {}, &QString::size);
    return longest == list.end() ? QString{} : *longest;
}
