// SPDX-License-Identifier: MIT
#pragma once

#include "manager/columns.h"
#include "processes/processinspector.h"
#include "ui/pageframe.h"
#include "ui/tabmenu.h"

#include <QObject>
#include <QTimer>

#include <optional>

class KilnUtil_TableWidget;
class QBoxLayout;
class QCheckBox;
class QLabel;
class QPoint;
class QPushButton;
class Taskmill_Destinations;
class Taskmill_QueueOwner;
class Taskmill_RowsModel;
class Taskmill_RunningJobs;

/// The tab that shows the processes of this computer, where the user ends them. They are read on another
/// thread; meanwhile the rows of before stay.
class Taskmill_RunningJobsWidget final : public QObject, public Taskmill_TabWithMenu
{
    Q_OBJECT

public:
    /// All of them outlive this. Makes the page as a child of the parent and begins to read the processes.
    Taskmill_RunningJobsWidget(QWidget *parent, Taskmill_RunningJobs &runningJobs,
                               Taskmill_Destinations &destinations);

    [[nodiscard]] QFrame *Frame() const { return m_frame; }
    void FillMenu(Taskmill_TabMenu &menu) override;
    [[nodiscard]] QString HelpId() const override;
    void FillColumnsMenu(QMenu &menu) override;

public Q_SLOTS:
    void ContextMenuSlot(const QPoint &position);
    void OnlyShowJobsOfKnownJobTypesSlot();
    void RefreshSlot();
    /// The Delete key: does what the entry "Remove" does, where the menu offers it.
    void RemoveSlot();
    /// Shows what was read.
    void RefreshedSlot();

private:
    /// A job of the manager, known by its number: it may end at any time.
    struct Job
    {
        Taskmill_QueueOwner &owner;
        int jobID;
    };

    void BuildPage();
    void BuildTable();
    [[nodiscard]] QBoxLayout *MakeControls();
    void UpdateEmptyText();
    [[nodiscard]] std::optional<Taskmill_ProcessRecord> CurrentProcess() const;
    /// The job whose process that is.
    [[nodiscard]] std::optional<Job> JobOf(const Taskmill_ProcessRecord &process) const;
    /// For the tool tips of the rows.
    [[nodiscard]] QHash<QString, QString> JobTexts() const;
    /// The job that the process belongs to, where the menu offers to remove it.
    [[nodiscard]] std::optional<Job> JobToRemove(const Taskmill_ProcessRecord &process) const;
    void OfferToRemove(const Job &job, Taskmill_TabMenu &menu);
    void OfferToKill(const Taskmill_ProcessRecord &process, Taskmill_TabMenu &menu);

    Taskmill_RunningJobs &m_runningJobs;
    Taskmill_Destinations &m_destinations;
    const Taskmill_Columns<Taskmill_ProcessRecord> &m_columns;
    const int m_idColumn; ///< of the process
    Taskmill_PageFrame m_frame;
    KilnUtil_TableWidget *m_table = nullptr;
    Taskmill_RowsModel *m_model = nullptr;
    QPushButton *m_refresh = nullptr;
    QCheckBox *m_onlyKnown = nullptr;
    QLabel *m_reading = nullptr;
    QLabel *m_readAt = nullptr;
    QTimer m_readingTimer; ///< a short reading is not shown
};
