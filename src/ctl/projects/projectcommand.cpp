#include "ctl/projects/output.h"
#include "ctl/projects/projectcommands.h"
#include "ctl/projects/projectfile.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

void Taskmill_AddProjectCreateOptions(QCommandLineParser &parser)
{
    parser.addOption({u"force"_s, u"Replace the file when it exists."_s});
}

Taskmill_CtlStatus Taskmill_ProjectCreateCommand(const QCommandLineParser &parser)
{
    const QString path = parser.positionalArguments().first();
    const QFileInfo file{path};
    // A link that leads nowhere is a file all the same.
    if ((file.exists() || file.isSymbolicLink()) && !parser.isSet(u"force"_s)) {
        Taskmill_PrintError(u"the file exists; --force replaces it: %1"_s.arg(path));
        return Taskmill_CtlStatus::BadProject;
    }
    Taskmill_ProjectFile project{path};
    const Taskmill_CtlStatus status = project.Create();
    return status == Taskmill_CtlStatus::Success ? project.Save() : status;
}
