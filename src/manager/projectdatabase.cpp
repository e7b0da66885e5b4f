// SPDX-License-Identifier: MIT
#include "manager/projectdatabase.h"

#include "db/database.h"
#include "jobs/jobtypelist.h"

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int projectVersion = 2;
constexpr int limitOfNewQueue = 1;
} // namespace

bool Taskmill_FillNewProject(Taskmill_Database &database, Taskmill_JobTypeList &jobTypes)
{
    if (!database.Open() || !database.CreateTables())
        return false;
    const QString version = QString::number(projectVersion);
    if (database.SetGeneralData(u"Version"_s, version) == 0 || !Taskmill_IsProject(database))
        return false;
    // The first row gets the key 0 and the second 1: the queue keys that job types and finished jobs refer
    // to.
    for (const auto queue : {Taskmill_Destination::Long, Taskmill_Destination::Short}) {
        if (!database.InsertQueue(Taskmill_NamesOf(queue).Stored, limitOfNewQueue, nullptr))
            return false;
    }
    jobTypes.Clear();
    jobTypes.AddDefaults();
    return true;
}

bool Taskmill_IsProject(Taskmill_Database &database)
{
    QString version;
    return database.GetGeneralData(u"Version"_s, version) && version.toInt() == projectVersion;
}

int Taskmill_LastJobID(Taskmill_Database &database)
{
    QString stored;
    bool isNumber = false;
    if (database.GetGeneralData(u"LastJobID"_s, stored)) {
        const int last = stored.toInt(&isNumber);
        // A number that a job has is never given again, even where the stored last number is too low; no
        // number can follow the largest.
        if (isNumber && last >= 0 && last < std::numeric_limits<int>::max())
            return qMax(last, database.LargestJobID());
    }
    return qMax(0, database.LargestJobID());
}

QString Taskmill_ProblemOfProject(Taskmill_Database &database)
{
    QString version;
    if (!database.GetGeneralData(u"Version"_s, version))
        return u"The specified file is not a Taskmill project:\n\n%1"_s;
    if (!Taskmill_IsProject(database))
        return u"The specified file is a Taskmill project of another version:\n\n%1"_s;
    // Without one of them jobs would be lost.
    if (!database.CompleteTables())
        return u"The specified file is a damaged Taskmill project:\n\n%1"_s;
    return {};
}

QString Taskmill_LoadProject(Taskmill_Database &database, const QString &path)
{
    QString reason;
    const bool loaded = database.LoadFromFile(path, &reason);
    if (!loaded && !reason.isEmpty())
        return u"The specified file cannot be opened as a Taskmill project:\n\n%1\n\n%2"_s.arg(u"%1"_s,
                                                                                               reason);
    if (!loaded)
        return u"The specified file is not a Taskmill project, is damaged or is in use by another program:\n\n%1\n\n(%2)"_s
            .arg(u"%1"_s, database.LastErrorMessage());
    return Taskmill_ProblemOfProject(database);
}
