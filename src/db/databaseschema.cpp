// SPDX-License-Identifier: MIT
#include "db/databaseschema.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString GeneralDataColumns()
{
    return u" (GeneralDataID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
           "Name TEXT NOT NULL CHECK (length(Name) > 0),DataStr TEXT,Created timestamp NOT NULL,"
           "LastModified timestamp NOT NULL);"_s;
}

QString JobTypesColumns()
{
    return u" (JobTypeID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
           "Name TEXT NOT NULL CHECK (length(Name) > 0),"
           "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
           "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),Icon BLOB,"
           "DefaultQueueID INTEGER NOT NULL REFERENCES Queues (QueueID),InputFileFilter TEXT,"
           "OutputFileFilter TEXT,EnvironmentVariables TEXT,"
           "GenericCommandLine TEXT NOT NULL CHECK (length(GenericCommandLine) > 0),"
           "Created timestamp NOT NULL,LastModified timestamp NOT NULL);"_s;
}

QString QueuesColumns()
{
    return u" (QueueID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
           "Name TEXT NOT NULL CHECK (length(Name) > 0),Created timestamp NOT NULL,"
           "LastModified timestamp NOT NULL,MaxRunningJobs INTEGER);"_s;
}

// The long, the short and the queueless jobs differ in the name of the key alone.
QString QueuedJobsColumns(const QString &key)
{
    return u" ("_s + key +
           u" INTEGER NOT NULL UNIQUE PRIMARY KEY,Name TEXT NOT NULL CHECK (length(Name) > 0),"
           "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
           "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
           "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
           "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,"
           "Submitted timestamp,Started timestamp,Created timestamp NOT NULL,"
           "LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,ClientName TEXT,"
           "ClientAppName TEXT,ClientAddress TEXT,ClientPort INTEGER,ClientUID INTEGER,"
           "ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,ClientNotification INTEGER);"_s;
}

QString RunningJobsColumns()
{
    return u" (RunningJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
           "Name TEXT NOT NULL CHECK (length(Name) > 0),"
           "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
           "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),ProcessID INTEGER NOT NULL,"
           "ParentProcessID INTEGER NOT NULL,"
           "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
           "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
           "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Caption TEXT,Status TEXT,"
           "Created timestamp NOT NULL,LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,"
           "ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,ClientPort INTEGER,"
           "ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,JobClass TEXT,"
           "ClientNotification INTEGER);"_s;
}

QString FinishedJobsColumns()
{
    return u" (FinishedJobID INTEGER NOT NULL UNIQUE PRIMARY KEY,"
           "Name TEXT NOT NULL CHECK (length(Name) > 0),"
           "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
           "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),"
           "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
           "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
           "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Status TEXT,"
           "Submitted timestamp,Started timestamp,Finished timestamp,Created timestamp NOT NULL,"
           "LastModified timestamp NOT NULL,JobID INTEGER NOT NULL,ClientName TEXT,"
           "ClientAppName TEXT,ClientAddress TEXT,ClientPort INTEGER,ClientUID INTEGER,"
           "ClientGID INTEGER,StdOutAndStdErr TEXT,InputFilePath2 TEXT,JobClass TEXT,"
           "ClientNotification INTEGER);"_s;
}

QString JobsColumns()
{
    return u" (JobID INTEGER NOT NULL UNIQUE PRIMARY KEY,Name TEXT NOT NULL CHECK (length(Name) > 0),"
           "JobTypeID INTEGER NOT NULL REFERENCES JobTypes (JobTypeID),"
           "QueueID INTEGER NOT NULL REFERENCES Queues (QueueID),ProcessID INTEGER NOT NULL,"
           "ParentProcessID INTEGER NOT NULL,"
           "ApplicationName TEXT NOT NULL CHECK (length(ApplicationName) > 0),"
           "ExecutablePath TEXT NOT NULL CHECK (length(ExecutablePath) > 0),InputFilePath TEXT,"
           "CommandLine TEXT NOT NULL CHECK (length(CommandLine) > 0),Caption TEXT,Status TEXT,"
           "Submitted timestamp,Started timestamp,Finished timestamp,Created timestamp NOT NULL,"
           "LastModified timestamp NOT NULL,ClientName TEXT,ClientAppName TEXT,ClientAddress TEXT,"
           "ClientPort INTEGER,ClientUID INTEGER,ClientGID INTEGER,InputFilePath2 TEXT,"
           "JobClass TEXT,ClientNotification INTEGER);"_s;
}

} // namespace

QStringList Taskmill_ColumnNames(const Taskmill_TableDefinition &table)
{
    QStringList names;
    // No comma stands inside the description of a column.
    const QStringList columns = table.Columns.sliced(table.Columns.indexOf(u'(') + 1).split(u',');
    for (const QString &column : columns)
        names.append(column.section(u' ', 0, 0));
    return names;
}

const QList<Taskmill_TableDefinition> &Taskmill_DatabaseSchema()
{
    static const QList<Taskmill_TableDefinition> tables{
        {u"GeneralData"_s, GeneralDataColumns(), {}},
        {u"JobTypes"_s, JobTypesColumns(), u"DefaultQueueID"_s},
        {u"Queues"_s, QueuesColumns(), {}},
        {u"LongJobsQueue"_s, QueuedJobsColumns(u"LongJobID"_s), u"JobTypeID"_s},
        {u"ShortJobsQueue"_s, QueuedJobsColumns(u"ShortJobID"_s), u"JobTypeID"_s},
        {u"QueuelessJobs"_s, QueuedJobsColumns(u"QueuelessJobID"_s), u"JobTypeID"_s},
        {u"RunningJobs"_s, RunningJobsColumns(), {}},
        {u"FinishedJobs"_s, FinishedJobsColumns(), u"JobTypeID"_s},
        {u"Jobs"_s, JobsColumns(), {}},
    };
    return tables;
}

const QList<Taskmill_TableUpgrade> &Taskmill_DatabaseUpgrades()
{
    static const QStringList jobColumns{u"InputFilePath2 TEXT"_s, u"JobClass TEXT"_s,
                                        u"ClientNotification INTEGER"_s};
    static const QList<Taskmill_TableUpgrade> upgrades{
        {u"FinishedJobs"_s, {u"StdOutAndStdErr TEXT"_s}},
        {u"LongJobsQueue"_s, jobColumns},
        {u"ShortJobsQueue"_s, jobColumns},
        {u"QueuelessJobs"_s, jobColumns},
        {u"RunningJobs"_s, jobColumns},
        {u"FinishedJobs"_s, jobColumns},
        {u"Jobs"_s, jobColumns},
    };
    return upgrades;
}
