#include "ui/rowsmodel.h"

#include "kilnutil/tablesortproxy.h"
#include "kilnutil/tablewidget.h"
#include "support/testutil.h"

#include <QAbstractItemModelTester>
#include <QScrollBar>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Rows with a key and a text, such as "7 water".
QList<QStringList> Rows(const QStringList &texts)
{
    QList<QStringList> rows;
    for (const QString &text : texts)
        rows.append({text.section(u' ', 0, 0), text.section(u' ', 1), u"same"_s});
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
    void TellsOnlyWhatDiffers();
    void ViewKeepsItsPlace();
    void SortsNumbersByValue();
    void MarksFollowTheirRows();

private:
    Taskmill_RowsModel m_model{{u"ID"_s, u"Name"_s, u"Other"_s}, 0, {0}, nullptr};
};

void TestRowsModel::ShowsWhatItIsGiven_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("after");
    const QStringList five{u"1 a"_s, u"2 b"_s, u"3 c"_s, u"4 d"_s, u"5 e"_s};
    const QStringList none;
    QTest::newRow("first rows") << none << five;
    QTest::newRow("all go") << five << none;
    QTest::newRow("all others") << five << QStringList{u"6 a"_s, u"7 b"_s};
    QTest::newRow("gone at both ends and within") << five << QStringList{u"2 b"_s, u"4 d"_s};
    QTest::newRow("new at both ends and within")
        << QStringList{u"2 b"_s, u"4 d"_s} << QStringList{u"1 a"_s, u"2 b"_s, u"3 c"_s, u"4 d"_s, u"5 e"_s};
    QTest::newRow("other order") << five << QStringList{u"5 e"_s, u"1 a"_s, u"4 d"_s, u"2 b"_s, u"3 c"_s};
    QTest::newRow("all at once") << five << QStringList{u"9 i"_s, u"5 E"_s, u"8 h"_s, u"2 b"_s, u"1 a"_s};
    QTest::newRow("repeated and empty keys") << QStringList{u"1 a"_s, u"1 b"_s, u" c"_s, u" d"_s}
                                             << QStringList{u" x"_s, u"1 b"_s, u"1 a"_s, u" c"_s};
}

void TestRowsModel::ShowsWhatItIsGiven()
{
    QFETCH(const QStringList, before);
    QFETCH(const QStringList, after);
    const QAbstractItemModelTester tester{&m_model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    m_model.SetRows(Rows(before));
    const QPersistentModelIndex second = m_model.index(1, 1);
    m_model.SetRows(Rows(after));
    QCOMPARE(Shown(m_model), after);
    QCOMPARE(m_model.index(after.size() - 1, 2).data(KilnUtil_TableSortProxy::PositionRole).toInt(),
             after.isEmpty() ? 0 : after.size() - 1);
    // "2 b" is where it went to.
    if (before.contains(u"2 b"_s) && after.contains(u"2 b"_s) && before.indexOf(u"2 b"_s) == 1)
        QCOMPARE(second.row(), after.indexOf(u"2 b"_s));
}

void TestRowsModel::TellsOnlyWhatDiffers()
{
    m_model.SetRows(Rows({u"1 a"_s, u"2 b"_s, u"3 c"_s, u"5 e"_s}));
    const QSignalSpy inserted{&m_model, &QAbstractItemModel::rowsInserted};
    const QSignalSpy removed{&m_model, &QAbstractItemModel::rowsRemoved};
    const QSignalSpy changed{&m_model, &QAbstractItemModel::dataChanged};
    const QSignalSpy moved{&m_model, &QAbstractItemModel::layoutChanged};
    const QSignalSpy reset{&m_model, &QAbstractItemModel::modelReset};
    m_model.SetRows(Rows({u"1 a"_s, u"2 b"_s, u"3 c"_s, u"5 e"_s}));
    QCOMPARE(inserted.size() + removed.size() + changed.size(), 0);
    m_model.SetRows(Rows({u"2 b"_s, u"3 C"_s, u"4 d"_s, u"5 e"_s}));
    QCOMPARE(removed.size(), 1);
    QCOMPARE(inserted.size(), 1);
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed[0][0].toModelIndex(), m_model.index(1, 1));
    QCOMPARE(changed[0][1].toModelIndex(), m_model.index(1, 1));
    QVERIFY(changed[0][2].value<QList<int>>().contains(KilnUtil_TableSortProxy::SortRole));
    QCOMPARE(moved.size() + reset.size(), 0);
}

