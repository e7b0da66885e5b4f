// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

#include "support/testutil.h"

#include <QByteArray>
#include <QDir>

#include <csignal>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
QByteArray ReadProcFile(int processID, const QString &name)
{
    return ReadTestFile(u"/proc/%1/%2"_s.arg(QString::number(processID), name));
}

/// The fields of /proc/N/stat from the state on; none when there is no such process. The name before them may
/// hold blanks.
QByteArrayList StatFields(int processID)
{
    const QByteArray text = ReadProcFile(processID, u"stat"_s);
    const qsizetype nameEnd = text.lastIndexOf(')');
    return nameEnd < 0 ? QByteArrayList{} : text.sliced(nameEnd + 2).split(' ');
}

QList<int> Children()
{
    QList<int> children;
    const QStringList names = QDir{u"/proc"_s}.entryList(QDir::Dirs);
    for (const QString &name : names) {
        const int processID = name.toInt();
        if (processID > 0 && StatFields(processID).value(1).toInt() == getpid())
            children.append(processID);
    }
    return children;
}
} // namespace

void ProcessTable::AdoptOrphans()
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        qFatal("orphans cannot be adopted");
}

QList<int> ProcessTable::LivingChildren()
{
    QList<int> children = Children();
    children.removeIf([](int processID) { return !IsAlive(processID); });
    return children;
}

void ProcessTable::EndChildren()
{
    // The children of those that end become children of this process.
    for (QList<int> children = Children(); !children.isEmpty(); children = Children()) {
        for (const int processID : children) {
            kill(processID, SIGKILL);
            waitpid(processID, nullptr, 0);
        }
    }
}

bool ProcessTable::IsAlive(int processID)
{
    const QByteArray state = StatFields(processID).value(0);
    return !state.isEmpty() && state != "Z" && state != "X";
}

qint64 ProcessTable::ProcessorTicks(int processID)
{
    const QByteArrayList fields = StatFields(processID);
    return fields.value(11).toLongLong() + fields.value(12).toLongLong();
}
