// SPDX-License-Identifier: MIT
#include "ui/jobviewers.h"

#include "jobs/jobresult.h"
#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QFileInfo>

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

/// The viewer, if there is such a file.
KilnUtil_FileStreamViewer *ViewFile(const QWidget &parent, const QString &path, const QString &caption)
{
    if (!Taskmill_JobViewers::HasFile(path))
        return nullptr;
    return Start(std::make_unique<KilnUtil_FileStreamViewer>(
        parent.window(), path, caption, KilnUtil_FileStreamViewer::OneTimeView, TitleOfFile(path)));
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
} // namespace

bool Taskmill_JobViewers::HasFile(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar::Null) && QFileInfo::exists(path);
}

void Taskmill_JobViewers::ShowInputFile(QWidget &parent, const QString &jobName, const QString &path)
{
    ViewFile(parent, path, u"Input file of %1:  %2"_s.arg(jobName, path));
}

void Taskmill_JobViewers::ShowOutputFile(QWidget &parent, const QString &jobName, const QString &path,
                                         const Taskmill_JobResult &result)
{
    if (auto *viewer = ViewFile(parent, path, u"Output file of %1:  %2"_s.arg(jobName, path)))
        ShowEnd(*viewer, result);
}

void Taskmill_JobViewers::StreamOutputFile(QWidget &parent, const QString &path,
                                           const KilnUtil_Process *process)
{
    if (!HasFile(path))
        return;
    auto viewer = std::make_unique<KilnUtil_FileStreamViewer>(parent.window(), path, u"Streaming "_s + path,
                                                              streamingIntervalMs, TitleOfFile(path));
    if (process)
        viewer->FollowUntilEndOf(*process);
    Start(std::move(viewer));
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
