// SPDX-License-Identifier: MIT
#include "widgets/fileopendata.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_FileOpenData::ToText() const
{
    const QJsonObject object{
        {u"Directory"_s, Directory}, {u"SortColumn"_s, SortColumn}, {u"SortDescending"_s, SortDescending}};
    return QString::fromUtf8(QJsonDocument{object}.toJson(QJsonDocument::Compact));
}

KilnUtil_FileOpenData KilnUtil_FileOpenData::FromText(const QString &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
    return {.Directory = object["Directory"_L1].toString(),
            .SortColumn = object["SortColumn"_L1].toInt(),
            .SortDescending = object["SortDescending"_L1].toBool()};
}
