// SPDX-License-Identifier: MIT
#include "processes/keptrunorder.h"

#include "processes/processtree.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace {
std::string PathText(const QString &path)
{
    return path.isEmpty() ? std::string{}
                          : QDir::toNativeSeparators(QFileInfo{path}.absoluteFilePath()).toStdString();
}
} // namespace

Taskmill_RunOrder KilnUtil_KeptRunOrder(const KilnUtil_RunOrder &order)
{
    Taskmill_RunOrder runOrder;
    // The system looks for a program that is only a name.
    runOrder.program = order.Program.toStdString();
    if (!order.Argument.isEmpty())
        runOrder.arguments.push_back(order.Argument.toStdString());
    for (const QString &variable : order.Environment.toStringList())
        runOrder.environment.push_back(variable.toStdString());
    runOrder.directory = PathText(order.Directory.isEmpty() ? QDir::currentPath() : order.Directory);
    if (order.InputPath != QProcess::nullDevice())
        runOrder.inputPath = PathText(order.InputPath);
    runOrder.outputPath = PathText(order.OutputPath);
    runOrder.graceMs = order.GraceMs;
    runOrder.nice = order.HasLowPriority ? KilnUtil_ProcessTree::LowPriorityNice : 0;
    return runOrder;
}
