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
    KilnUtil_Error::ReportError(
        u"Removing Jobs from the Project"_s,
        u"The following %1 jobs could not be removed from the project and will be listed again when it is "
        "opened the next time:\n\n%2\n\n(%3)"_s.arg(QString::number(count),
                                                    Taskmill_NameList(jobNames, count), error));
}
