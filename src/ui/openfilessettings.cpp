// SPDX-License-Identifier: MIT
#include "ui/openfilessettings.h"

#include "kilnutil/registry.h"

#include <QCheckBox>
#include <QComboBox>

using namespace Qt::Literals::StringLiterals;

static const QString group = u"Open Files"_s;

std::optional<int> Taskmill_OpenFilesSettings::Number(const QString &key)
{
    QString text;
    bool isNumber = false;
    if (!KilnUtil_Registry::GetAppUserData(group, key, text))
        return std::nullopt;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional{number} : std::nullopt;
}

void Taskmill_OpenFilesSettings::StoreNumber(const QString &key, int number)
{
    StoreText(key, QString::number(number));
}

QString Taskmill_OpenFilesSettings::Text(const QString &key)
{
    QString text;
    (void)KilnUtil_Registry::GetAppUserData(group, key, text);
    return text;
}

void Taskmill_OpenFilesSettings::StoreText(const QString &key, const QString &text)
{
    KilnUtil_Registry::PutAppUserData(group, key, text);
}

void Taskmill_OpenFilesSettings::Load(QCheckBox &box, const QString &key, bool byDefault)
{
    const int number = Number(key).value_or(-1);
    box.setChecked(number == 0 || number == 1 ? number == 1 : byDefault);
}

void Taskmill_OpenFilesSettings::Store(const QCheckBox &box, const QString &key)
{
    StoreNumber(key, box.isChecked() ? 1 : 0);
}

void Taskmill_OpenFilesSettings::LoadIndex(QComboBox &box, const QString &key, int byDefault)
{
    const int index = Number(key).value_or(-1);
    box.setCurrentIndex(index >= 0 && index < box.count() ? index : byDefault);
}

void Taskmill_OpenFilesSettings::StoreIndex(const QComboBox &box, const QString &key)
{
    StoreNumber(key, box.currentIndex());
}
