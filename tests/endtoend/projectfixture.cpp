// SPDX-License-Identifier: MIT
#include "endtoend/projectfixture.h"

#include "db/database.h"
#include "endtoend/processtable.h"

#include <QDirIterator>
#include <QFile>

using namespace Qt::Literals::StringLiterals;

ProjectFixture::ProjectFixture()
{
    ProcessTable::AdoptOrphans();
    if (!m_directory.isValid())
        qFatal("no directory can be made");
}

ProjectFixture::~ProjectFixture()
{
    m_manager.reset();
    ProcessTable::EndChildren();
}

bool ProjectFixture::AddType(const QString &name, const QString &program, const QString &commandLine,
                             const QString &filter) const
{
    if (!QFile::exists(ProjectPath()) && RunCtl({u"project"_s, u"create"_s, ProjectPath()}).status != 0)
        return false;
    const CtlResult result = RunCtl({u"types"_s, u"add"_s, ProjectPath(), u"--name"_s, name, u"--exe"_s,
                                     program, u"--command-line"_s, commandLine, u"--input-filter"_s, filter,
                                     u"--output-filter"_s, u"Output Files (*.out)"_s});
    if (result.status != 0)
        qWarning("%s", result.err.constData());
    return result.status == 0;
}

bool ProjectFixture::AddTestType(const QString &name, const QString &arguments, const QString &filter) const
{
    return AddType(name, TestProgramPath(), u"@EXEFILE "_s + arguments, filter);
}

bool ProjectFixture::Start(ManagerProcess::Input input, const QStringList &options)
{
    m_manager = std::make_unique<ManagerProcess>(m_directory.path(), input);
    return m_manager->Start(QStringList{u"-console"_s, ProjectPath()} + options);
}

bool ProjectFixture::StartOnDesktop(const QStringList &variables)
{
    m_manager = std::make_unique<ManagerProcess>(m_directory.path(), ManagerProcess::Input::NullDevice);
    return m_manager->Start({ProjectPath()}, variables);
}

QStringList ProjectFixture::WorkingCopies() const
{
    QStringList paths;
    QDirIterator files{Path(u".local"_s), {u"work-*"_s}, QDir::Files, QDirIterator::Subdirectories};
    while (files.hasNext())
        paths += files.next();
    return paths;
}

ProjectRows ProjectFixture::Rows() const
{
    Taskmill_Database database{
        KilnUtil_Database_Foundation::SQLiteMemory, {}, u"QSQLITE"_s, {}, {}, {}, {}, {}};
    if (!database.LoadFromFile(ProjectPath()))
        return {};
    ProjectRows rows{.longJobs = database.GetLongJobs(),
                     .shortJobs = database.GetShortJobs(),
                     .queuelessJobs = database.GetQueuelessJobs(),
                     .finishedJobs = database.GetFinishedJobs(),
                     .lastJobID = {}};
    database.GetGeneralData(u"LastJobID"_s, rows.lastJobID);
    return rows;
}

void ManagerTest::init()
{
    TestCase::init();
    m_project = std::make_unique<ProjectFixture>();
}

void ManagerTest::cleanup()
{
    m_project.reset();
    TestCase::cleanup();
}
