// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlstatus.h"
#include "db/databasejobstore.h"
#include "jobs/jobtypelist.h"

#include <QString>

class Taskmill_Database;

/// One project file, worked on in memory. Only one may be alive at a time. Every failure is reported to the
/// user.
class Taskmill_ProjectFile
{
public:
    explicit Taskmill_ProjectFile(const QString &path);
    ~Taskmill_ProjectFile();
    Q_DISABLE_COPY_MOVE(Taskmill_ProjectFile)

    /// Reads the file.
    [[nodiscard]] Taskmill_CtlStatus Open();
    /// Makes a new project, with the default job types; Save() writes it.
    [[nodiscard]] Taskmill_CtlStatus Create();
    /// Writes the whole project to the file, or leaves the file as it was.
    [[nodiscard]] Taskmill_CtlStatus Save();

    /// After Open() or Create() only.
    [[nodiscard]] Taskmill_Database &Database();
    [[nodiscard]] Taskmill_JobTypeList &JobTypes() { return m_jobTypes; }

private:
    const QString m_path;
    Taskmill_DatabaseJobStore m_store;
    Taskmill_JobTypeList m_jobTypes{m_store};
};
