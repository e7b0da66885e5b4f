// SPDX-License-Identifier: MIT
#pragma once

class QIcon;

/// The icon under the name of the symbolic one, which desktops with trays of one colour paint in its place;
/// the icon as it is on other desktops, and where the symbolic one is not installed.
[[nodiscard]] QIcon Taskmill_SymbolicInTray(const QIcon &icon);
