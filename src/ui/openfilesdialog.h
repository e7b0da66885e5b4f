// SPDX-License-Identifier: MIT
#pragma once

#include "manager/submitdialog.h"

#include <QDialog>
#include <QPointer>

class Taskmill_JobStore;
class Taskmill_OpenFilesListPage;
class Taskmill_OpenFilesOptionsPage;
class QCheckBox;
class QLayout;
class QPushButton;
class QTabWidget;

/// The Submit Jobs dialog: the user collects input files and chooses what to submit them as and where. One
/// object for the whole program; its widgets are made at the first use.
class Taskmill_OpenFilesDialog : public QDialog, public Taskmill_SubmitDialog
{
    Q_OBJECT

public:
    /// The store, which has the job types, outlives the dialog. The dialog takes the icon of the main window
    /// and stays in front of it while it is visible; nullptr for none.
    Taskmill_OpenFilesDialog(Taskmill_JobStore &store, QWidget *mainWindow);

    /// Nothing also while the dialog is open already, or when the program quits before the user answers.
    std::optional<Taskmill_SubmitChoice> AskForJobs(const QString &caption,
                                                    const Taskmill_SubmitChoice &preset) override;

public Q_SLOTS:
    /// Keeps the options and what was submitted for the next time.
    void accept() override;

private Q_SLOTS:
    void DefaultOptionsSlot();

private:
    void Build();
    [[nodiscard]] QLayout *MakeButtonRow();
    void Prepare(const QString &caption);
    void Place();

    Taskmill_JobStore &m_store;
    const QPointer<QWidget> m_mainWindow;
    QTabWidget *m_pages = nullptr; ///< nullptr before the first use, as all of these
    Taskmill_OpenFilesListPage *m_listPage = nullptr;
    Taskmill_OpenFilesOptionsPage *m_optionsPage = nullptr;
    QCheckBox *m_retainSettings = nullptr;
    QPushButton *m_submit = nullptr;
};
