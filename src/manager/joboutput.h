// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QStringList>

#include <functional>

/// Reads the whole of an output, in UTF-8, once and on any thread.
using Taskmill_OutputText = std::function<QByteArray()>;

/// The files in which the output of a job is looked for. Times are those of the clock on the wall, as
/// Taskmill_JobTime::ClockTime() has them.
struct Taskmill_OutputFiles
{
    QStringList Paths;           ///< in the order in which they count
    QDateTime Started;           ///< what was not changed since is of an earlier run
    QDateTime Ended{};           ///< what was changed later is of another run; not set while the job runs
    bool IsAboutToStart = false; ///< as the files are now, they are of an earlier run
};
