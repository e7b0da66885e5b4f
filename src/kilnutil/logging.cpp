// SPDX-License-Identifier: MIT
#include "kilnutil/logging.h"

#include <QByteArrayView>

Q_LOGGING_CATEGORY(Taskmill_AppLog, "taskmill.app")
Q_LOGGING_CATEGORY(Taskmill_UILog, "taskmill.ui")
Q_LOGGING_CATEGORY(Taskmill_ConsoleLog, "taskmill.console")
Q_LOGGING_CATEGORY(Taskmill_RequestsLog, "taskmill.requests")
Q_LOGGING_CATEGORY(Taskmill_ManagerLog, "taskmill.manager")
Q_LOGGING_CATEGORY(Taskmill_DBLog, "taskmill.db")
Q_LOGGING_CATEGORY(Taskmill_JobsLog, "taskmill.jobs")
Q_LOGGING_CATEGORY(Taskmill_ProcessesLog, "taskmill.processes")
Q_LOGGING_CATEGORY(KilnUtil_UtilLog, "taskmill.util")

namespace {
QtMessageHandler previousHandler = nullptr;

void WriteWithoutOwnCategory(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!QByteArrayView{context.category}.startsWith("taskmill.")) {
        previousHandler(type, context, message);
        return;
    }
    // Qt's usual pattern leaves out this one name.
    const QMessageLogContext plain{context.file, context.line, context.function, "default"};
    previousHandler(type, plain, message);
}
} // namespace

void KilnUtil_Logging::HideOwnCategories()
{
    previousHandler = qInstallMessageHandler(WriteWithoutOwnCategory);
}
