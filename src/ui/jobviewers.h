// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class KilnUtil_Process;
class QWidget;
struct Taskmill_JobResult;

/// The windows that show a job's files and output. Each deletes itself when it is closed; one whose source
/// cannot be opened never appears. The parent is any widget of the main window.
namespace Taskmill_JobViewers {
/// Whether there is a file to be shown.
[[nodiscard]] bool HasFile(const QString &path);

/// Nothing without such a file. Output and logs open at their end.
void ShowInputFile(QWidget &parent, const QString &jobName, const QString &path);
/// The line that says why the calculation failed, if it did, is marked and shown.
void ShowOutputFile(QWidget &parent, const QString &jobName, const QString &path,
                    const Taskmill_JobResult &result);
/// Follows the file until the process ends, if there is one.
void StreamOutputFile(QWidget &parent, const QString &path, const KilnUtil_Process *process);

void ShowLog(QWidget &parent, const QString &jobName, const QString &text, const Taskmill_JobResult &result);
void StreamLog(QWidget &parent, const QString &jobName, KilnUtil_Process &process);
} // namespace Taskmill_JobViewers
