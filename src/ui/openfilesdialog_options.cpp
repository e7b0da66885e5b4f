// SPDX-License-Identifier: MIT
#include "kilnutil/registry.h"
#include "ui/openfilesdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString group = u"Open Files"_s;
const QString destinationKey = u"Destination Queue"_s;
const QString duplicatesKey = u"Allow Duplicate Files"_s;
const QString detailKey = u"File List Detail"_s;
const QString startWithBrowserKey = u"Start with File Browser if Initial File List is Empty"_s;
const QString nativeBrowserKey = u"Use Native File Browser"_s;
const QString openAsKey = u"Open as"_s;
const QString sortingKey = u"Sorting"_s;
const QString retainSettingsKey = u"Retain Settings"_s;
const QString fileOpenDataKey = u"File Open Options"_s;
const QString lastAddFileTypeKey = u"Last Add File Type"_s;

std::optional<int> StoredNumber(const QString &key)
{
    QString text;
    bool isNumber = false;
    if (!KilnUtil_Registry::GetAppUserData(group, key, text))
        return std::nullopt;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional{number} : std::nullopt;
}

void StoreNumber(const QString &key, int number)
{
    KilnUtil_Registry::PutAppUserData(group, key, QString::number(number));
}

void Load(QCheckBox &box, const QString &key, bool byDefault)
{
    const int number = StoredNumber(key).value_or(-1);
    box.setChecked(number == 0 || number == 1 ? number == 1 : byDefault);
}

void LoadIndex(QComboBox &box, const QString &key, int byDefault)
{
    const int index = StoredNumber(key).value_or(-1);
    box.setCurrentIndex(index >= 0 && index < box.count() ? index : byDefault);
}
} // namespace

void Taskmill_OpenFilesDialog::LoadOptions()
{
    const int destination = m_destQueue->findData(StoredNumber(destinationKey).value_or(0));
    m_destQueue->setCurrentIndex(qMax(destination, 0));
    LoadIndex(*m_openAs, openAsKey, 0);
    LoadIndex(*m_detail, detailKey, Taskmill_OpenFilesList::HighDetail);
    Load(*m_allowDuplicates, duplicatesKey, false);
    Load(*m_startWithBrowser, startWithBrowserKey, false);
    Load(*m_nativeBrowser, nativeBrowserKey, true);
    Load(*m_sorting, sortingKey, false);
    Load(*m_retainSettings, retainSettingsKey, false);

    QString text;
    (void)KilnUtil_Registry::GetAppUserData(group, fileOpenDataKey, text);
    m_fileOpenData = KilnUtil_FileOpenData::FromText(text);
    m_lastAddFileType = StoredNumber(lastAddFileTypeKey).value_or(-1);
    m_list->SetDetail(m_detail->currentIndex());
    ApplyFileOpenData();
}

void Taskmill_OpenFilesDialog::SaveOptions() const
{
    StoreNumber(destinationKey, m_destQueue->currentData().toInt());
    StoreNumber(openAsKey, m_openAs->currentIndex());
    StoreNumber(detailKey, m_detail->currentIndex());
    StoreNumber(duplicatesKey, m_allowDuplicates->isChecked() ? 1 : 0);
    StoreNumber(startWithBrowserKey, m_startWithBrowser->isChecked() ? 1 : 0);
    StoreNumber(nativeBrowserKey, m_nativeBrowser->isChecked() ? 1 : 0);
    StoreNumber(sortingKey, m_sorting->isChecked() ? 1 : 0);
    StoreNumber(retainSettingsKey, m_retainSettings->isChecked() ? 1 : 0);
    KilnUtil_Registry::PutAppUserData(group, fileOpenDataKey, m_fileOpenData.ToText());
    StoreNumber(lastAddFileTypeKey, m_lastAddFileType);
}

void Taskmill_OpenFilesDialog::ApplyFileOpenData()
{
    const bool known =
        m_fileOpenData.SortColumn >= 0 && m_fileOpenData.SortColumn < Taskmill_OpenFilesList::ColumnCount;
    m_list->header()->setSortIndicator(known ? m_fileOpenData.SortColumn : 0, m_fileOpenData.SortDescending
                                                                                  ? Qt::DescendingOrder
                                                                                  : Qt::AscendingOrder);
}

void Taskmill_OpenFilesDialog::DefaultOptionsSlot()
{
    m_retainSettings->setChecked(false);
    m_fileOpenData = {};
    ApplyFileOpenData();
    m_destQueue->setCurrentIndex(0);
    m_retainFileList->setChecked(false);
    m_lastAddFileType = -1;
    m_nativeBrowser->setChecked(true);
    m_startWithBrowser->setChecked(false);
    m_detail->setCurrentIndex(Taskmill_OpenFilesList::HighDetail);
    m_list->SetDetail(Taskmill_OpenFilesList::HighDetail);
    m_allowDuplicates->setChecked(false);
    m_openAs->setCurrentIndex(0);
    m_sorting->setChecked(false);
    AllowSortingSlot();
    UpdateStates();
}
