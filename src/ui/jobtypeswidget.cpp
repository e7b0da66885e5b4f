// SPDX-License-Identifier: MIT
#include "ui/jobtypeswidget.h"

#include "jobs/defaultjobtypes.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/error.h"
#include "kilnutil/filecheck.h"
#include "manager/listings.h"
#include "ui/contextmenu.h"
#include "ui/newjobtypewidget.h"
#include "ui/rowsmodel.h"
#include "widgets/tablewidget.h"

#include <QAccessible>
#include <QEvent>
#include <QFrame>
#include <QLabel>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString helpId = u"taskmill/jobtypes"_s;
constexpr QColor redOnLight{190, 0, 0};
constexpr QColor redOnDark{255, 128, 120};
constexpr int darkestLightValue = 128;

struct DefaultEntry
{
    QLatin1StringView text;
    void (*add)(Taskmill_JobTypeList &list);
};
constexpr std::array<DefaultEntry, 8> defaultEntries{{
    {"Add Default Job Types"_L1, &Taskmill_AddDefaultJobTypes},
    {"Add Default Veltra Job Types"_L1, &Taskmill_AddDefaultVeltra},
    {"Add Default Gaussian Job Type"_L1, &Taskmill_AddDefaultGaussian},
    {"Add Default GMMX Job Type"_L1, &Taskmill_AddDefaultGMMX},
    {"Add Default Cubegen Job Type"_L1, &Taskmill_AddDefaultCubegen},
    {"Add Default Formchk Job Type"_L1, &Taskmill_AddDefaultFormchk},
    {"Add Default Freqchk Job Type"_L1, &Taskmill_AddDefaultFreqchk},
    {"Add Default Cubman Job Type"_L1, &Taskmill_AddDefaultCubman},
}};
/// The programs that the entries behind the first look for; GaussianW counts as Gaussian.
constexpr std::array<QLatin1StringView, defaultEntries.size() - 1> defaultPrograms{
    "Veltra"_L1, "Gaussian"_L1, "GMMX"_L1, "Cubegen"_L1, "Formchk"_L1, "Freqchk"_L1, "Cubman"_L1};

bool IsConfirmed(const QString &title, const QString &text)
{
    using Mode = KilnUtil_Error::WarnMode;
    using Answer = KilnUtil_Error::WarnAnswer;
    return KilnUtil_Error::ReportWarning(title, text, Mode::YesNo, Answer::None) == Answer::Yes;
}
} // namespace

/// The entries of the menu that has been shown. None is ever disabled: those that find nothing to work on do
/// nothing.
struct Taskmill_JobTypesWidget::Entries
{
    const QAction *add;
    const QAction *edit;
    const QAction *remove;
    const QAction *removeAll;
    std::array<const QAction *, defaultEntries.size()> addDefaults{};

    explicit Entries(Taskmill_TabMenu &menu)
        : add{menu.AddEntry(u"Add Job Type"_s)}
        , edit{menu.AddEntry(u"Edit Selected Job Type"_s)}
        , remove{menu.AddEntry(u"Remove Selected Job Type"_s)}
        , removeAll{menu.AddEntry(u"Remove All Job Types"_s)}
    {
        menu.AddSeparator();
        for (size_t index = 0; index < addDefaults.size(); ++index) {
            addDefaults[index] = menu.AddEntry(defaultEntries[index].text);
            if (index == 0)
                menu.AddSeparator();
        }
        menu.AddSeparator();
        menu.AddHelp(helpId);
    }
};

Taskmill_JobTypesWidget::Taskmill_JobTypesWidget(QWidget *parent, Taskmill_JobTypeList &jobTypes)
    : m_list{jobTypes}
    , m_columns{Taskmill_Listings::JobTypes()}
    , m_idColumn{m_columns.IndexOf(&Taskmill_JobType::JobTypeID)}
    , m_frame{parent}
{
    BuildTable();
    FillTable();
    connect(&m_list, &Taskmill_JobTypeList::JobTypesChangedSignal, this, &Taskmill_JobTypesWidget::FillTable);
}

