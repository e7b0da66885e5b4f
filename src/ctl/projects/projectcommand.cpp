// SPDX-License-Identifier: MIT
#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "ctl/projects/projectfile.h"
#include "manager/project.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

Taskmill_CtlStatus Taskmill_ProjectCreateCommand(const QCommandLineParser &parser)
{
    const QString given = parser.positionalArguments().first();
    const QString path = Taskmill_Project::ProjectFileName(given);
    const QFileInfo file{path};
    // A link that leads nowhere is a file all the same.
    if ((file.exists() || file.isSymbolicLink()) && !parser.isSet(u"force"_s)) {
        Taskmill_PrintError(u"the file exists; --force replaces it: %1"_s.arg(path));
        return Taskmill_CtlStatus::BadProject;
    }
    Taskmill_ProjectFile project{path};
    Taskmill_CtlStatus status = project.Create();
    if (status == Taskmill_CtlStatus::Success)
        status = project.Save();
    if (status == Taskmill_CtlStatus::Success && path != given)
        Taskmill_PrintLine(u"The project is %1"_s.arg(path));
    return status;
}
