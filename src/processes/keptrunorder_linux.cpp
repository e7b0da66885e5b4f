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

/// Those of the last call are kept, as most jobs have the same.
const std::vector<std::string> &Variables(const QProcessEnvironment &environment)
{
    static QProcessEnvironment known;
    static std::vector<std::string> variables;
    if (variables.empty() || environment != known) {
        variables.clear();
        for (const QString &variable : environment.toStringList())
            variables.push_back(variable.toLocal8Bit().toStdString());
        known = environment;
    }
    return variables;
}
} // namespace

Taskmill_RunOrder KilnUtil_KeptRunOrder(const KilnUtil_RunOrder &order)
{
    Taskmill_RunOrder runOrder;
    runOrder.program = ProgramPath(order.Program);
    for (const QString &argument : KilnUtil_String::MakeStringList(order.Argument, true))
        runOrder.arguments.push_back(argument.toStdString());
    runOrder.environment = Variables(order.Environment);
    runOrder.directory = PathText(order.Directory.isEmpty() ? QDir::currentPath() : order.Directory);
    if (order.InputPath != QProcess::nullDevice())
        runOrder.inputPath = PathText(order.InputPath);
    runOrder.outputPath = PathText(order.OutputPath);
    runOrder.graceMs = order.GraceMs;
    runOrder.nice = order.HasLowPriority ? KilnUtil_ProcessTree::LowPriorityNice : 0;
    runOrder.openFiles = KilnUtil_OpenFilesLimitAtStart();
    return runOrder;
}
