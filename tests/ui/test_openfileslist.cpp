#include "kilnutil/registry.h"
#include "openfilesfixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QMenu>
#include <QMimeData>
#include <QTabWidget>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

class TestOpenFilesList final : public OpenFilesFixture
{
    Q_OBJECT

private Q_SLOTS:
    void RowTellsAboutTheFile();
    void DetailChoosesTheColumns();
    void TakesAFileOnce();
    void TakesDroppedFilesAndFolders();
    void TakesThousandsOfFiles();
    void ActionsOnSelectedAndAllItems_data();
    void ActionsOnSelectedAndAllItems();
    void ContextMenuIsTheActionsMenu();
    void KeysOfTheList();
    void SortsNumbersAndTimes();
};

void TestOpenFilesList::RowTellsAboutTheFile()
{
    const QString path = WriteTestFile(Manager().Path(u"x.tar.GJF"_s), "12345");
    const QDateTime time{QDate{2024, 2, 3}, QTime{16, 5, 6}};
    QFile file{path};
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
    Open({.Files = {Files()[0], path}}, [&] {
        const QTreeWidgetItem *item = FileList()->topLevelItem(1);
        QStringList texts;
        for (int column = 0; column < List::ColumnCount; ++column)
            texts.append(item->text(column));
        texts.removeAt(List::CreatedColumn);
        QCOMPARE(texts, (QStringList{u"2"_s, path, u"x.tar.GJF"_s, Manager().directory.path(), u"GJF"_s,
                                     u"5"_s, u"Sat Feb 3 2024, 4:05:06 pm"_s}));
        QVERIFY(!item->flags().testFlag(Qt::ItemIsDropEnabled));
    });
}

void TestOpenFilesList::DetailChoosesTheColumns()
{
    const auto shown = [this] {
        QList<int> columns;
        for (int column = 0; column < List::ColumnCount; ++column) {
            if (!FileList()->isColumnHidden(column))
                columns.append(column);
        }
        return columns;
    };
    Open({}, [&] {
        QComboBox *detail = Box(u"File List Detail"_s);
        QCOMPARE(shown(), (QList<int>{0, 2, 3, 4, 5, 6, 7}));
        Dialog().findChild<QTabWidget *>()->setCurrentIndex(1);
        detail->setFocus();
        QTest::keyClick(detail, Qt::Key_Up);
        QCOMPARE(shown(), (QList<int>{0, 2, 3, 4}));
        FileList()->hideColumn(List::IDColumn);
        QTest::keyClick(detail, Qt::Key_Up);
        QCOMPARE(shown(), (QList<int>{1, 2}));
    });
}

void TestOpenFilesList::TakesAFileOnce()
{
    const QString odd = Manager().directory.path() + u"/./x/..//a.in "_s;
    Submit({.Files = {Files()[0], odd, u" "_s, QString{}, QDir::current().relativeFilePath(Files()[0])},
            .CheckAll = true},
           [&] {
               QCOMPARE(Names(), u"a.in"_s);
               Button(u"Allow Duplicate Files"_s)->setChecked(true);
           });
    // The option is in force for the files that it opens with, too.
    Open({.Files = {Files()[0], odd}, .CheckAll = true}, [&] {
        QCOMPARE(Names(), u"a.in a.in"_s);
        QCOMPARE(FileList()->CheckedPaths(), (QStringList{Files()[0], Files()[0]}));
    });
}

void TestOpenFilesList::TakesDroppedFilesAndFolders()
{
    QVERIFY(QDir{Manager().directory.path()}.mkpath(u"folder/deeper"_s));
    for (const QString &name :
         {u"folder/Y.in"_s, u"folder/x.in"_s, u"folder/.hidden"_s, u"folder/deeper/z.in"_s})
        Manager().InputFile(name);
    const QStringList paths{Files()[1], Manager().Path(u"folder"_s), Files()[0]};
    QMimeData text;
    text.setText(Files()[2]);
    Open({.Files = {Files()[0]}}, [&] {
        Drop(text);
        Drop(paths, Qt::MoveAction);
        QCOMPARE(Names(), u"a.in"_s);
        Drop(paths);
        QCOMPARE(Names(), u"a.in b.in x.in Y.in"_s);
        QCOMPARE(CountText(), u"Submitting 4 of 4 files:"_s);
    });
    // As dropped on the window; a request means the folder itself.
    Open({.Files = paths, .CheckAll = true}, [&] { QCOMPARE(Names(), u"b.in x.in Y.in a.in"_s); });
    const Choice choice = Submit({.Files = {paths[1]}});
    QVERIFY(choice && choice->Files == QStringList{paths[1]});
}

