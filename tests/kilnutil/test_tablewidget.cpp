#include "kilnutil/registry.h"
#include "kilnutil/tablesortproxy.h"
#include "kilnutil/tablewidget.h"
#include "support/testutil.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QStandardItemModel>
#include <QTextDocument>
#include <QToolTip>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class TestTableWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void SortsNumbersAsNumbersAndTextsAsTexts();
    void SelectionSurvivesRefresh();
    void SelectionIsSeenWithoutFocus();
    void KeysActOnTheCurrentRow();
    void MenuKeyAsksAtTheCurrentRow();
    void ShowsElidedTextAsToolTip();
    void RemembersColumns();
    void RestoresColumnsOfOtherVersions_data();
    void RestoresColumnsOfOtherVersions();
    void TakesDroppedFiles_data();
    void TakesDroppedFiles();
    void IgnoresItsOwnRows();
    void ShowsWhereFilesMayBeDropped();
    void TellsWhenItIsEmpty();

private:
    void Fill(const QList<QList<QVariant>> &rows);
    void MakeTable();
    [[nodiscard]] QString Column(int column) const;
    [[nodiscard]] bool Drop(const QMimeData &data, Qt::DropActions actions);

    std::unique_ptr<QTemporaryDir> m_place;
    std::unique_ptr<QStandardItemModel> m_model;
    std::unique_ptr<KilnUtil_TableWidget> m_table;
};

void TestTableWidget::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<QTemporaryDir>();
    KeepSettingsIn(m_place->path());
    KilnUtil_Registry::SetAppData(u"TaskmillGUI"_s, u"1"_s, u"1.1"_s, u"1.1.18"_s, u"TASKMILLPREFS_DIR"_s,
                                  u".taskmillprefs"_s);
    m_model = std::make_unique<QStandardItemModel>(0, 3);
    m_model->setHorizontalHeaderLabels({u"Job ID"_s, u"Name"_s, u"Command Line"_s});
    Fill({{9, u"water"_s, u"short"_s}, {10, u"Benzene"_s, u"x"_s}, {-1, u"acetone"_s, u"y"_s}});
    MakeTable();
}

void TestTableWidget::cleanup()
{
    m_table.reset();
    m_model.reset();
    m_place.reset();
}

void TestTableWidget::MakeTable()
{
    m_table = std::make_unique<KilnUtil_TableWidget>(nullptr);
    m_table->SetSourceModel(m_model.get());
    m_table->SetColumnHints({8, 20, 20});
    m_table->resize(600, 300);
    m_table->show();
    QVERIFY(QTest::qWaitForWindowActive(m_table.get()));
}

void TestTableWidget::Fill(const QList<QList<QVariant>> &rows)
{
    m_model->setRowCount(static_cast<int>(rows.size()));
    for (int row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < rows[row].size(); ++column) {
            auto *item = new QStandardItem{rows[row][column].toString()};
            item->setData(row, KilnUtil_TableSortProxy::PositionRole);
            item->setData(rows[row][column], KilnUtil_TableSortProxy::SortRole);
            m_model->setItem(row, column, item);
        }
    }
}

/// What the user reads down a column, with the positions behind it.
QString TestTableWidget::Column(int column) const
{
    QStringList texts;
    for (int row = 0; row < m_table->model()->rowCount(); ++row) {
        const QModelIndex index = m_table->model()->index(row, column);
        texts.append(u"%1@%2"_s.arg(index.data().toString()).arg(index.data(Qt::UserRole + 2).toInt()));
    }
    return texts.join(u' ');
}

void TestTableWidget::SortsNumbersAsNumbersAndTextsAsTexts()
{
    QCOMPARE(Column(0), u"-1@2 9@0 10@1"_s);
    QCOMPARE(m_table->horizontalHeader()->sortIndicatorSection(), 0);
    m_table->sortByColumn(0, Qt::DescendingOrder);
    QCOMPARE(Column(0), u"10@1 9@0 -1@2"_s);
    m_table->sortByColumn(1, Qt::AscendingOrder);
    QCOMPARE(Column(1), u"acetone@2 Benzene@1 water@0"_s);
}

void TestTableWidget::SelectionSurvivesRefresh()
{
    m_table->sortByColumn(1, Qt::AscendingOrder);
    m_table->selectRow(1);
    m_model->insertRow(0, {new QStandardItem{u"11"_s}, new QStandardItem{u"aaa"_s}});
    QCOMPARE(m_table->currentIndex().siblingAtColumn(1).data().toString(), u"Benzene"_s);
    QCOMPARE(m_table->selectionModel()->selectedRows(1).size(), 1);
    QCOMPARE(m_table->selectionModel()->selectedRows(1).first().data().toString(), u"Benzene"_s);
}

