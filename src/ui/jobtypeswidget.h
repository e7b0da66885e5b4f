// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"
#include "manager/columns.h"
#include "ui/pageframe.h"
#include "ui/tabmenu.h"

#include <QList>
#include <QObject>
#include <QString>

class KilnUtil_TableWidget;
class QAction;
class QLabel;
class QPoint;
class Taskmill_JobTypeList;
class Taskmill_NewJobTypeWidget;
class Taskmill_RowsModel;

/// The tab that shows the job types of the project, where the user adds, edits and removes them.
class Taskmill_JobTypesWidget final : public QObject, public Taskmill_TabWithMenu
{
    Q_OBJECT

public:
    /// The list outlives this. Makes the page as a child of the parent.
    Taskmill_JobTypesWidget(QWidget *parent, Taskmill_JobTypeList &jobTypes);

    [[nodiscard]] QFrame *Frame() const { return m_frame; }
    [[nodiscard]] KilnUtil_TableWidget &Table() { return *m_table; }

    /// Reads the job types back from the database and shows them.
    void FillTable();
    void FillMenu(Taskmill_TabMenu &menu) override;
    [[nodiscard]] QString HelpId() const override;
    void FillColumnsMenu(QMenu &menu) override;
    /// That of the current row; an empty record when there is none.
    [[nodiscard]] Taskmill_JobType CurrentJobType() const;
    /// Opens the editor for the current job type; without effect when there is none.
    void EditCurrentJobType();

    /// Follows the colours of the desktop, and looks anew for missing executables when the page is shown.
    bool eventFilter(QObject *watched, QEvent *event) override;

public Q_SLOTS:
    void CellDoubleClickedSlot(int row, int column);
    void ContextMenuSlot(const QPoint &position);
    void EditSlot();
    /// The Delete key: removes the current job type after a question.
    void RemoveSlot();

private:
    struct Entries;

    void BuildTable();
    void ShowRows();
    void MarkMissingPrograms(const QStringList &found);
    void UpdateMarkColour();
    void Act(const Entries &entries, const QAction *chosen);
    void AddDefaults(size_t entry);
    void ShowNote(const QString &text);
    void AddJobType();
    void RemoveJobType(const Taskmill_JobType &jobType);
    void RemoveAllJobTypes();
    template <typename Store>
    void RunEditor(Taskmill_NewJobTypeWidget &editor, Store store);

    Taskmill_JobTypeList &m_list;
    const Taskmill_Columns<Taskmill_JobType> &m_columns;
    const int m_idColumn;
    QList<Taskmill_JobType> m_jobTypes; ///< as last read from the database
    Taskmill_PageFrame m_frame;
    KilnUtil_TableWidget *m_table = nullptr;
    Taskmill_RowsModel *m_model = nullptr;
    QLabel *m_note = nullptr; ///< beneath the table: what came of the last menu entry
};