void TestOpenFilesList::TakesThousandsOfFiles()
{
    constexpr int count = 1000;
    QStringList first;
    QStringList second;
    for (int i = 0; i < count; ++i) {
        first.append(Manager().InputFile(u"first%1.in"_s.arg(i)));
        second.append(Manager().InputFile(u"second%1.in"_s.arg(i)));
    }
    const Choice choice = Submit({.Files = first, .CheckAll = true}, [&] {
        Drop(second + first);
        QCOMPARE(CountText(), u"Submitting 2000 of 2000 files:"_s);
        Click(u"Sorting"_s);
        FileList()->sortByColumn(List::IDColumn, Qt::DescendingOrder);
        FileList()->selectAll();
        RunAction(u"Selected Items"_s, u"Toggle"_s);
        QCOMPARE(CountText(), u"2000 selected, submitting 0 of 2000 files:"_s);
        RunAction(u"Selected Items"_s, u"Check"_s);
    });
    std::ranges::reverse(second);
    QVERIFY(choice);
    QCOMPARE(choice->Files.first(count), second);
    // Too long to be offered again.
    QVERIFY(KilnUtil_Registry::GetRecentOpenStructureFileLists().isEmpty());
}

void TestOpenFilesList::ActionsOnSelectedAndAllItems_data()
{
    QTest::addColumn<QString>("items");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("names");
    const QString selected = u"Selected Items"_s;
    const QString all = u"All Items"_s;
    // From "a.in b.in- c.in-" with b.in and c.in selected and c.in checked after that.
    QTest::newRow("clear selected") << selected << u"Clear"_s << 0 << u"a.in"_s;
    QTest::newRow("clear all") << all << u"Clear"_s << 1 << QString{};
    QTest::newRow("check selected") << selected << u"Check"_s << 2 << u"a.in b.in c.in"_s;
    QTest::newRow("check all") << all << u"Check"_s << 3 << u"a.in b.in c.in"_s;
    QTest::newRow("uncheck selected") << selected << u"Uncheck"_s << 4 << u"a.in b.in- c.in-"_s;
    QTest::newRow("uncheck all") << all << u"Uncheck"_s << 5 << u"a.in- b.in- c.in-"_s;
    QTest::newRow("toggle selected") << selected << u"Toggle"_s << 6 << u"a.in b.in c.in-"_s;
    QTest::newRow("toggle all") << all << u"Toggle"_s << 7 << u"a.in- b.in c.in-"_s;
}

void TestOpenFilesList::ActionsOnSelectedAndAllItems()
{
    QFETCH(const QString, items);
    QFETCH(const QString, operation);
    QFETCH(const int, code);
    QFETCH(const QString, names);
    Open({.Files = Files()}, [&] {
        FileList()->clearSelection();
        const QMenu *menu = Menu(u"Actions"_s);
        QCOMPARE(EntryTexts(*menu), (QStringList{u"Selected Items"_s, u"All Items"_s}));
        QVERIFY(!menu->actions().first()->isEnabled());
        FileList()->topLevelItem(1)->setSelected(true);
        FileList()->topLevelItem(2)->setSelected(true);
        FileList()->topLevelItem(2)->setCheckState(List::IDColumn, Qt::Checked);
        for (const QAction *submenu : Menu(u"Actions"_s)->actions()) {
            QCOMPARE(EntryTexts(*submenu->menu()),
                     (QStringList{u"Clear"_s, u"-"_s, u"Check"_s, u"Uncheck"_s, u"Toggle"_s}));
            for (const QAction *action : submenu->menu()->actions()) {
                if (submenu->text() == items && action->text() == operation)
                    QCOMPARE(action->data().toInt(), code);
            }
        }
        RunAction(items, operation);
        QCOMPARE(Names(), names);
        QCOMPARE(Button(u"Submit"_s)->isEnabled(), FileList()->CheckedCount() > 0);
    });
}

