// SPDX-License-Identifier: MIT
#include "manager/projectfile.h"

#include "db/contentstamp.h"
#include "db/database.h"
#include "db/databasemanager.h"
#include "db/workingcopy.h"
#include "manager/projectdatabase.h"
#include "manager/spareproject.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

Taskmill_OpenedFile::~Taskmill_OpenedFile() = default;

Taskmill_FileStamp Taskmill_FileStamp::Of(const QString &path)
{
    const QFileInfo file{path};
    return {.Modified = file.lastModified(), .Size = file.size()};
}

std::unique_ptr<Taskmill_Database> Taskmill_MakeProjectDatabase(const Taskmill_WorkingCopy *copy)
{
    auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
    if (copy)
        database->SetStoragePath(copy->Path());
    return database;
}

QString Taskmill_NoWorkingCopyNotice()
{
    return u"No working copy of the project can be kept on this computer: what is not saved is lost if the manager ends by force."_s;
}

Taskmill_OpenedFile Taskmill_OpenProjectFile(const QString &path, QStringList &notices)
{
    Taskmill_OpenedFile opened;
    opened.FileStamp = Taskmill_FileStamp::Of(path);
    opened.ContentStamp = Taskmill_ContentStamp(path);
    opened.Copy = Taskmill_WorkingCopy::Make();
    opened.Database = Taskmill_MakeProjectDatabase(opened.Copy.get());
    opened.Problem = Taskmill_LoadProject(*opened.Database, path);
    if (opened.Problem.isEmpty() || !opened.Copy)
        return opened;
    // The disk of the working copy may be full.
    opened.Database = Taskmill_MakeProjectDatabase(nullptr);
    opened.Copy.reset();
    opened.Problem = Taskmill_LoadProject(*opened.Database, path);
    if (opened.Problem.isEmpty())
        notices += Taskmill_NoWorkingCopyNotice();
    return opened;
}

QString Taskmill_ProblemOfProjectFile(const QString &path, Taskmill_ReadOnlyProjects readOnlyProjects)
{
    const QFileInfo file{path};
    if (!file.exists())
        return u"The specified file does not exist:\n\n%1"_s;
    if (!file.isReadable())
        return u"The specified file is not readable:\n\n%1"_s;
    if (readOnlyProjects == Taskmill_ReadOnlyProjects::Refuse && !file.isWritable())
        return u"The specified file is not writable:\n\n%1"_s;
    return {};
}

QString Taskmill_FileBeside(const QString &path)
{
    const QFileInfo file{path};
    return file.dir().filePath(u"%1-%2.mill"_s.arg(file.completeBaseName(), Taskmill_FileTimeStamp()));
}
