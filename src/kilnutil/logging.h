// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

/// What a message of the debug log is about, one category for each room that logs. QT_LOGGING_RULES chooses
/// among them by name, for instance "taskmill.requests.warning=false".
Q_DECLARE_LOGGING_CATEGORY(Taskmill_AppLog)       // taskmill.app
Q_DECLARE_LOGGING_CATEGORY(Taskmill_UILog)        // taskmill.ui
Q_DECLARE_LOGGING_CATEGORY(Taskmill_ConsoleLog)   // taskmill.console
Q_DECLARE_LOGGING_CATEGORY(Taskmill_RequestsLog)  // taskmill.requests
Q_DECLARE_LOGGING_CATEGORY(Taskmill_ManagerLog)   // taskmill.manager
Q_DECLARE_LOGGING_CATEGORY(Taskmill_DBLog)        // taskmill.db
Q_DECLARE_LOGGING_CATEGORY(Taskmill_JobsLog)      // taskmill.jobs
Q_DECLARE_LOGGING_CATEGORY(Taskmill_ProcessesLog) // taskmill.processes
Q_DECLARE_LOGGING_CATEGORY(KilnUtil_UtilLog)      // taskmill.util

class KilnUtil_Logging
{
public:
    /// Makes lines on standard error go without the names of the categories above; those of Qt's own messages
    /// stay. Called once, early in main().
    static void HideOwnCategories();
};