void Taskmill_JobTypesWidget::BuildTable()
{
    m_model = new Taskmill_RowsModel{m_columns.Headers(), m_idColumn, m_columns.NumberColumns(), this};
    m_table = new KilnUtil_TableWidget{m_frame};
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAccessibleName(u"Job Types"_s);
    m_table->SetEmptyText(
        u"No job type is here, so no job can run.\nClick with the right mouse button to add "
        "one, or the default job types of the programs that are installed."_s);
    m_table->SetSourceModel(m_model);
    m_table->SetColumnHints(m_columns.Widths());
    m_table->RememberColumns(u"Job_Types"_s);
    UpdateMarkColour();

    auto *layout = m_frame.MakeLayout();
    layout->addWidget(m_table);
    m_note = new QLabel{m_frame};
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);
    m_note->hide();
    layout->addWidget(m_note);
    m_frame->setFocusProxy(m_table);
    m_frame->installEventFilter(this);

    connect(m_table, &QWidget::customContextMenuRequested, this, &Taskmill_JobTypesWidget::ContextMenuSlot);
    connect(m_table, &KilnUtil_TableWidget::cellDoubleClicked, this,
            &Taskmill_JobTypesWidget::CellDoubleClickedSlot);
    connect(m_table, &KilnUtil_TableWidget::RemoveRequestedSignal, this,
            &Taskmill_JobTypesWidget::RemoveSlot);
}

bool Taskmill_JobTypesWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        UpdateMarkColour();
    return QObject::eventFilter(watched, event);
}

void Taskmill_JobTypesWidget::UpdateMarkColour()
{
    const bool isDark = m_frame->palette().color(QPalette::Base).value() < darkestLightValue;
    m_model->SetMarkColour(isDark ? redOnDark : redOnLight);
}

void Taskmill_JobTypesWidget::FillTable()
{
    m_list.Refresh();
    m_jobTypes = m_list.IsStoreOpen() ? m_list.GetAll() : QList<Taskmill_JobType>{};
    if (m_frame)
        ShowRows();
}

void Taskmill_JobTypesWidget::ShowRows()
{
    QList<QStringList> rows;
    QStringList programs;
    for (const Taskmill_JobType &jobType : std::as_const(m_jobTypes)) {
        rows.append(m_columns.Row(jobType));
        programs.append(jobType.ExecutablePath);
    }
    m_table->ChangeRows([&] { m_model->SetRows(rows); });
    KilnUtil_FileCheck::Of(*m_frame).Find(programs, KilnUtil_FileCheck::IsFile,
                                          [this](const QStringList &found) { MarkMissingPrograms(found); });
}

void Taskmill_JobTypesWidget::MarkMissingPrograms(const QStringList &found)
{
    QSet<QString> withoutProgram;
    for (const Taskmill_JobType &jobType : std::as_const(m_jobTypes)) {
        if (!found.contains(jobType.ExecutablePath))
            withoutProgram.insert(m_columns.Row(jobType)[m_idColumn]);
    }
    m_table->ChangeRows([&] {
        m_model->MarkCells(m_columns.IndexOf(&Taskmill_JobType::ExecutablePath), withoutProgram,
                           u"There is no such file."_s);
    });
}

Taskmill_JobType Taskmill_JobTypesWidget::CurrentJobType() const
{
    if (!m_frame || !m_table->currentIndex().isValid())
        return {};
    bool isNumber = false;
    const int id = m_table->currentIndex().siblingAtColumn(m_idColumn).data().toInt(&isNumber);
    return isNumber ? Taskmill_JobTypeWithID(m_jobTypes, id) : Taskmill_JobType{};
}

void Taskmill_JobTypesWidget::ContextMenuSlot(const QPoint &position)
{
    if (!m_frame)
        return;
    Taskmill_ContextMenu menu{*m_table};
    FillMenu(menu);
    menu.Run(position);
}

void Taskmill_JobTypesWidget::FillColumnsMenu(QMenu &menu)
{
    m_table->FillColumnsMenu(menu);
}

QString Taskmill_JobTypesWidget::HelpId() const
{
    return helpId;
}

void Taskmill_JobTypesWidget::FillMenu(Taskmill_TabMenu &menu)
{
    const Entries entries{menu};
    menu.WhenChosen([this, entries](const QAction &chosen) {
        if (!m_frame)
            return;
        Act(entries, &chosen);
        FillTable();
    });
}

