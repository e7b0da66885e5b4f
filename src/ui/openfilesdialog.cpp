// SPDX-License-Identifier: MIT
#include "ui/openfilesdialog.h"

#include "ui/openfilescontrols.h"
#include "ui/openfileslistpage.h"
#include "ui/openfilesoptionspage.h"
#include "ui/openfilessettings.h"
#include "widgets/widgetutil.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;
using namespace Taskmill_OpenFilesControls;

static const QString retainSettingsKey = u"Retain Settings"_s;

Taskmill_OpenFilesDialog::Taskmill_OpenFilesDialog(Taskmill_JobStore &store, QWidget *mainWindow)
    : m_store{store}
    , m_mainWindow{mainWindow}
{
}

void Taskmill_OpenFilesDialog::Build()
{
    setWindowTitle(u"Submit Jobs"_s);
    m_optionsPage = new Taskmill_OpenFilesOptionsPage;
    m_listPage = new Taskmill_OpenFilesListPage{m_store, *m_optionsPage};
    m_pages = new QTabWidget;
    m_pages->addTab(m_listPage, u"&File List"_s);
    m_pages->addTab(m_optionsPage, u"&UI Options"_s);
    auto *layout = new QVBoxLayout{this};
    layout->addWidget(m_pages, 1);
    layout->addLayout(MakeButtonRow());
    connect(m_listPage, &Taskmill_OpenFilesListPage::CheckedSignal, m_submit,
            [this](int count) { m_submit->setEnabled(count > 0); });
}

QLayout *Taskmill_OpenFilesDialog::MakeButtonRow()
{
    auto *defaults = new QPushButton{u"Default Settings"_s};
    defaults->setAutoDefault(false);
    GiveRoom(*defaults);
    SetKey(*defaults, u"Alt+D"_s, u"Set all options back, also those of the other page"_s);
    m_retainSettings = new QCheckBox{u"Retain Settings"_s};
    SetKey(*m_retainSettings, u"Alt+R"_s, u"Choose this job type and queue again the next time"_s);
    m_submit = new QPushButton{u"Submit"_s};
    m_submit->setDefault(true);
    SetKey(*m_submit, u"Alt+S"_s, u"Make a job of each checked file"_s);
    auto *cancel = new QPushButton{u"Cancel"_s};
    KilnUtil_WidgetUtil::MatchMinimumWidths({m_submit, cancel});
    connect(defaults, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::DefaultOptionsSlot);
    connect(m_submit, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &Taskmill_OpenFilesDialog::reject);

    auto *row = new QHBoxLayout;
    row->addWidget(defaults);
    row->addWidget(m_retainSettings);
    row->addStretch(1);
    row->addWidget(m_submit);
    row->addWidget(cancel);
    return row;
}

std::optional<Taskmill_SubmitChoice> Taskmill_OpenFilesDialog::AskForJobs(const QString &caption,
                                                                          const Taskmill_SubmitChoice &preset)
{
    if (isVisible())
        return std::nullopt;
    if (!m_pages)
        Build();
    Prepare(caption);
    m_listPage->PresetFiles(preset);
    // What the caller leaves open is as it was the last time only when the user wants that.
    m_listPage->PresetChoice(preset, m_retainSettings->isChecked());
    m_listPage->FocusOnFirst();
    // As soon as it is shown.
    QTimer::singleShot(0, this, [this, browse = m_listPage->IsEmpty() && m_optionsPage->StartsWithBrowser()] {
        raise();
        activateWindow();
        if (browse)
            m_listPage->FilePathBrowseSlot();
    });
    const bool accepted = exec() == QDialog::Accepted;
    // When the program quits, exec() returns with the dialog still shown.
    hide();
    return accepted ? std::optional{m_listPage->Choice()} : std::nullopt;
}

void Taskmill_OpenFilesDialog::Prepare(const QString &caption)
{
    if (m_mainWindow)
        setWindowIcon(m_mainWindow->windowIcon());
    m_pages->setCurrentIndex(0);
    m_optionsPage->Load();
    m_listPage->Prepare(caption);
    Taskmill_OpenFilesSettings::Load(*m_retainSettings, retainSettingsKey, false);
    Place();
}

void Taskmill_OpenFilesDialog::Place()
{
    const bool inFront = KilnUtil_WidgetUtil::CanBeInFrontOf(m_mainWindow);
    create();
    windowHandle()->setTransientParent(inFront ? m_mainWindow->windowHandle() : nullptr);

    // Another window, such as the manual, need not wait for it.
    setWindowModality(inFront ? Qt::WindowModal : Qt::ApplicationModal);
    const QRect available = (inFront ? m_mainWindow->screen() : screen())->availableGeometry();
    resize(sizeHint().boundedTo(available.size() * 9 / 10));
    KilnUtil_WidgetUtil::CentreOn(this, available);
}

void Taskmill_OpenFilesDialog::accept()
{
    m_optionsPage->Store();
    m_listPage->Store();
    Taskmill_OpenFilesSettings::Store(*m_retainSettings, retainSettingsKey);
    QDialog::accept();
}

void Taskmill_OpenFilesDialog::DefaultOptionsSlot()
{
    m_retainSettings->setChecked(false);
    m_optionsPage->SetDefaults();
    m_listPage->SetDefaults();
}