void TestTableWidget::SelectionIsSeenWithoutFocus()
{
    const QPalette before = QApplication::palette();
    QPalette dark = before;
    dark.setColor(QPalette::Active, QPalette::Highlight, Qt::darkMagenta);
    dark.setColor(QPalette::Inactive, QPalette::Highlight, Qt::black);
    QApplication::setPalette(dark);
    QCoreApplication::processEvents();
    const QPalette shown = m_table->palette();
    QApplication::setPalette(before);
    QCoreApplication::processEvents();
    QCOMPARE(shown.color(QPalette::Active, QPalette::Highlight), QColor{Qt::darkMagenta});
    QCOMPARE(shown.color(QPalette::Inactive, QPalette::Highlight), QColor{Qt::darkMagenta});
    QCOMPARE(m_table->palette().color(QPalette::Inactive, QPalette::Highlight),
             before.color(QPalette::Active, QPalette::Highlight));
}

void TestTableWidget::KeysActOnTheCurrentRow()
{
    QSignalSpy activated{m_table.get(), &KilnUtil_TableWidget::cellDoubleClicked};
    QSignalSpy removal{m_table.get(), &KilnUtil_TableWidget::RemoveRequestedSignal};
    m_table->setCurrentIndex({});
    QTest::keyClick(m_table.get(), Qt::Key_Return);
    QVERIFY(activated.isEmpty());

    m_table->setCurrentIndex(m_table->model()->index(1, 2));
    QTest::keyClick(m_table.get(), Qt::Key_Return);
    QTest::keyClick(m_table.get(), Qt::Key_Enter, Qt::KeypadModifier);
    const QPoint cell = m_table->visualRect(m_table->model()->index(2, 1)).center();
    QTest::mouseClick(m_table->viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(m_table->viewport(), Qt::LeftButton, {}, cell);
    QCOMPARE(activated, (QList<QVariantList>{{1, 2}, {1, 2}, {2, 1}}));

    QTest::keyClick(m_table.get(), Qt::Key_Delete, Qt::ControlModifier);
    QVERIFY(removal.isEmpty());
    QTest::keyClick(m_table.get(), Qt::Key_Delete);
    QCOMPARE(removal.size(), 1);
}

void TestTableWidget::MenuKeyAsksAtTheCurrentRow()
{
    QSignalSpy menu{m_table.get(), &QWidget::customContextMenuRequested};
    m_model->setRowCount(200);
    m_table->setCurrentIndex(m_table->model()->index(150, 1));
    QContextMenuEvent event{QContextMenuEvent::Keyboard, {}, m_table->mapToGlobal(QPoint{})};
    QCoreApplication::sendEvent(m_table.get(), &event);
    QCOMPARE(menu.size(), 1);
    QCOMPARE(m_table->indexAt(menu.first().first().toPoint()), m_table->currentIndex());
}

void TestTableWidget::ShowsElidedTextAsToolTip()
{
    const QString command = u"program <input> "_s.repeated(20);
    m_model->item(0, 1)->setText(command);
    const auto toolTipAt = [this](int row, int column) {
        QToolTip::hideText();
        const QPoint place = m_table->visualRect(m_table->model()->index(row, column)).center();
        QHelpEvent event{QEvent::ToolTip, place, m_table->viewport()->mapToGlobal(place)};
        QCoreApplication::sendEvent(m_table->viewport(), &event);
        return QToolTip::text();
    };
    QTextDocument shown;
    shown.setHtml(toolTipAt(1, 1));
    QCOMPARE(shown.toPlainText().simplified(), command.simplified());
    (void)toolTipAt(0, 1);
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestTableWidget::RemembersColumns()
{
    m_table->RememberColumns(u"LongJobsQueue"_s);
    m_table->setColumnWidth(0, 217);
    m_table->horizontalHeader()->moveSection(2, 0);
    MakeTable();
    QVERIFY(m_table->columnWidth(0) != 217);
    m_table->RememberColumns(u"ShortJobsQueue"_s);
    QVERIFY(m_table->columnWidth(0) != 217);
    MakeTable();
    m_table->RememberColumns(u"LongJobsQueue"_s);
    QCOMPARE(m_table->columnWidth(0), 217);
    QCOMPARE(m_table->horizontalHeader()->logicalIndex(0), 2);
}

void TestTableWidget::RestoresColumnsOfOtherVersions_data()
{
    QTest::addColumn<QStringList>("saved");
    QTest::addColumn<QString>("order");
    QTest::addColumn<int>("width"); // of column 1
    QTest::newRow("more columns than now")
        << QStringList{u"5:90"_s, u"2:80"_s, u"1:123"_s, u"0:70"_s, u"3:9"_s} << u"210"_s << 123;
    QTest::newRow("fewer columns than now") << QStringList{u"1:123"_s, u"0:70"_s} << u"102"_s << 123;
    QTest::newRow("the same column twice") << QStringList{u"1:50"_s, u"1:123"_s} << u"102"_s << 123;
    QTest::newRow("damaged") << QStringList{{}, u":"_s, u"x:1"_s, u"1"_s, u"-1:5"_s, u"2:999999999999"_s}
                             << u"102"_s << -1;
    QTest::newRow("absurd width") << QStringList{u"1:2000000000"_s} << u"102"_s << 10'000;
}

void TestTableWidget::RestoresColumnsOfOtherVersions()
{
    QFETCH(const QStringList, saved);
    QFETCH(const int, width);
    KilnUtil_Registry::SetValue(u"/Tables/Finished/Columns"_s, saved);
    m_table->RememberColumns(u"Finished"_s);
    QString order;
    for (int place = 0; place < 3; ++place)
        order += QString::number(m_table->horizontalHeader()->logicalIndex(place));
    QTEST(order, "order");
    if (width > 0)
        QCOMPARE(m_table->columnWidth(1), width);
}

bool TestTableWidget::Drop(const QMimeData &data, Qt::DropActions actions)
{
    QDragEnterEvent enter{QPoint{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(m_table->viewport(), &enter);
    QDropEvent drop{QPointF{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(m_table->viewport(), &drop);
    return drop.isAccepted() && drop.dropAction() != Qt::MoveAction;
}

void TestTableWidget::TakesDroppedFiles_data()
{
    QTest::addColumn<bool>("accepts");
    QTest::addColumn<QList<QUrl>>("urls");
    QTest::addColumn<Qt::DropActions>("actions");
    QTest::addColumn<QStringList>("paths");
    const QUrl file = QUrl::fromLocalFile(u"/tmp/a b/ü.mop"_s);
    const QUrl folder = QUrl::fromLocalFile(u"/tmp"_s);
    const QUrl web{u"https://example.org/a.mop"_s};
    const Qt::DropActions all = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;

    QTest::newRow("files and folders of this computer only")
        << true << QList{file, web, folder} << all << QStringList{u"/tmp/a b/ü.mop"_s, u"/tmp"_s};
    QTest::newRow("as links") << true << QList{file} << Qt::DropActions{Qt::LinkAction}
                              << QStringList{u"/tmp/a b/ü.mop"_s};
    QTest::newRow("never to be moved")
        << true << QList{file} << Qt::DropActions{Qt::MoveAction} << QStringList{};
    QTest::newRow("nothing of this computer") << true << QList{web} << all << QStringList{};
    QTest::newRow("no drops wanted") << false << QList{file} << all << QStringList{};
}

void TestTableWidget::TakesDroppedFiles()
{
    QFETCH(const bool, accepts);
    QFETCH(const QList<QUrl>, urls);
    QFETCH(const Qt::DropActions, actions);
    QFETCH(const QStringList, paths);
    m_table->SetAcceptsFiles(accepts);
    QSignalSpy dropped{m_table.get(), &KilnUtil_TableWidget::DropSignal};
    QMimeData data;
    data.setUrls(urls);
    QCOMPARE(Drop(data, actions), !paths.isEmpty());
    // The other program is let go before anybody acts.
    QVERIFY(dropped.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(dropped.size(), paths.isEmpty() ? 0 : 1);
    if (!paths.isEmpty())
        QCOMPARE(dropped.first().first().toStringList(), paths);
}

void TestTableWidget::IgnoresItsOwnRows()
{
    m_table->SetAcceptsFiles(true);
    const std::unique_ptr<QMimeData> rows{m_table->model()->mimeData({m_table->model()->index(0, 0)})};
    QVERIFY(!Drop(*rows, Qt::MoveAction | Qt::CopyAction));
    QCOMPARE(Column(0), u"-1@2 9@0 10@1"_s);
}

void TestTableWidget::ShowsWhereFilesMayBeDropped()
{
    m_table->SetAcceptsFiles(true);
    const QImage before = m_table->grab().toImage();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(u"/tmp/a.mop"_s)});
    QDragEnterEvent enter{QPoint{20, 20}, Qt::CopyAction, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(m_table->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QVERIFY(m_table->grab().toImage() != before);
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(m_table->viewport(), &leave);
    QVERIFY(m_table->grab().toImage() == before);
}

void TestTableWidget::TellsWhenItIsEmpty()
{
    const QImage full = m_table->grab().toImage();
    m_table->SetEmptyText(u"No jobs are waiting. Drop input files here."_s);
    QVERIFY(m_table->grab().toImage() == full);
    m_model->setRowCount(0);
    const QImage told = m_table->grab().toImage();
    m_table->SetEmptyText({});
    QVERIFY(m_table->grab().toImage() != told);
}

QTEST_MAIN(TestTableWidget)
#include "test_tablewidget.moc"
