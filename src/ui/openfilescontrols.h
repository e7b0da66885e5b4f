// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QAbstractButton;
class QComboBox;
class QKeySequence;
class QLabel;
class QPushButton;

/// What the controls of the Submit Jobs dialog have in common.
namespace Taskmill_OpenFilesControls {
/// A key without a mark in the text, which the tool tip shows.
void SetKey(QAbstractButton &button, const QKeySequence &key, const QString &toolTip);
/// The key moves the focus to the box, whose tool tip shows it. The box must have its place already.
void SetFocusKey(QComboBox &box, const QKeySequence &key);

/// Styles leave little room beside a long text or before an arrow.
void GiveRoom(QPushButton &button);

/// Opens that page of the manual.
[[nodiscard]] QPushButton *MakeHelpButton(const QString &helpId);
/// The text belongs to the box, also for those who only hear it.
[[nodiscard]] QLabel *MakeLabel(const QString &text, QComboBox *box);
} // namespace Taskmill_OpenFilesControls
