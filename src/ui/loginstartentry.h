// SPDX-License-Identifier: MIT
#pragma once

class QMenu;

/// Adds the entry that has the desktop start this program when the user logs in.
void Taskmill_AddLoginStartEntry(QMenu &menu);
