// SPDX-License-Identifier: MIT
#include "manager/projectopening.h"

#include "db/database.h"
#include "db/workingcopy.h"

#include <QDir>

#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_ProjectOpening::Taskmill_ProjectOpening(const QString &path)
    : m_path{path}
{
}

Taskmill_ProjectOpening::~Taskmill_ProjectOpening() = default;

QString Taskmill_ProjectOpening::Read(Taskmill_ReadOnlyProjects readOnlyProjects,
                                      const Taskmill_ProjectLock *ownLock)
{
    if (QString problem = Taskmill_ProblemOfProjectFile(m_path, readOnlyProjects); !problem.isEmpty())
        return problem;
    if (!ownLock || !ownLock->IsOf(m_path))
        m_lock = std::make_unique<Taskmill_ProjectLock>(m_path);
    if (m_lock && m_lock->IsHeldElsewhere())
        return u"Another Taskmill manager, %2, has the specified project open:\n\n%1"_s.arg(u"%1"_s,
                                                                                            m_lock->Holder());
    m_left = m_recovery.Find(m_lock ? *m_lock : *ownLock);
    if (const QString path = m_recovery.OutOfReach(); !path.isEmpty())
        return u"The changes of the specified project since it was saved cannot be read now, perhaps because a disk is full:\n\n%1\n\nThey stay in %2."_s
            .arg(u"%1"_s, QDir::toNativeSeparators(path));
    m_recovery.SetAsideUnfit(m_left);
    return m_left ? QString{} : ReadFile();
}

QString Taskmill_ProjectOpening::ReadAgain()
{
    if (m_left)
        return {};
    // The database is closed before its working copy is removed.
    m_file.Database.reset();
    return ReadFile();
}

QString Taskmill_ProjectOpening::ReadFile()
{
    m_file = Taskmill_OpenProjectFile(m_path, m_notices);
    return m_file.Problem;
}

std::unique_ptr<Taskmill_ProjectLock> Taskmill_ProjectOpening::TakeLock()
{
    return std::move(m_lock);
}

std::optional<Taskmill_LeftProject> Taskmill_ProjectOpening::TakeLeft()
{
    return std::exchange(m_left, std::nullopt);
}

Taskmill_OpenedFile Taskmill_ProjectOpening::TakeFile()
{
    return std::move(m_file);
}
