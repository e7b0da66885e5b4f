// SPDX-License-Identifier: MIT
#include "db/generaldatastore.h"

#include "db/recordfields.h"

using namespace Qt::Literals::StringLiterals;

bool Taskmill_GeneralDataStore::Insert(const QString &name, const QString &dataStr, bool forceNew,
                                       qint32 *outID)
{
    Taskmill_RecordFields fields{u"GeneralDataID"_s};
    fields.AddText(u"Name"_s, name);
    fields.AddText(u"DataStr"_s, dataStr);
    fields.AddCreationTimes();
    return InsertKeyed(u"GeneralData"_s, fields, name, forceNew, outID);
}

int Taskmill_GeneralDataStore::Set(const QString &name, const QString &dataStr)
{
    QString before;
    if (!Get(name, before))
        return Insert(name, dataStr, false) ? 1 : 0;
    const QString now = Taskmill_JobTime::Now().IsoText();
    if (!IsPlain(name) || !IsPlain(dataStr)) {
        // The outcome of a statement with a quote in its texts does not count.
        InTransaction([&] {
            return Execute(u"UPDATE GeneralData SET DataStr = '"_s + dataStr + u"', LastModified = '"_s +
                           now + u"' WHERE Name = '"_s + name + u"'"_s);
        });
        return 1;
    }
    return InTransaction([&] {
        return RunPrepared(u"UPDATE GeneralData SET DataStr = ?, LastModified = ? WHERE Name = ?"_s,
                           {dataStr.isNull() ? u""_s : dataStr, now, name});
    })
               ? 1
               : 0;
}

bool Taskmill_GeneralDataStore::Get(const QString &name, QString &outDataStr)
{
    if (!Open() || !IsPlain(name))
        return false;
    QSqlQuery *select = Prepared(u"SELECT DataStr FROM GeneralData WHERE Name = ? LIMIT 1"_s);
    if (!select || !Taskmill_DatabaseStatements::Run(*select, {name}))
        return false;
    const bool found = select->next();
    if (found)
        outDataStr = select->value(0).toString();
    select->finish();
    return found;
}
