// SPDX-License-Identifier: MIT
#include "ui/jobentries.h"

#include "kilnutil/error.h"
#include "ui/tabmenu.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
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
    const bool isShown = QFileInfo{folder}.isDir() && QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
    if (!isShown)
        KilnUtil_Error::ReportError(
            u"Open Folder"_s, u"The folder cannot be shown: it is gone, or nothing on this desktop shows "
                              "folders.\n\n"_s +
                                  folder);
}
} // namespace

Taskmill_JobEntries::Taskmill_JobEntries(Taskmill_TabMenu &menu, Jobs jobs)
    : m_jobs{std::move(jobs)}
    , m_openFolder{menu.AddEntry(u"Open Folder"_s)}
    , m_copyPath{menu.AddEntry(u"Copy Path"_s)}
    , m_copyCommandLine{menu.AddEntry(u"Copy Command Line"_s)}
{
    const auto first = m_jobs.jobIDs.isEmpty() ? std::nullopt : m_jobs.find(m_jobs.jobIDs.first());
    m_openFolder->setEnabled(first && !first->Folder().isEmpty());
    m_copyPath->setEnabled(first && !PathOf(*first).isEmpty());
    m_copyCommandLine->setEnabled(first.has_value());
}

QList<Taskmill_JobRecord> Taskmill_JobEntries::Records() const
{
    QList<Taskmill_JobRecord> records;
    for (const int jobID : m_jobs.jobIDs) {
        if (const auto record = m_jobs.find(jobID))
            records.append(*record);
    }
    return records;
}

bool Taskmill_JobEntries::Act(const QAction &chosen) const
{
    if (&chosen != m_openFolder && &chosen != m_copyPath && &chosen != m_copyCommandLine)
        return false;
    QStringList lines;
    for (const Taskmill_JobRecord &job : Records())
        lines.append(&chosen == m_copyPath        ? PathOf(job)
                     : &chosen == m_openFolder    ? job.Folder()
                                                  : job.CommandLine());
    if (lines.isEmpty())
        return true;
    if (&chosen == m_openFolder)
        OpenFolder(lines.first());
    else
        Copy(lines);
    return true;
}