void Taskmill_JobTypesWidget::Act(const Entries &entries, const QAction *chosen)
{
    ShowNote({});
    if (chosen == entries.add)
        AddJobType();
    else if (chosen == entries.edit)
        EditCurrentJobType();
    else if (chosen == entries.remove)
        RemoveJobType(CurrentJobType());
    else if (chosen == entries.removeAll)
        RemoveAllJobTypes();
    const auto addDefault = std::ranges::find(entries.addDefaults, chosen);
    if (addDefault != entries.addDefaults.end())
        AddDefaults(static_cast<size_t>(addDefault - entries.addDefaults.begin()));
}

void Taskmill_JobTypesWidget::AddDefaults(size_t entry)
{
    const QStringList before = m_list.Names();
    defaultEntries[entry].add(m_list);
    QStringList added = m_list.Names();
    for (const QString &name : before)
        added.removeOne(name);

    QStringList missing;
    for (size_t program = 0; program < defaultPrograms.size(); ++program) {
        const bool isWanted = entry == 0 || entry == program + 1;
        const bool isAdded = std::ranges::any_of(
            added, [program](const QString &name) { return name.startsWith(defaultPrograms[program]); });
        if (isWanted && !isAdded)
            missing.append(defaultPrograms[program]);
    }
    if (missing.isEmpty())
        return;
    const QString found = added.isEmpty() ? QString{} : u"Added: %1. "_s.arg(added.join(u", "_s));
    ShowNote(found +
             u"Not found on this computer, so not added: %1. \"Add Job Type\" takes a program from "
             "anywhere; the manual says where the others are looked for."_s.arg(missing.join(u", "_s)));
}

void Taskmill_JobTypesWidget::ShowNote(const QString &text)
{
    m_note->setText(text);
    m_note->setVisible(!text.isEmpty());
    if (text.isEmpty())
        return;
    // Read aloud without being looked for.
    QAccessibleEvent event{m_note, QAccessible::Alert};
    QAccessible::updateAccessibility(&event);
}

void Taskmill_JobTypesWidget::CellDoubleClickedSlot(int, int)
{
    EditCurrentJobType();
}

void Taskmill_JobTypesWidget::EditSlot()
{
    EditCurrentJobType();
}

void Taskmill_JobTypesWidget::RemoveSlot()
{
    const Taskmill_JobType jobType = CurrentJobType();
    if (jobType.IsEmpty())
        return;
    RemoveJobType(jobType);
    FillTable();
}

void Taskmill_JobTypesWidget::RemoveJobType(const Taskmill_JobType &jobType)
{
    const bool confirmed =
        IsConfirmed(u"Remove Job Type"_s,
                    u"Are you sure you want to remove the following Job Type?\n\n"_s + jobType.Name);
    // Without a current job type the key would be that of the first one stored.
    if (confirmed && !jobType.IsEmpty())
        m_list.Remove(jobType);
}

void Taskmill_JobTypesWidget::RemoveAllJobTypes()
{
    if (IsConfirmed(u"Remove All Job Types"_s, u"Are you sure you want to remove all Job Types?"_s))
        m_list.RemoveAll();
}

/// Runs the editor until what it holds is stored or the user gives up. Nothing that was typed is lost when it
/// cannot be stored.
template <typename Store>
void Taskmill_JobTypesWidget::RunEditor(Taskmill_NewJobTypeWidget &editor, Store store)
{
    while (editor.exec() == QDialog::Accepted) {
        const QString reason = store(editor.Read());
        if (reason.isEmpty())
            return;
        KilnUtil_Error::ReportError(editor.windowTitle(), u"The job type could not be stored. "_s + reason);
    }
}

void Taskmill_JobTypesWidget::AddJobType()
{
    Taskmill_NewJobTypeWidget editor{m_frame};
    RunEditor(editor, [this](const Taskmill_JobType &jobType) { return m_list.TryToAdd(jobType); });
}

void Taskmill_JobTypesWidget::EditCurrentJobType()
{
    const Taskmill_JobType before = CurrentJobType();
    if (before.IsEmpty())
        return;
    Taskmill_NewJobTypeWidget editor{m_frame};
    editor.setWindowTitle(u"Edit Job Type"_s);
    editor.Load(before);
    RunEditor(editor, [this, &before](Taskmill_JobType jobType) {
        jobType.JobTypeID = before.JobTypeID;
        // It may have been removed while the editor was open.
        const bool isThere =
            std::ranges::count(m_jobTypes, before.JobTypeID, &Taskmill_JobType::JobTypeID) > 0;
        return isThere ? m_list.TryToUpdate(jobType) : m_list.TryToAdd(jobType);
    });
    FillTable();
}
