// SPDX-License-Identifier: MIT
#include "ui/jobentries.h"

#include "kilnutil/error.h"
#include "kilnutil/filecheck.h"
#include "ui/tabmenu.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {
/// What a job is about: its input file, else the file it writes.
QString PathOf(const Taskmill_JobRecord &job)
{
    return QDir::toNativeSeparators(job.InputFilePath.isEmpty() ? job.OutputFilePath() : job.InputFilePath);
}

void Copy(const QStringList &lines)
{
    QGuiApplication::clipboard()->setText(lines.join(u'\n'));
}

void OpenFolder(const QString &folder)
{
    const auto show = [folder](const QStringList &found) {
        if (found.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
            KilnUtil_Error::ReportError(
                u"Open Folder"_s, u"The folder cannot be shown: it is gone, or nothing on this desktop shows "
                                  "folders.\n\n"_s +
                                      folder);
    };
    KilnUtil_FileCheck::Of(*qApp).Find({folder}, KilnUtil_FileCheck::IsFolder, show);
}
} // namespace

Taskmill_JobEntries::Taskmill_JobEntries(Taskmill_TabMenu &menu, Jobs jobs)
    : m_jobs{std::move(jobs)}
    , m_openFolder{menu.AddEntry(u"Open Folder"_s)}
    , m_copyPath{menu.AddEntry(u"Copy Path"_s)}
    , m_copyCommandLine{menu.AddEntry(u"Copy Command Line"_s)}
{
    const bool areFew = m_jobs.count > 0 && m_jobs.count <= MostJobs;
    const Taskmill_JobRecord *first = areFew ? m_jobs.at(0) : nullptr;
    m_openFolder->setEnabled(first && !first->Folder().isEmpty());
    m_copyPath->setEnabled(first && !PathOf(*first).isEmpty());
    m_copyCommandLine->setEnabled(first);
}

QStringList Taskmill_JobEntries::OfEach(QString (*text)(const Taskmill_JobRecord &job)) const
{
    QStringList texts;
    for (qsizetype place = 0; place < m_jobs.count; ++place) {
        if (const Taskmill_JobRecord *job = m_jobs.at(place))
            texts.append(text(*job));
    }
    return texts;
}

bool Taskmill_JobEntries::Act(const QAction &chosen) const
{
    if (&chosen == m_openFolder)
        OpenFolder(OfEach([](const Taskmill_JobRecord &job) { return job.Folder(); }).value(0));
    else if (&chosen == m_copyPath)
        Copy(OfEach(PathOf));
    else if (&chosen == m_copyCommandLine)
        Copy(OfEach([](const Taskmill_JobRecord &job) { return job.CommandLine(); }));
    else
        return false;
    return true;
}
