// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

class QProcess;
class QString;

/// Starts and ends the processes of jobs together with everything that they start.
namespace KilnUtil_ProcessTree {
/// To be called before start(): gives the process its arguments from one text (a Windows program gets the
/// text as it stands, others the list that it splits into) and makes it the leader of a group of its own, so
/// that keyboard signals to the manager do not reach it.
void PrepareChild(QProcess &process, const QString &argumentText, bool hasLowPriority = false);
/// What low priority adds to the niceness of a process; on Windows anything above 0 is the priority class
/// below the normal one.
constexpr int LowPriorityNice = 10;

/// To be called once the process runs, which on Windows it does only from then on: it is known to
/// KillRegisteredChildren until UnregisterChild.
void RegisterChild(qint64 processID);
void UnregisterChild(qint64 processID);

/// Ends everything the process started that can be found, but not the process itself. To be called before
/// any of it is ended in another way: what has lost its parent and left its group is not found any more.
/// Nothing on Windows, where KillProcessTree() finds such processes too.
void KillDescendants(qint64 processID);

/// Ends the process and everything it started that still lives.
void KillProcessTree(qint64 processID);

/// Ends all registered processes as KillProcessTree() does. Also off the main thread, while that one is held
/// up.
void KillRegisteredChildren();
} // namespace KilnUtil_ProcessTree
