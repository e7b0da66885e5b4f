// SPDX-License-Identifier: MIT
#include "ctl/projects/projectfile.h"

#include "ctl/projects/output.h"
#include "db/databasemanager.h"
#include "manager/projectdatabase.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_CtlStatus Fail(Taskmill_CtlStatus status, const QString &text, const QString &path)
{
    Taskmill_PrintError(text.arg(path));
    return status;
}

Taskmill_Database *NewMemoryDatabase(bool create)
{
    return Taskmill_Database_Manager::Global().Database(Taskmill_Database::SQLiteMemory, {}, create);
}
} // namespace

Taskmill_ProjectFile::Taskmill_ProjectFile(const QString &path)
    : m_path{path}
{
}

Taskmill_ProjectFile::~Taskmill_ProjectFile()
{
    Taskmill_Database_Manager::Global().CloseAll();
}

Taskmill_CtlStatus Taskmill_ProjectFile::Open()
{
    if (!QFileInfo::exists(m_path))
        return Fail(Taskmill_CtlStatus::WrongUsage, u"the file does not exist: %1"_s, m_path);
    if (!QFileInfo{m_path}.isReadable())
        return Fail(Taskmill_CtlStatus::BadProject, u"the file is not readable: %1"_s, m_path);
    Taskmill_Database *database = NewMemoryDatabase(false);
    QString reason;
    const bool loaded = database && database->LoadFromFile(QFileInfo{m_path}.absoluteFilePath(), &reason);
    if (!loaded && !reason.isEmpty())
        return Fail(Taskmill_CtlStatus::BadProject,
                    u"this file cannot be opened as a project: %1\n"_s + reason, m_path);
    if (!loaded)
        return Fail(Taskmill_CtlStatus::BadProject, u"this is no project file, or it is in use: %1"_s,
                    m_path);
    if (!Taskmill_IsProject(*database))
        return Fail(Taskmill_CtlStatus::BadProject, u"this is no project file of this version: %1"_s, m_path);
    m_jobTypes.Refresh();
    return Taskmill_CtlStatus::Success;
}

Taskmill_CtlStatus Taskmill_ProjectFile::Create()
{
    Taskmill_Database *database = NewMemoryDatabase(true);
    if (!database || !Taskmill_FillNewProject(*database, m_jobTypes))
        return Fail(Taskmill_CtlStatus::BadProject, u"the project cannot be made: %1"_s, m_path);
    return Taskmill_CtlStatus::Success;
}

Taskmill_CtlStatus Taskmill_ProjectFile::Save()
{
    if (!Database().SaveToFile(QFileInfo{m_path}.absoluteFilePath()))
        return Fail(Taskmill_CtlStatus::BadProject, u"the file cannot be written: %1"_s, m_path);
    return Taskmill_CtlStatus::Success;
}

Taskmill_Database &Taskmill_ProjectFile::Database()
{
    return *Taskmill_Database_Manager::Global().CurrentDatabase();
}
