// SPDX-License-Identifier: MIT
#include "ui/openfilescontrols.h"

#include "help/helpdialog.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>

using namespace Qt::Literals::StringLiterals;

void Taskmill_OpenFilesControls::SetKey(QAbstractButton &button, const QKeySequence &key,
                                        const QString &toolTip)
{
    button.setShortcut(key);
    button.setToolTip(u"%1 (%2)"_s.arg(toolTip, key.toString(QKeySequence::NativeText)));
}

void Taskmill_OpenFilesControls::SetFocusKey(QComboBox &box, const QKeySequence &key)
{
    auto *shortcut = new QShortcut{key, box.parentWidget()};
    shortcut->setContext(Qt::WindowShortcut);
    box.setToolTip(key.toString(QKeySequence::NativeText));
    QObject::connect(shortcut, &QShortcut::activated, &box,
                     [&box] { box.setFocus(Qt::ShortcutFocusReason); });
}

void Taskmill_OpenFilesControls::GiveRoom(QPushButton &button)
{
    button.setMinimumWidth(button.sizeHint().width() + button.fontMetrics().height());
}

QPushButton *Taskmill_OpenFilesControls::MakeHelpButton(const QString &helpId)
{
    auto *button = new QPushButton{u"&Help"_s};
    button->setAutoDefault(false);
    KilnUtil_HelpDialog::Global().ConnectButton(button, helpId);
    return button;
}

QLabel *Taskmill_OpenFilesControls::MakeLabel(const QString &text, QComboBox *box)
{
    auto *label = new QLabel{text};
    label->setAccessibleName(text.trimmed());
    label->setBuddy(box);
    box->setAccessibleName(text.trimmed().chopped(1));
    return label;
}
