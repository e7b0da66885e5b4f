#pragma once

#include <QDateTime>
#include <QString>

/// "MM-dd-yyyy hh:mm:ss", as tables and listings show times; empty for a time that is not set.
[[nodiscard]] inline QString Taskmill_TimeText(const QDateTime &time)
{
    return time.toString(QStringLiteral("MM-dd-yyyy hh:mm:ss"));
}
