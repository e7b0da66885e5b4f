// SPDX-License-Identifier: MIT
#include "ui/openfilesoptionspage.h"

#include "ui/openfilescontrols.h"
#include "ui/openfileslist.h"
#include "ui/openfilessettings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;
using namespace Taskmill_OpenFilesControls;

namespace {
namespace Settings = Taskmill_OpenFilesSettings;

const QString duplicatesKey = u"Allow Duplicate Files"_s;
const QString detailKey = u"File List Detail"_s;
const QString startWithBrowserKey = u"Start with File Browser if Initial File List is Empty"_s;
const QString nativeBrowserKey = u"Use Native File Browser"_s;
} // namespace

Taskmill_OpenFilesOptionsPage::Taskmill_OpenFilesOptionsPage(QWidget *parent)
    : QWidget{parent}
    , m_nativeBrowser{new QCheckBox{u"Use Native File Browser"_s}}
    , m_startWithBrowser{new QCheckBox{u"Start with File Browser if Initial File List is Empty"_s}}
    , m_allowDuplicates{new QCheckBox{u"Allow Duplicate Files"_s}}
    , m_detail{new QComboBox}
{
    SetKey(*m_nativeBrowser, u"Alt+N"_s, u"The file dialog of the desktop instead of the program's own"_s);
    SetKey(*m_startWithBrowser, u"Alt+B"_s, u"Look for files as soon as the dialog opens without any"_s);
    SetKey(*m_allowDuplicates, u"Alt+L"_s, u"A file may be in the list more than once"_s);
    m_detail->addItems({u"Low"_s, u"Medium"_s, u"High"_s});
    connect(m_detail, &QComboBox::activated, this, &Taskmill_OpenFilesOptionsPage::FileListDetailSlot);

    auto *detail = new QHBoxLayout;
    detail->addWidget(MakeLabel(u"File List Detail:  "_s, m_detail));
    detail->addWidget(m_detail);
    detail->addStretch(1);
    auto *help = new QHBoxLayout;
    help->addStretch(1);
    help->addWidget(MakeHelpButton(u"taskmill/openfiles_adv_ui"_s));

    auto *group = new QGroupBox{u"UI Options"_s};
    auto *layout = new QVBoxLayout{group};
    layout->addWidget(m_nativeBrowser);
    layout->addWidget(m_startWithBrowser);
    layout->addLayout(detail);
    layout->addWidget(m_allowDuplicates);
    layout->addLayout(help);
    auto *pageLayout = new QVBoxLayout{this};
    pageLayout->addWidget(group);
    pageLayout->addStretch(1);
    SetFocusKey(*m_detail, u"Alt+I"_s);
}

void Taskmill_OpenFilesOptionsPage::Load()
{
    Settings::LoadIndex(*m_detail, detailKey, Taskmill_OpenFilesList::HighDetail);
    Settings::Load(*m_allowDuplicates, duplicatesKey, false);
    Settings::Load(*m_startWithBrowser, startWithBrowserKey, false);
    Settings::Load(*m_nativeBrowser, nativeBrowserKey, true);
    Q_EMIT DetailSignal(m_detail->currentIndex());
}

void Taskmill_OpenFilesOptionsPage::Store() const
{
    Settings::StoreIndex(*m_detail, detailKey);
    Settings::Store(*m_allowDuplicates, duplicatesKey);
    Settings::Store(*m_startWithBrowser, startWithBrowserKey);
    Settings::Store(*m_nativeBrowser, nativeBrowserKey);
}

void Taskmill_OpenFilesOptionsPage::SetDefaults()
{
    m_nativeBrowser->setChecked(true);
    m_startWithBrowser->setChecked(false);
    m_allowDuplicates->setChecked(false);
    m_detail->setCurrentIndex(Taskmill_OpenFilesList::HighDetail);
    Q_EMIT DetailSignal(Taskmill_OpenFilesList::HighDetail);
}

bool Taskmill_OpenFilesOptionsPage::UsesNativeBrowser() const
{
    return m_nativeBrowser->isChecked();
}

bool Taskmill_OpenFilesOptionsPage::StartsWithBrowser() const
{
    return m_startWithBrowser->isChecked();
}

bool Taskmill_OpenFilesOptionsPage::AllowsDuplicates() const
{
    return m_allowDuplicates->isChecked();
}

void Taskmill_OpenFilesOptionsPage::FileListDetailSlot(int level)
{
    Q_EMIT DetailSignal(level);
}
