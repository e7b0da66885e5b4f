#include "ui/rowsmodel.h"

#include "support/testutil.h"

#include <QAbstractItemModelTester>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Rows with a key and a text, such as "7 water".
QList<QStringList> Rows(const QStringList &texts)
{
    QList<QStringList> rows;
    for (const QString &text : texts)
        rows.append({text.section(u' ', 0, 0), text.section(u' ', 1)});
    return rows;
}

QStringList Shown(const QAbstractItemModel &model)
{
    QStringList shown;
    for (int row = 0; row < model.rowCount(); ++row)
        shown += model.index(row, 0).data().toString() + u' ' + model.index(row, 1).data().toString();
    return shown;
}
} // namespace

class TestRowsModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void ShowsWhatItIsGiven_data();
    void ShowsWhatItIsGiven();
};

void TestRowsModel::ShowsWhatItIsGiven_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("after");
    const QStringList five{u"1 a"_s, u"2 b"_s, u"3 c"_s, u"4 d"_s, u"5 e"_s};
    QTest::newRow("all others") << five << QStringList{u"6 a"_s, u"7 b"_s};
    QTest::newRow("gone at both ends and within") << five << QStringList{u"2 b"_s, u"4 d"_s};
    QTest::newRow("new at both ends and within") << QStringList{u"4 d"_s, u"2 b"_s} << five;
    QTest::newRow("all at once") << five << QStringList{u"9 i"_s, u"5 E"_s, u"8 h"_s, u"2 b"_s, u"1 a"_s};
    QTest::newRow("repeated and empty keys") << QStringList{u"1 a"_s, u"2 b"_s, u"1 b"_s, u" c"_s, u" d"_s}
                                             << QStringList{u" x"_s, u"1 b"_s, u"1 a"_s, u"2 b"_s, u" c"_s};
}

void TestRowsModel::ShowsWhatItIsGiven()
{
    QFETCH(const QStringList, before);
    QFETCH(const QStringList, after);
    Taskmill_RowsModel model{{u"ID"_s, u"Name"_s}, 0, {0}, nullptr};
    const QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    model.SetRows(Rows(before));
    const QPersistentModelIndex second = model.index(1, 1);
    model.SetRows(Rows(after));
    QCOMPARE(Shown(model), after);
    QCOMPARE(second.row(), after.indexOf(u"2 b"_s));
}

QTEST_MAIN(TestRowsModel)
#include "test_rowsmodel.moc"