void TestRowsModel::ViewKeepsItsPlace()
{
    QStringList texts;
    for (int key = 0; key < 200; ++key)
        texts += u"%1 name%2"_s.arg(key).arg(999 - key);
    KilnUtil_TableWidget table{nullptr};
    table.SetSourceModel(&m_model);
    m_model.SetRows(Rows(texts));
    table.resize(300, 200);
    table.sortByColumn(1, Qt::AscendingOrder);
    table.show();
    table.selectRow(100);
    const QString current = table.currentIndex().siblingAtColumn(0).data().toString();
    table.scrollTo(table.currentIndex(), QAbstractItemView::PositionAtTop);

    // Others go, others change, one comes first, and one that changes moves within the order.
    texts.removeAt(150);
    texts.removeAt(3);
    texts.append(u"500 aaa"_s);
    texts[10] = u"10 zzz"_s;
    m_model.SetRows(Rows(texts));
    QCOMPARE(table.currentIndex().siblingAtColumn(0).data().toString(), current);
    QCOMPARE(table.selectionModel()->selectedRows().size(), 1);
    QCOMPARE(table.selectionModel()->selectedRows()[0].data().toString(), current);
    QVERIFY(table.viewport()->rect().contains(table.visualRect(table.currentIndex()).center()));
    QCOMPARE(table.model()->index(0, 1).data().toString(), u"aaa"_s);
    QCOMPARE(table.model()->index(table.model()->rowCount() - 1, 1).data().toString(), u"zzz"_s);

    // A change of every row keeps the order too.
    for (QString &text : texts)
        text.replace(u' ', u" b"_s);
    m_model.SetRows(Rows(texts));
    QStringList names;
    for (int row = 0; row < table.model()->rowCount(); ++row)
        names += table.model()->index(row, 1).data().toString();
    QVERIFY(std::ranges::is_sorted(names));
    QCOMPARE(table.selectionModel()->selectedRows()[0].data().toString(), current);
}

void TestRowsModel::SortsNumbersByValue()
{
    KilnUtil_TableWidget table{nullptr};
    table.SetSourceModel(&m_model);
    m_model.SetRows(Rows({u"9 a"_s, u"10 b"_s, u" none"_s, u"-1 c"_s, u"5000000000 d"_s}));
    QCOMPARE(Shown(*table.model()),
             (QStringList{u"-1 c"_s, u"9 a"_s, u"10 b"_s, u"5000000000 d"_s, u" none"_s}));
}

void TestRowsModel::MarksFollowTheirRows()
{
    const auto isMarked = [this](int row, int column) {
        return m_model.index(row, column).data(Qt::ForegroundRole).value<QColor>() == QColor{Qt::red};
    };
    m_model.SetRows(Rows({u"1 a"_s, u"2 <b>"_s}));
    m_model.SetMarkColour(Qt::red);
    m_model.MarkCells(1, {u"2"_s}, u"gone"_s);
    QVERIFY(isMarked(1, 1) && !isMarked(1, 0) && !isMarked(0, 1));
    QVERIFY(m_model.index(1, 1).data(Qt::ToolTipRole).toString().contains(u"&lt;b&gt;"_s));
    QCOMPARE(m_model.index(1, 1).data(Qt::AccessibleDescriptionRole).toString(), u"gone"_s);
    QVERIFY(!m_model.index(0, 1).data(Qt::ToolTipRole).isValid());

    m_model.SetRows(Rows({u"2 <b>"_s, u"3 c"_s}));
    QVERIFY(isMarked(0, 1) && !isMarked(1, 1));
    const QSignalSpy changed{&m_model, &QAbstractItemModel::dataChanged};
    m_model.MarkCells(1, {u"3"_s}, u"gone"_s);
    m_model.MarkCells(1, {u"3"_s}, u"gone"_s);
    QCOMPARE(changed.size(), 1);
    QVERIFY(isMarked(1, 1) && !isMarked(0, 1));
}

QTEST_MAIN(TestRowsModel)
#include "test_rowsmodel.moc"
