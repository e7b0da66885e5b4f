// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

class QMenu;
class Taskmill_Project;

/// The menu "Project" and what its entries do.
class Taskmill_ProjectMenu final : public QObject
{
    Q_OBJECT

public:
    /// Fills the menu, which owns this. The project outlives both.
    Taskmill_ProjectMenu(QMenu &menu, Taskmill_Project &project);

public Q_SLOTS:
    /// Each asks first what becomes of the project that is open, and leaves it open when the user stays.
    void NewSlot();
    void OpenSlot();
    void OpenFile(const QString &path);
    /// The same for a file that was chosen elsewhere: asks first whether it is to take the place of what is
    /// open.
    void OfferFile(const QString &path);
    /// Asks for a file when the project has none.
    void SaveSlot();
    void SaveAsSlot();

Q_SIGNALS:
    /// Another project is open.
    void ProjectOpenedSignal();
    /// The user wants to see and change the settings.
    void SettingsSignal();
    /// The user wants to end the program.
    void ExitSignal();

private:
    void FillRecent();

    Taskmill_Project &m_project;
    QMenu *m_recent;
};
