// SPDX-License-Identifier: MIT
#include "manager/removalreport.h"

#include "db/database.h"
#include "kilnutil/error.h"
#include "kilnutil/logging.h"
#include "manager/namelist.h"

using namespace Qt::Literals::StringLiterals;

void Taskmill_ReportRowsKept(const Taskmill_Database &database, const QStringList &jobNames, qsizetype count)
{
    if (jobNames.isEmpty())
        return;
    const QString error = database.LastErrorMessage();
    qCWarning(Taskmill_ManagerLog, "%d jobs could not be removed from the project: %ls",
              static_cast<int>(count), qUtf16Printable(error));
    const QString jobs = count == 1 ? u"A job"_s : u"%1 jobs"_s.arg(count);
    KilnUtil_Error::ReportError(u"Removing Jobs from the Project"_s,
                                u"%1 could not be removed from the project. Saving it tries that again; "
                                u"until then what is listed here "
                                "comes back when the project is opened:\n\n%2\n\n(%3)"_s.arg(
                                    jobs, Taskmill_NameList(jobNames, count), error));
}
