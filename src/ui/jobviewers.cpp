// SPDX-License-Identifier: MIT
#include "ui/jobviewers.h"

#include "jobs/jobrecord.h"
#include "kilnutil/filecheck.h"
#include "manager/timetext.h"
#include "processes/process.h"
#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QAction>
#include <QFileInfo>
#include <QPointer>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int streamingIntervalMs = 2000;

/// Of a window: what it shows comes first, where a list of windows has room for the beginning only.
QString TitleOf(const QString &what)
{
    return what + u" - File Stream Viewer"_s;
}

QString TitleOfFile(const QString &path)
{
    return TitleOf(QFileInfo{path}.fileName());
}

/// The viewer that has been started, which then belongs to itself; nullptr when it could not be.
KilnUtil_FileStreamViewer *Start(std::unique_ptr<KilnUtil_FileStreamViewer> viewer)
{
    viewer->setWindowIcon(viewer->parentWidget()->windowIcon());
    return viewer->Start() ? viewer.release() : nullptr;
}

/// How a file is viewed.
struct Viewing
{
    using Prepare = std::function<void(KilnUtil_FileStreamViewer &viewer)>;

    QString path;
    QString caption;
    int interval = KilnUtil_FileStreamViewer::OneTimeView;
    Prepare beforeStart{};
    Prepare afterStart{};
    std::function<void()> withoutFile{};
};

void View(const QWidget &parent, const Viewing &how)
{
    QWidget *window = parent.window();
    const auto view = [window, how](const QStringList &found) {
        if (found.isEmpty()) {
            if (how.withoutFile)
                how.withoutFile();
            return;
        }
        auto viewer = std::make_unique<KilnUtil_FileStreamViewer>(window, how.path, how.caption, how.interval,
                                                                  TitleOfFile(how.path));
        if (how.beforeStart)
            how.beforeStart(*viewer);
        auto *started = Start(std::move(viewer));
        if (started && how.afterStart)
            how.afterStart(*started);
    };
    KilnUtil_FileCheck::Of(*window).Find({how.path}, KilnUtil_FileCheck::Exists, view);
}

/// How the job ended is what the user looks for.
void ShowEnd(KilnUtil_FileStreamViewer &viewer, const Taskmill_JobResult &result)
{
    viewer.View().ScrollToEndSlot();
    if (result.Verdict == Taskmill_Verdict::Error)
        viewer.MarkLine(result.Message, u"The marked line says why the calculation failed."_s);
    else if (result.Verdict == Taskmill_Verdict::NotConverged)
        viewer.MarkLine(result.Message, u"The marked line says that the calculation did not converge."_s);
}

void ShowEndOfOutput(KilnUtil_FileStreamViewer &viewer, const Taskmill_JobRecord &job)
{
    const QString later = Taskmill_TextOfLaterOutput(job, QFileInfo{job.OutputFilePath()}.lastModified());
    ShowEnd(viewer, later.isEmpty() ? job.Result : Taskmill_JobResult{});
    if (!later.isEmpty())
        viewer.ShowMessage(later.left(1).toUpper() + later.mid(1) + u'.');
}
} // namespace

QString Taskmill_TextOfLaterOutput(const Taskmill_JobRecord &job, const QDateTime &changed)
{
    // Stored times are whole seconds.
    constexpr qint64 roundedOff = 1;
    const Taskmill_JobTime time{changed};
    const bool isLater = job.IsFinished() && changed.isValid() && job.Finished.isValid() &&
                         time.SecondsSince(job.Finished) > roundedOff;
    return isLater ? u"written on %1, after the job had ended"_s.arg(Taskmill_TimeText(time)) : QString{};
}

void Taskmill_JobViewers::DisableWithoutFile(QObject &owner, const Entries &entries)
{
    QStringList paths;
    QList<QPointer<QAction>> actions;
    for (const auto &[action, path] : entries) {
        paths.append(path);
        actions.append(action);
        if (path.isEmpty())
            action->setEnabled(false);
    }
    KilnUtil_FileCheck::Of(owner).Find(paths, KilnUtil_FileCheck::Exists,
                                       [paths, actions](const QStringList &found) {
                                           for (qsizetype place = 0; place < paths.size(); ++place) {
                                               if (actions[place] && !found.contains(paths[place]))
                                                   actions[place]->setEnabled(false);
                                           }
                                       });
}

void Taskmill_JobViewers::ShowInputFile(const QWidget &parent, const QString &jobName, const QString &path)
{
    View(parent, {.path = path, .caption = u"Input file of %1:  %2"_s.arg(jobName, path)});
}

void Taskmill_JobViewers::ShowOutputFile(const QWidget &parent, const Taskmill_JobRecord &job,
                                         const std::function<void()> &withoutFile)
{
    const QString path = job.OutputFilePath();
    View(parent, {.path = path,
                  .caption = u"Output file of %1:  %2"_s.arg(job.Name, path),
                  .afterStart = [job](KilnUtil_FileStreamViewer &viewer) { ShowEndOfOutput(viewer, job); },
                  .withoutFile = withoutFile});
}

void Taskmill_JobViewers::StreamOutputFile(const QWidget &parent, const QString &path,
                                           const KilnUtil_Process *process,
                                           const std::function<void()> &withoutFile)
{
    const auto follow = [process =
                             QPointer<const KilnUtil_Process>{process}](KilnUtil_FileStreamViewer &viewer) {
        if (process)
            viewer.FollowUntilEndOf(*process);
    };
    View(parent, {.path = path,
                  .caption = u"Streaming "_s + path,
                  .interval = streamingIntervalMs,
                  .beforeStart = follow,
                  .withoutFile = withoutFile});
}

void Taskmill_JobViewers::ShowLog(QWidget &parent, const QString &jobName, const QString &text,
                                  const Taskmill_JobResult &result)
{
    const QString caption = u"Log of "_s + jobName;
    KilnUtil_FileStreamViewer *viewer = Start(std::make_unique<KilnUtil_FileStreamViewer>(
        parent.window(), QString{}, caption, KilnUtil_FileStreamViewer::OneTimeView, TitleOf(caption)));
    if (!viewer)
        return;
    viewer->AppendLine(text, false);
    ShowEnd(*viewer, result);
}

void Taskmill_JobViewers::StreamLog(QWidget &parent, const QString &jobName, KilnUtil_Process &process)
{
    const QString caption = u"Log of "_s + jobName;
    Start(std::make_unique<KilnUtil_FileStreamViewer>(parent.window(), &process, caption, streamingIntervalMs,
                                                      TitleOf(caption)));
}
