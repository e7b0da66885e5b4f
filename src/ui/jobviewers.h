// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <utility>

class KilnUtil_Process;
class QAction;
class QObject;
class QWidget;
class QDateTime;
struct Taskmill_JobRecord;
struct Taskmill_JobResult;

/// The windows that show a job's files and output. Each deletes itself when it is closed; one whose source
/// cannot be opened never appears. The parent is any widget of the main window.
namespace Taskmill_JobViewers {
/// Entries of a menu, and the file that each is about.
using Entries = QList<std::pair<QAction *, QString>>;
/// Disables those whose file is not there, as soon as that is known. The owner is the page of the tab.
void DisableWithoutFile(QObject &owner, const Entries &entries);

/// Nothing is shown without such a file; then `withoutFile` is called. Both may be later, as a drive may take
/// its time. Output and logs open at their end.
void ShowInputFile(const QWidget &parent, const QString &jobName, const QString &path);
/// The line that says why the calculation failed, if it did, is marked and shown, unless another program has
/// written the file since.
void ShowOutputFile(const QWidget &parent, const Taskmill_JobRecord &job,
                    const std::function<void()> &withoutFile = {});
/// Follows the file until the process ends, if there is one.
void StreamOutputFile(const QWidget &parent, const QString &path, const KilnUtil_Process *process,
                      const std::function<void()> &withoutFile = {});

void ShowLog(QWidget &parent, const QString &jobName, const QString &text, const Taskmill_JobResult &result);
void StreamLog(QWidget &parent, const QString &jobName, KilnUtil_Process &process);
} // namespace Taskmill_JobViewers

/// What is to be said of the output file of a job that was last changed then: such as "written on ..., after
/// the job had ended"; empty when it is the job's own.
[[nodiscard]] QString Taskmill_TextOfLaterOutput(const Taskmill_JobRecord &job, const QDateTime &changed);
