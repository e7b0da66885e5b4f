// SPDX-License-Identifier: MIT
#include "ui/jobviewers.h"

#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QFileInfo>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int streamingIntervalMs = 2000;
const QString viewerTitle = u"File Stream Viewer"_s;

/// The viewer that has been started, which then belongs to itself; nullptr when it could not be.
KilnUtil_FileStreamViewer *Start(std::unique_ptr<KilnUtil_FileStreamViewer> viewer)
{
    viewer->setWindowIcon(viewer->parentWidget()->windowIcon());
    return viewer->Start() ? viewer.release() : nullptr;
}

/// The viewer, if there is such a file.
KilnUtil_FileStreamViewer *ViewFile(const QWidget &parent, const QString &path, const QString &caption,
                                    int interval)
{
    if (!Taskmill_JobViewers::HasFile(path))
        return nullptr;
    return Start(
        std::make_unique<KilnUtil_FileStreamViewer>(parent.window(), path, caption, interval, viewerTitle));
}
} // namespace

bool Taskmill_JobViewers::HasFile(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar::Null) && QFileInfo::exists(path);
}

void Taskmill_JobViewers::ShowInputFile(QWidget &parent, const QString &jobName, const QString &path)
{
    ViewFile(parent, path, u"Input file of %1:  %2"_s.arg(jobName, path),
             KilnUtil_FileStreamViewer::OneTimeView);
}

void Taskmill_JobViewers::ShowOutputFile(QWidget &parent, const QString &jobName, const QString &path)
{
    // How the job ended is what the user looks for.
    if (auto *viewer = ViewFile(parent, path, u"Output file of %1:  %2"_s.arg(jobName, path),
                                KilnUtil_FileStreamViewer::OneTimeView))
        viewer->View().ScrollToEndSlot();
}

void Taskmill_JobViewers::StreamOutputFile(QWidget &parent, const QString &path)
{
    ViewFile(parent, path, u"Streaming "_s + path, streamingIntervalMs);
}

void Taskmill_JobViewers::ShowLog(QWidget &parent, const QString &jobName, const QString &text)
{
    KilnUtil_FileStreamViewer *viewer = Start(
        std::make_unique<KilnUtil_FileStreamViewer>(parent.window(), QString{}, u"Log of "_s + jobName,
                                                    KilnUtil_FileStreamViewer::OneTimeView, viewerTitle));
    if (!viewer)
        return;
    viewer->AppendLine(text, false);
    viewer->View().ScrollToEndSlot();
}

void Taskmill_JobViewers::StreamLog(QWidget &parent, const QString &jobName, KilnUtil_Process &process)
{
    Start(std::make_unique<KilnUtil_FileStreamViewer>(parent.window(), &process, u"Log of "_s + jobName,
                                                      streamingIntervalMs, viewerTitle));
}