void TestOpenFilesList::ContextMenuIsTheActionsMenu()
{
    Open({.Files = Files()}, [&] {
        const QPoint place = FileList()->visualItemRect(FileList()->topLevelItem(1)).center();
        QTest::mouseClick(FileList()->viewport(), Qt::LeftButton, {}, place);
        QContextMenuEvent event{QContextMenuEvent::Mouse, place, FileList()->viewport()->mapToGlobal(place)};
        QApplication::sendEvent(FileList()->viewport(), &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu && menu->actions().size() == 2);
        menu->hide();
        QContextMenuEvent key{QContextMenuEvent::Keyboard, {}, {}};
        QApplication::sendEvent(FileList(), &key);
        QVERIFY(menu->isVisible());
        QCOMPARE(FileList()->viewport()->mapFromGlobal(menu->pos()).y(), place.y());
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Right);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
        QCOMPARE(Names(), u"a.in c.in-"_s);
    });
}

void TestOpenFilesList::KeysOfTheList()
{
    const Choice choice = Open({.Files = Files(), .CheckAll = true}, [&] {
        QVERIFY(FileList()->hasFocus());
        QTest::keyClick(FileList(), Qt::Key_Space);
        QCOMPARE(Names(), u"a.in- b.in c.in"_s);
        QTest::keyClick(FileList(), Qt::Key_Down);
        QTest::keyClick(FileList(), Qt::Key_Delete);
        QCOMPARE(Names(), u"a.in- c.in"_s);
        // The next row is the current one.
        QCOMPARE(FileList()->currentItem()->text(List::FileNameColumn), u"c.in"_s);
        QTest::keyClick(FileList(), Qt::Key_Return);
    });
    QVERIFY(choice && choice->Files == QStringList{Files()[2]});
    QVERIFY(!Open({.Files = Files()}, [&] { QTest::keyClick(FileList(), Qt::Key_Escape); }));
}

void TestOpenFilesList::SortsNumbersAndTimes()
{
    QStringList paths;
    for (int size : {9, 100, 20}) {
        paths.append(WriteTestFile(Manager().Path(u"n%1.in"_s.arg(size)), QByteArray(size, 'x')));
        QFile file{paths.last()};
        QVERIFY(file.open(QIODevice::ReadWrite));
        // Friday, Saturday and Thursday: as texts they would stand in another order.
        const QDateTime time{QDate{2024, 2, 1}.addDays(size % 10), QTime{12, 0}};
        QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
    }
    Open({.Files = paths, .CheckAll = true}, [&] {
        QHeaderView *header = FileList()->header();
        const auto clickHeading = [&](int column) {
            const QPoint place{header->sectionViewportPosition(column) + 10, header->height() / 2};
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
        };
        clickHeading(List::SizeColumn);
        QCOMPARE(Names(), u"n9.in n100.in n20.in"_s);
        Click(u"Sorting"_s);
        clickHeading(List::SizeColumn);
        QCOMPARE(Names(), u"n9.in n20.in n100.in"_s);
        clickHeading(List::LastModifiedColumn);
        QCOMPARE(Names(), u"n20.in n100.in n9.in"_s);
        clickHeading(List::FileNameColumn);
        QCOMPARE(Names(), u"n100.in n20.in n9.in"_s);
        QCOMPARE(FileList()->CheckedPaths().first(), paths[1]);
        Click(u"Sorting"_s);
        clickHeading(List::SizeColumn);
        QCOMPARE(Names(), u"n100.in n20.in n9.in"_s);
    });
}

QTEST_MAIN(TestOpenFilesList)
#include "test_openfileslist.moc"
