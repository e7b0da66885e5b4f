// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <sys/prctl.h>
#include <sys/wait.h>

using namespace Qt::Literals::StringLiterals;

void ProcessTable::AdoptOrphans()
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        qFatal("orphans cannot be adopted");
}

void ProcessTable::Bury()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

void ProcessTable::Kill(int processID)
{
    kill(processID, SIGKILL);
}

int ProcessTable::JobsIn(const QString &folder)
{
    int count = 0;
    for (const QString &name : QDir{u"/proc"_s}.entryList(QDir::Dirs)) {
        const int id = name.toInt();
        if (id <= 0 || QFile::symLinkTarget(u"/proc/%1/cwd"_s.arg(id)) != folder)
            continue;
        QFile command{u"/proc/%1/comm"_s.arg(id)};
        if (command.open(QIODevice::ReadOnly) && command.readAll().trimmed() != "taskmill" && IsAlive(id))
            ++count;
    }
    return count;
}
