// SPDX-License-Identifier: MIT
#include "kilnutil/registry.h"
#include "support/testcase.h"
#include "widgets/contrast.h"
#include "widgets/rowsource.h"
#include "widgets/tablesortproxy.h"
#include "widgets/tablewidget.h"
#include "widgets/widgetprompt.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QStandardItemModel>
#include <QStyledItemDelegate>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Rows whose texts end with an even number can be shown alone.
class FilteredModel final : public QStandardItemModel, public KilnUtil_RowSource
{
public:
    using QStandardItemModel::QStandardItemModel;

    bool ShowsEvenOnly = false;
    bool IsLong = false; ///< sorted by ranks, which the test gives
    TakeRanks TakesRanks;

    [[nodiscard]] bool HasManyRows() const override { return IsLong; }
    void FindRanks(int, const TakeRanks &take) override { TakesRanks = take; }
    [[nodiscard]] bool HasFilter() const override { return ShowsEvenOnly; }
    [[nodiscard]] bool IsWanted(int row) const override
    {
        return !ShowsEvenOnly || (item(row)->text().back().digitValue() % 2) == 0;
    }
};
} // namespace

/// The table and the questions.
class TestWidgets : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { KilnUtil_Contrast::KeepPlaceholdersReadable(); }
    void init() override
    {
        TestCase::init();
        m_table = MakeTable();
    }
    void cleanup() override
    {
        m_table.reset();
        TestCase::cleanup();
    }

    void SavedColumnsMayBeNonsense()
    {
        KeepSettingsIn(m_place.path());
        KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
        // What other versions have left, and nonsense.
        const QStringList saved{u"5:90"_s, u"1:123"_s,          u":"_s,    u"x:1"_s,         u"1"_s,
                                u"-1:5"_s, u"2:999999999999"_s, u"1:50"_s, u"1:2000000000"_s};
        KilnUtil_Registry::SetValue(u"/Tables/Finished/Columns"_s, saved);
        m_table->RememberColumns(u"Finished"_s);
        QCOMPARE(m_table->columnWidth(1), 10'000);
    }

    void TheLatestEntriesAreKeptOnce()
    {
        KeepSettingsIn(m_place.path());
        QStringList entries{u"/1"_s, {}, u"/1"_s};
        for (int number = 2; number <= 12; ++number)
            entries.append(u"/%1"_s.arg(number));
        const QStringList kept = QStringList{u"/1"_s} + entries.sliced(3, 9);
        KilnUtil_Registry::PutRecentDirs(entries);
        KilnUtil_Registry::PutRecentJobInputFiles(entries.sliced(2));
        QCOMPARE(KilnUtil_Registry::GetRecentDirs(), kept);
        QCOMPARE(KilnUtil_Registry::GetRecentJobInputFiles(), kept);
        QCOMPARE(KilnUtil_Registry::GetRecentOpenStructureFileLists(), QList<QStringList>{});
        KilnUtil_Registry::PutRecentOpenStructureFileLists({entries, kept, entries});
        QCOMPARE(KilnUtil_Registry::GetRecentOpenStructureFileLists(), (QList<QStringList>{entries, kept}));
    }

    /// The setting before a version of the program, and what is shown then, from the left.
    void ColumnsAreRemembered_data()
    {
        QTest::addColumn<QStringList>("saved");
        QTest::addColumn<QList<int>>("shown");
        QTest::newRow("at first") << QStringList{} << QList{0, 3, 1};
        QTest::newRow("before there were so many") << QStringList{u"1:70"_s, u"0:0"_s} << QList{1, 0, 3};
        QTest::newRow("hidden and moved")
            << QStringList{u"3:80"_s, u"2:60"_s, u"1:0:hidden"_s, u"0:0"_s} << QList{3, 2, 0};
        QTest::newRow("none is left")
            << QStringList{u"0:0:hidden"_s, u"1:0:hidden"_s, u"2:0:hidden"_s, u"3:0:hidden"_s} << QList{0};
    }

    void ColumnsAreRemembered()
    {
        QFETCH(const QStringList, saved);
        QFETCH(const QList<int>, shown);
        KeepSettingsIn(Path());
        KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
        if (!saved.isEmpty())
            KilnUtil_Registry::SetValue(u"/Tables/Jobs/Columns"_s, saved);
        m_model.setColumnCount(4);
        const auto makeTable = [this] {
            m_table = MakeTable();
            m_table->SetColumnsAtFirst({2}, {{3, 0}});
            m_table->RememberColumns(u"Jobs"_s);
        };
        makeTable();
        QCOMPARE(ShownColumns(), shown);
        // What the menu hides, and the order of the rows, are there again.
        m_table->sortByColumn(1, Qt::DescendingOrder);
        QMenu menu;
        m_table->FillColumnsMenu(menu);
        QAction *first = menu.actions().first();
        QCOMPARE(first->isEnabled(), shown.size() > 1);
        first->trigger();
        QList<int> left = shown;
        left.removeFirst();
        makeTable();
        QCOMPARE(ShownColumns(), shown.size() > 1 ? left : shown);
        QCOMPARE(m_table->horizontalHeader()->sortIndicatorSection(), 1);
        QCOMPARE(m_table->horizontalHeader()->sortIndicatorOrder(), Qt::DescendingOrder);
        m_model.setColumnCount(3);
    }

    void KeysLeadOnFromAHiddenColumn()
    {
        m_model.setRowCount(3);
        m_table->setCurrentIndex(m_table->model()->index(0, 0));
        m_table->setColumnHidden(0, true);
        QTest::keyClick(m_table.get(), Qt::Key_Down);
        QCOMPARE(m_table->SelectedRows(), QList<int>{1});
        // Nor does it matter where the row stood that has gone.
        m_table->setCurrentIndex(m_table->model()->index(1, 0));
        m_model.removeRow(1);
        QTest::keyClick(m_table.get(), Qt::Key_Down);
        QTest::keyClick(m_table.get(), Qt::Key_Up);
        QCOMPARE(m_table->SelectedRows(), QList<int>{0});
    }

    /// Few and many rows at once come, go and change, which is reported to the view in different ways.
    void FollowsEveryChangeOfTheSource_data()
    {
        QTest::addColumn<bool>("isFiltered");
        QTest::newRow("all rows") << false;
        QTest::newRow("those that a filter shows") << true;
    }

    void FollowsEveryChangeOfTheSource()
    {
        QFETCH(const bool, isFiltered);
        QAbstractItemModel &view = *m_table->model();
        const QAbstractItemModelTester tester{&view, QAbstractItemModelTester::FailureReportingMode::QtTest};
        m_model.setRowCount(0);
        m_table->sortByColumn(0, Qt::DescendingOrder);
        InsertRows(0, 400);
        int evenRow = 200;
        while (view.index(evenRow, 0).data().toString().back().digitValue() % 2 != 0)
            ++evenRow;
        const QPersistentModelIndex kept = view.index(evenRow, 0);
        const QString text = kept.data().toString();
        const int source = m_model.findItems(text).first()->row();
        m_table->selectRow(evenRow);
        m_model.ShowsEvenOnly = isFiltered;
        m_table->FilterChanged();

        const QList<std::function<void()>> changes{
            [&] { InsertRows(source + 1, 3); },
            [&] { InsertRows(0, 300); },
            [&] { m_model.removeRows(0, 290); },
            [&] { m_model.removeRow(m_model.rowCount() - 1); },
            [&] { ChangeText(0, u"zzz"_s); },
            [&] { ChangeText(1, u"zz0"_s); }, // into what the filter shows
            [&] { m_model.sort(0); },
            [&] { m_table->sortByColumn(0, Qt::AscendingOrder); },
        };
        for (const auto &change : changes) {
            change();
            QCOMPARE(ShownTexts(), WantedTexts());
            QCOMPARE(kept.data().toString(), text);
            QCOMPARE(m_table->selectionModel()->selectedRows(), QModelIndexList{kept});
        }
        // All are there again, in their order; unsorted, they stand as in the source.
        m_model.ShowsEvenOnly = false;
        m_table->FilterChanged();
        QCOMPARE(view.rowCount(), m_model.rowCount());
        QCOMPARE(kept.data().toString(), text);
        QCOMPARE(ShownTexts(), WantedTexts());
        m_table->sortByColumn(-1, Qt::AscendingOrder);
        QCOMPARE(view.index(5, 0).data(), m_model.index(5, 0).data());
    }

    void AnOrderThatWasGivenUpDoesNotCome()
    {
        m_model.setRowCount(0);
        for (const QString &text : {u"b"_s, u"a"_s, u"c"_s})
            m_model.appendRow({new QStandardItem{text}, new QStandardItem, new QStandardItem});
        m_model.IsLong = true;
        const auto restore = qScopeGuard([this] { m_model.IsLong = false; });
        m_table->sortByColumn(0, Qt::AscendingOrder);
        m_table->sortByColumn(-1, Qt::AscendingOrder);
        m_model.TakesRanks({1, 0, 2});
        QCOMPARE(ShownTexts(), (QStringList{u"b"_s, u"a"_s, u"c"_s}));
        m_table->sortByColumn(0, Qt::AscendingOrder);
        m_model.TakesRanks({1, 0, 2});
        QCOMPARE(ShownTexts(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    }

    void CellsLookAsTheStylePaintsThem()
    {
        m_model.setRowCount(0);
        for (const QString &text : {u"plain"_s, u"much too long for its column, and then some"_s,
                                    u"two\nlines"_s, u"a tab\tinside"_s, u"\u05d0\u05d1 \u05d2"_s}) {
            QList<QStandardItem *> row{new QStandardItem{text}, new QStandardItem{text},
                                       new QStandardItem{text}};
            for (QStandardItem *item : std::as_const(row))
                item->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
            row[0]->setIcon(m_table->style()->standardIcon(QStyle::SP_FileIcon));
            row[1]->setEnabled(false);
            row[2]->setForeground(Qt::darkGreen);
            m_model.appendRow(row);
        }
        m_table->selectionModel()->select(m_table->model()->index(1, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
        const QImage laidOut = m_table->grab().toImage();
        const QImage again = m_table->grab().toImage();
        QStyledItemDelegate byTheStyle;
        m_table->setItemDelegate(&byTheStyle);
        const QImage expected = m_table->grab().toImage();
        QCOMPARE(laidOut, expected);
        QCOMPARE(again, expected);
    }

    void RowsThatComeLaterAreNotSelected()
    {
        const auto insert = [this](int first, int count) {
            QList<QStandardItem *> items;
            for (int row = 0; row < count; ++row)
                items.append(new QStandardItem{u"%1"_s.arg(first + 2 * row, 4)});
            m_model.invisibleRootItem()->insertRows(0, items);
        };
        m_model.clear();
        m_model.setColumnCount(12);
        m_table->sortByColumn(0, Qt::AscendingOrder);
        insert(0, 120);
        m_table->selectAll();
        m_table->ChangeRows([&] { insert(1, 150); });
        const QModelIndexList selected = m_table->selectionModel()->selectedRows();
        QCOMPARE(selected.size(), 120);
        QVERIFY(std::ranges::none_of(selected, [](const QModelIndex &index) {
            return index.data().toString().trimmed().toInt() % 2 == 1;
        }));
    }

    void TakesDroppedFiles()
    {
        const QUrl file = QUrl::fromLocalFile(u"/tmp/a b/ü.mop"_s);
        const QUrl folder = QUrl::fromLocalFile(u"/tmp"_s);
        const QUrl web{u"https://example.org/a.mop"_s};
        const QSignalSpy dropped{m_table.get(), &KilnUtil_TableWidget::DropSignal};
        QVERIFY(!Drop({file}, Qt::CopyAction));
        m_table->SetAcceptsFiles(true);
        QVERIFY(!Drop({web}, Qt::CopyAction));
        // A program that moves files would delete them afterwards.
        QVERIFY(!Drop({file}, Qt::MoveAction));
        QVERIFY(Drop({file, web, folder}, Qt::CopyAction | Qt::MoveAction | Qt::LinkAction));
        // The other program is let go before anybody acts.
        QVERIFY(dropped.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(dropped.size(), 1);
        QCOMPARE(dropped.first().first().toStringList(), (QStringList{u"/tmp/a b/ü.mop"_s, u"/tmp"_s}));
        QVERIFY(Drop({file}, Qt::LinkAction));
    }

    void EnterAnswersOnlyWithADefault()
    {
        using WarnMode = KilnUtil_UserPrompt::WarnMode;
        using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;
        KilnUtil_WidgetPrompt prompt;
        bool stillOpen = false;
        QTimer::singleShot(0, qApp, [&] {
            QWidget *box = QApplication::activeModalWidget();
            QTest::keyClick(box, Qt::Key_Return);
            stillOpen = box->isVisible();
            QTest::keyClick(box, Qt::Key_Escape);
        });
        QCOMPARE(prompt.AskQuestion(u"Remove"_s, u"Remove it?"_s, WarnMode::YesNo, WarnAnswer::None),
                 WarnAnswer::No);
        QVERIFY(stillOpen);
        QTimer::singleShot(0, qApp,
                           [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Return); });
        QCOMPARE(prompt.ReportWarning(u"Save"_s, u"Save it?"_s, WarnMode::YesNoCancel, WarnAnswer::Yes),
                 WarnAnswer::Yes);
    }

    void NoticesOutliveTheDialogThatIsOpen()
    {
        KilnUtil_WidgetPrompt prompt;
        const auto notice = []() -> QMessageBox * {
            const QWidgetList windows = QApplication::topLevelWidgets();
            const auto found = std::ranges::find_if(windows, [](const QWidget *window) {
                return window->isVisible() && qobject_cast<const QMessageBox *>(window);
            });
            return found == windows.end() ? nullptr : qobject_cast<QMessageBox *>(*found);
        };
        {
            QDialog dialog;
            dialog.setModal(true);
            dialog.show();
            prompt.ShowNotice(u"Notice"_s, u"Job 5 cannot be ended yet"_s);
            QVERIFY(notice());
        }
        QVERIFY(!notice());
        QTRY_VERIFY(notice());
        QCOMPARE(notice()->text(), u"Job 5 cannot be ended yet"_s);
        notice()->close();
        QTRY_VERIFY(QApplication::topLevelWidgets().size() < 2);
        QVERIFY(!notice());
    }

    void PlaceholdersCanBeRead()
    {
        struct Colours
        {
            QColor base;
            QColor text;
            QColor hint;
        };
        const QPalette before = QApplication::palette();
        const QColor faintBlack{0, 0, 0, 128};
        // A light desktop, a dark one with the hint of the light one, as good as none, good already.
        for (const auto &[base, text, hint] :
             {Colours{Qt::white, Qt::black, faintBlack}, Colours{{27, 30, 32}, {252, 252, 252}, faintBlack},
              Colours{{253, 246, 227}, {101, 123, 131}, {253, 246, 220}},
              Colours{{27, 30, 32}, {252, 252, 252}, {161, 169, 177}}}) {
            QPalette desktop;
            desktop.setColor(QPalette::Base, base);
            desktop.setColor(QPalette::Text, text);
            desktop.setColor(QPalette::PlaceholderText, hint);
            QApplication::setPalette(desktop);
            const QPalette shown = QLineEdit{}.palette();
            QApplication::setPalette(before);
            const double best = KilnUtil_Contrast::Ratio(text, base);
            const double ratio = KilnUtil_Contrast::Ratio(shown.color(QPalette::PlaceholderText), base);
            QVERIFY2(ratio >= qMin(best, KilnUtil_Contrast::LeastRatio), qPrintable(QString::number(ratio)));
            QCOMPARE(shown.color(QPalette::Base), base);
        }
    }

private:
    /// With a text for each that no other row has.
    void InsertRows(int row, int count)
    {
        QList<QStandardItem *> items;
        for (int i = 0; i < count; ++i)
            items.append(new QStandardItem{u"%1"_s.arg(m_inserted++ * 7919 % 1009, 4)});
        m_model.invisibleRootItem()->insertRows(row, items);
    }
    void ChangeText(int row, const QString &text)
    {
        m_model.item(row)->setText(text);
        m_model.item(row)->setData(text, KilnUtil_TableSortProxy::SortRole);
    }
    [[nodiscard]] QStringList ShownTexts() const
    {
        QStringList texts;
        for (int row = 0; row < m_table->model()->rowCount(); ++row)
            texts.append(m_table->model()->index(row, 0).data().toString());
        return texts;
    }
    /// What the table is to show of the source, in its order.
    [[nodiscard]] QStringList WantedTexts() const
    {
        QStringList texts;
        for (int row = 0; row < m_model.rowCount(); ++row) {
            if (m_model.IsWanted(row))
                texts.append(m_model.item(row)->text());
        }
        std::ranges::sort(texts);
        if (m_table->horizontalHeader()->sortIndicatorOrder() == Qt::DescendingOrder)
            std::ranges::reverse(texts);
        return texts;
    }

    [[nodiscard]] std::unique_ptr<KilnUtil_TableWidget> MakeTable()
    {
        auto table = std::make_unique<KilnUtil_TableWidget>(nullptr);
        table->SetSourceModel(&m_model);
        table->SetColumnHints({8, 20, 20});
        table->resize(600, 300);
        return table;
    }
    [[nodiscard]] QList<int> ShownColumns() const
    {
        const QHeaderView &header = *m_table->horizontalHeader();
        QList<int> shown;
        for (int place = 0; place < header.count(); ++place) {
            if (!header.isSectionHidden(header.logicalIndex(place)))
                shown.append(header.logicalIndex(place));
        }
        return shown;
    }
    /// Whether the drop is accepted, and not as a move.
    [[nodiscard]] bool Drop(const QList<QUrl> &urls, Qt::DropActions actions)
    {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter{QPoint{20, 20}, actions, &data, Qt::LeftButton, {}};
        QCoreApplication::sendEvent(m_table->viewport(), &enter);
        QDropEvent drop{QPointF{20, 20}, actions, &data, Qt::LeftButton, {}};
        QCoreApplication::sendEvent(m_table->viewport(), &drop);
        return drop.isAccepted() && drop.dropAction() != Qt::MoveAction;
    }

    QTemporaryDir m_place;
    FilteredModel m_model{0, 3};
    std::unique_ptr<KilnUtil_TableWidget> m_table;
    int m_inserted = 0;
};

QTEST_MAIN(TestWidgets)
#include "test_widgets.moc"
