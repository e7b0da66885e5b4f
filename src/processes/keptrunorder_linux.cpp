// SPDX-License-Identifier: MIT
#include "processes/keptrunorder.h"

#include "kilnutil/openfileslimit.h"
#include "kilnutil/stringutil.h"
#include "processes/processtree.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {
std::string PathText(const QString &path)
{
    return path.isEmpty() ? std::string{} : QFileInfo{path}.absoluteFilePath().toStdString();
}

std::string ProgramPath(const QString &program)
{
    const QString found = program.contains(u'/') ? QString{} : QStandardPaths::findExecutable(program);
    return PathText(found.isEmpty() ? program : found);
}
} // namespace

Taskmill_RunOrder KilnUtil_KeptRunOrder(const KilnUtil_RunOrder &order)
{
    Taskmill_RunOrder runOrder;
    runOrder.program = ProgramPath(order.Program);
    for (const QString &argument : KilnUtil_String::MakeStringList(order.Argument, true))
        runOrder.arguments.push_back(argument.toStdString());
    for (const QString &variable : order.Environment.toStringList())
        runOrder.environment.push_back(variable.toLocal8Bit().toStdString());
    runOrder.directory = PathText(order.Directory.isEmpty() ? QDir::currentPath() : order.Directory);
    if (order.InputPath != QProcess::nullDevice())
        runOrder.inputPath = PathText(order.InputPath);
    runOrder.outputPath = PathText(order.OutputPath);
    runOrder.graceMs = order.GraceMs;
    runOrder.nice = order.HasLowPriority ? KilnUtil_ProcessTree::LowPriorityNice : 0;
    runOrder.openFiles = KilnUtil_OpenFilesLimitAtStart();
    return runOrder;
}
