#include "jobs/runmode.h"
#include "kilnutil/registry.h"
#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/openfilesdialog.h"
#include "ui/openfileslist.h"
#include "ui/openfilesrecent.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
using List = Taskmill_OpenFilesList;

const QString anyCaption = u"Job Input Files"_s;

QList<QUrl> Urls(const QStringList &paths)
{
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls.append(QUrl::fromLocalFile(path));
    return urls;
}

QStringList EntryTexts(const QMenu &menu)
{
    QStringList texts;
    for (const QAction *action : menu.actions())
        texts.append(action->isSeparator() ? u"-"_s : action->text());
    return texts;
}
} // namespace

class TestOpenFilesDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void OpensWithWhatItIsGiven_data();
    void OpensWithWhatItIsGiven();
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
    void BrowsesForFiles();
    void StartsWithTheBrowserWhenEmpty();
    void KeepsOptionsOnlyWhenSubmitted();
    void IgnoresStoredOptionsThatMakeNoSense_data();
    void IgnoresStoredOptionsThatMakeNoSense();
    void RetainsTypeAndQueueWhenTold();
    void RetainsTheListWhenTold();
    void DefaultSettingsSetEverythingBack();
    void OffersWhatWasSubmitted();
    void SubmitNeedsACheckedFile();
    void NothingIsSubmittedWhenTheProgramQuits();
    void SubmittedFilesBecomeJobs();

private:
    using Choice = std::optional<Taskmill_SubmitChoice>;
    /// Opens the dialog and calls the function while it is open, then closes it unless that was done.
    Choice Open(const Taskmill_SubmitChoice &preset, const std::function<void()> &whileOpen);
    /// Opens it and submits.
    Choice Submit(
        const Taskmill_SubmitChoice &preset, const std::function<void()> &before = [] {});
    void Drop(const QMimeData &data, Qt::DropActions actions = Qt::CopyAction);
    void RunAction(const QString &items, const QString &operation);
    QMenu *Menu(const QString &button);
    void Click(const QString &button) { Button(button)->click(); }
    [[nodiscard]] QAbstractButton *Button(const QString &text) const;
    [[nodiscard]] QComboBox *Box(const QString &name) const;
    [[nodiscard]] List *FileList() const { return m_dialog->findChild<List *>(); }
    /// "a.in b.in-": the names in order, with a minus when not checked.
    [[nodiscard]] QString Names() const;
    [[nodiscard]] QLabel *Label(const QString &end) const;
    [[nodiscard]] QString CountText() const;
    static QString Stored(const QString &key);

    std::unique_ptr<TestManager> m_manager;
    std::unique_ptr<Taskmill_OpenFilesDialog> m_dialog;
    QStringList m_files; ///< a.in, b.in, c.in
};

void TestOpenFilesDialog::init()
{
    FailOnQtWarnings();
    KilnUtil_Registry::SetAppData(u"TaskmillGUI"_s, u"1"_s, u"1.1"_s, u"1.1.18"_s, u"TASKMILLPREFS_DIR"_s,
                                  u".taskmillprefs"_s);
    m_manager = std::make_unique<TestManager>();
    m_manager->NewProject();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->AddJobType(u"One"_s, u"exit 0"_s, u"Long"_s, u"One Files (*.one)"_s);
    m_manager->AddJobType(u"Two"_s, u"exit 0"_s, u"Short"_s, u"Two Files (*.two)"_s);
    m_files = {m_manager->InputFile(u"a.in"_s), m_manager->InputFile(u"b.in"_s),
               m_manager->InputFile(u"c.in"_s)};
    m_dialog = std::make_unique<Taskmill_OpenFilesDialog>(m_manager->store, nullptr);
}

void TestOpenFilesDialog::cleanup()
{
    m_dialog.reset();
    m_manager.reset();
}

TestOpenFilesDialog::Choice TestOpenFilesDialog::Open(const Taskmill_SubmitChoice &preset,
                                                      const std::function<void()> &whileOpen)
{
    QTimer::singleShot(0, m_dialog.get(), [&] {
        if (QTest::qWaitForWindowActive(m_dialog.get()))
            whileOpen();
        if (m_dialog->isVisible())
            m_dialog->reject();
    });
    return m_dialog->AskForJobs(anyCaption, preset);
}

TestOpenFilesDialog::Choice TestOpenFilesDialog::Submit(const Taskmill_SubmitChoice &preset,
                                                        const std::function<void()> &before)
{
    return Open(preset, [&] {
        before();
        Click(u"Submit"_s);
    });
}

void TestOpenFilesDialog::Drop(const QMimeData &data, Qt::DropActions actions)
{
    QDragEnterEvent enter{QPoint{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(FileList()->viewport(), &enter);
    QDropEvent drop{QPointF{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(FileList()->viewport(), &drop);
    QCOMPARE(drop.isAccepted(), enter.isAccepted());
    QCoreApplication::processEvents();
}

QAbstractButton *TestOpenFilesDialog::Button(const QString &text) const
{
    for (QAbstractButton *button : m_dialog->findChildren<QAbstractButton *>()) {
        if (button->text() == text || button->accessibleName() == text)
            return button;
    }
    qFatal("no button %ls", qUtf16Printable(text));
}

QComboBox *TestOpenFilesDialog::Box(const QString &name) const
{
    for (QComboBox *box : m_dialog->findChildren<QComboBox *>()) {
        if (box->accessibleName() == name)
            return box;
    }
    qFatal("no box %ls", qUtf16Printable(name));
}

QMenu *TestOpenFilesDialog::Menu(const QString &button)
{
    QMenu *menu = qobject_cast<QPushButton *>(Button(button))->menu();
    menu->popup({});
    menu->hide();
    return menu;
}

void TestOpenFilesDialog::RunAction(const QString &items, const QString &operation)
{
    for (const QAction *submenu : Menu(u"Actions"_s)->actions()) {
        for (QAction *action : submenu->menu()->actions()) {
            if (submenu->text() == items && action->text() == operation && submenu->isEnabled())
                action->trigger();
        }
    }
}

QString TestOpenFilesDialog::Names() const
{
    QStringList names;
    for (int row = 0; row < FileList()->topLevelItemCount(); ++row) {
        const QTreeWidgetItem *item = FileList()->topLevelItem(row);
        names.append(item->text(List::FileNameColumn) +
                     (item->checkState(List::IDColumn) == Qt::Checked ? QString{} : u"-"_s));
    }
    return names.join(u' ');
}

QLabel *TestOpenFilesDialog::Label(const QString &end) const
{
    const auto labels = m_dialog->findChildren<QLabel *>();
    const auto found =
        std::ranges::find_if(labels, [&end](const QLabel *label) { return label->text().endsWith(end); });
    return found == labels.end() ? nullptr : *found;
}

QString TestOpenFilesDialog::CountText() const
{
    return Label(u" files:"_s)->text();
}

QString TestOpenFilesDialog::Stored(const QString &key)
{
    QString value = u"none"_s;
    (void)KilnUtil_Registry::GetAppUserData(u"Open Files"_s, key, value);
    return value;
}

void TestOpenFilesDialog::OpensWithWhatItIsGiven_data()
{
    QTest::addColumn<bool>("checkAll");
    QTest::addColumn<QString>("names");
    QTest::addColumn<QString>("count");
    QTest::newRow("drop") << true << u"c.in a.in"_s << u"Submitting 2 of 2 files:"_s;
    QTest::newRow("request") << false << u"c.in a.in-"_s << u"Submitting 1 of 2 files:"_s;
}

void TestOpenFilesDialog::OpensWithWhatItIsGiven()
{
    QFETCH(const bool, checkAll);
    QFETCH(const QString, names);
    QFETCH(const QString, count);
    const int second = m_manager->jobTypes.GetAll().last().JobTypeID;
    const Choice choice = Submit({.Files = {m_files[2], m_manager->Path(u"missing"_s), m_files[0]},
                                  .Destination = Taskmill_Destination::Queueless,
                                  .JobTypeID = second,
                                  .CheckAll = checkAll},
                                 [&] {
                                     QCOMPARE(m_dialog->windowTitle(), u"Submit Jobs"_s);
                                     QVERIFY(Label(anyCaption));
                                     QCOMPARE(Names(), names);
                                     QCOMPARE(CountText(), count);
                                     QVERIFY(FileList()->topLevelItem(0)->isSelected());
                                     QCOMPARE(Box(u"Submit as"_s)->currentText(), u"Two"_s);
                                     QCOMPARE(Box(u"Target"_s)->currentText(), u"Queueless Jobs"_s);
                                 });
    QVERIFY(choice);
    QCOMPARE(choice->Files.size(), checkAll ? 2 : 1);
    QCOMPARE(choice->Files.first(), m_files[2]);
    QCOMPARE(choice->Destination, Taskmill_Destination::Queueless);
    QCOMPARE(choice->JobTypeID, second);
    QVERIFY(m_dialog->x() >= 10 && m_dialog->y() >= 10);
}

void TestOpenFilesDialog::RowTellsAboutTheFile()
{
    const QString path = WriteTestFile(m_manager->Path(u"x.tar.GJF"_s), "12345");
    const QDateTime time{QDate{2024, 2, 3}, QTime{16, 5, 6}};
    QFile file{path};
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
    Open({.Files = {m_files[0], path}}, [&] {
        const QTreeWidgetItem *item = FileList()->topLevelItem(1);
        QStringList texts;
        for (int column = 0; column < List::ColumnCount; ++column)
            texts.append(item->text(column));
        texts.removeAt(List::CreatedColumn);
        QCOMPARE(texts, (QStringList{u"2"_s, path, u"x.tar.GJF"_s, m_manager->directory.path(), u"GJF"_s,
                                     u"5"_s, u"Sat Feb 3 2024, 4:05:06 pm"_s}));
        QVERIFY(!item->flags().testFlag(Qt::ItemIsDropEnabled));
    });
}

void TestOpenFilesDialog::DetailChoosesTheColumns()
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
        m_dialog->findChild<QTabWidget *>()->setCurrentIndex(1);
        detail->setFocus();
        QTest::keyClick(detail, Qt::Key_Up);
        QCOMPARE(shown(), (QList<int>{0, 2, 3, 4}));
        FileList()->hideColumn(List::IDColumn);
        QTest::keyClick(detail, Qt::Key_Up);
        QCOMPARE(shown(), (QList<int>{1, 2}));
    });
}

void TestOpenFilesDialog::TakesAFileOnce()
{
    const QString odd = m_manager->directory.path() + u"/./x/..//a.in "_s;
    Submit({.Files = {m_files[0], odd, u" "_s, QString{}, QDir::current().relativeFilePath(m_files[0])},
            .CheckAll = true},
           [&] {
               QCOMPARE(Names(), u"a.in"_s);
               Button(u"Allow Duplicate Files"_s)->setChecked(true);
           });
    // The option is in force for the files that it opens with, too.
    Open({.Files = {m_files[0], odd}, .CheckAll = true}, [&] {
        QCOMPARE(Names(), u"a.in a.in"_s);
        QCOMPARE(FileList()->CheckedPaths(), (QStringList{m_files[0], m_files[0]}));
    });
}

void TestOpenFilesDialog::TakesDroppedFilesAndFolders()
{
    QVERIFY(QDir{m_manager->directory.path()}.mkpath(u"folder/deeper"_s));
    for (const QString &name :
         {u"folder/Y.in"_s, u"folder/x.in"_s, u"folder/.hidden"_s, u"folder/deeper/z.in"_s})
        m_manager->InputFile(name);
    QMimeData data;
    data.setUrls(Urls({m_files[1], m_manager->Path(u"folder"_s), m_files[0]}));
    QMimeData text;
    text.setText(m_files[2]);
    Open({.Files = {m_files[0]}}, [&] {
        Drop(text);
        Drop(data, Qt::MoveAction);
        QCOMPARE(Names(), u"a.in"_s);
        Drop(data);
        QCOMPARE(Names(), u"a.in b.in x.in Y.in"_s);
        QCOMPARE(CountText(), u"Submitting 4 of 4 files:"_s);
    });
}

void TestOpenFilesDialog::TakesThousandsOfFiles()
{
    constexpr int count = 1000;
    QStringList first;
    QStringList second;
    for (int i = 0; i < count; ++i) {
        first.append(m_manager->InputFile(u"first%1.in"_s.arg(i)));
        second.append(m_manager->InputFile(u"second%1.in"_s.arg(i)));
    }
    QMimeData data;
    data.setUrls(Urls(second + first));
    const Choice choice = Submit({.Files = first, .CheckAll = true}, [&] {
        Drop(data);
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

void TestOpenFilesDialog::ActionsOnSelectedAndAllItems_data()
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

void TestOpenFilesDialog::ActionsOnSelectedAndAllItems()
{
    QFETCH(const QString, items);
    QFETCH(const QString, operation);
    QFETCH(const int, code);
    QFETCH(const QString, names);
    Open({.Files = m_files}, [&] {
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

void TestOpenFilesDialog::ContextMenuIsTheActionsMenu()
{
    Open({.Files = m_files}, [&] {
        const QPoint place = FileList()->visualItemRect(FileList()->topLevelItem(1)).center();
        QTest::mouseClick(FileList()->viewport(), Qt::LeftButton, {}, place);
        QContextMenuEvent event{QContextMenuEvent::Mouse, place, FileList()->viewport()->mapToGlobal(place)};
        QApplication::sendEvent(FileList()->viewport(), &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu && menu->actions().size() == 2);
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Right);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
        QCOMPARE(Names(), u"a.in c.in-"_s);
    });
}

void TestOpenFilesDialog::KeysOfTheList()
{
    const Choice choice = Open({.Files = m_files, .CheckAll = true}, [&] {
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
    QVERIFY(choice && choice->Files == QStringList{m_files[2]});
    QVERIFY(!Open({.Files = m_files}, [&] { QTest::keyClick(FileList(), Qt::Key_Escape); }));
}

void TestOpenFilesDialog::SortsNumbersAndTimes()
{
    QStringList paths;
    for (int size : {9, 100, 20}) {
        paths.append(WriteTestFile(m_manager->Path(u"n%1.in"_s.arg(size)), QByteArray(size, 'x')));
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

void TestOpenFilesDialog::BrowsesForFiles()
{
    m_manager->prompt.openFilesAnswers = {{.Files = {m_files[0], m_files[1]}, .NameFilter = 2}};
    Submit({}, [&] {
        Click(u"  Add Files...  "_s);
        QCOMPARE(Names(), u"a.in b.in"_s);
        Button(u"Use Native File Browser"_s)->setChecked(false);
        Click(u"  Add Files...  "_s);
    });
    Open({}, [&] { Click(u"  Add Files...  "_s); });

    const QList<KilnUtil_OpenFilesOptions> &asked = m_manager->prompt.openFilesAsked;
    QCOMPARE(asked.size(), 3);
    QCOMPARE(asked[0].Title, u"Select Files"_s);
    QCOMPARE(asked[0].NameFilters,
             (QStringList{u"All Files (*.*)"_s, u"One Files (*.one)"_s, u"Two Files (*.two)"_s}));
    QCOMPARE(asked[0].NameFilter, 0);
    QVERIFY(asked[0].UseNativeBrowser);
    // It goes on from where files were found, also after the next start.
    for (const KilnUtil_OpenFilesOptions &later : {asked[1], asked[2]}) {
        QCOMPARE(later.Directory, m_manager->directory.path());
        QCOMPARE(later.NameFilter, 2);
        QVERIFY(!later.UseNativeBrowser);
    }
}

void TestOpenFilesDialog::StartsWithTheBrowserWhenEmpty()
{
    Submit({.Files = m_files},
           [&] { Button(u"Start with File Browser if Initial File List is Empty"_s)->setChecked(true); });
    Open({.Files = m_files}, [] { QCoreApplication::processEvents(); });
    QVERIFY(m_manager->prompt.openFilesAsked.isEmpty());
    m_manager->prompt.openFilesAnswers = {{.Files = {m_files[1]}}};
    Open({}, [&] { QTRY_COMPARE(Names(), u"b.in"_s); });
}

void TestOpenFilesDialog::KeepsOptionsOnlyWhenSubmitted()
{
    const auto change = [this] {
        for (const QString &box :
             {u"Allow Duplicate Files"_s, u"Start with File Browser if Initial File List is Empty"_s,
              u"Use Native File Browser"_s, u"Sorting"_s, u"Retain Settings"_s})
            Button(box)->toggle();
        Box(u"Target"_s)->setCurrentIndex(2);
        Box(u"Submit as"_s)->setCurrentIndex(1);
        Box(u"File List Detail"_s)->setCurrentIndex(0);
    };
    Open({.Files = m_files}, change);
    QCOMPARE(Stored(u"Sorting"_s), u"none"_s);
    Open({}, [&] {
        QVERIFY(!Button(u"Sorting"_s)->isChecked() && Button(u"Use Native File Browser"_s)->isChecked());
        QCOMPARE(Box(u"File List Detail"_s)->currentText(), u"High"_s);
    });

    Submit({.Files = m_files}, change);
    const QList<std::pair<QString, QString>> expected{
        {u"Destination Queue"_s, u"2"_s},
        {u"Allow Duplicate Files"_s, u"1"_s},
        {u"File List Detail"_s, u"0"_s},
        {u"Start with File Browser if Initial File List is Empty"_s, u"1"_s},
        {u"Use Native File Browser"_s, u"0"_s},
        {u"Open as"_s, u"1"_s},
        {u"Sorting"_s, u"1"_s},
        {u"Retain Settings"_s, u"1"_s},
        {u"Last Add File Type"_s, u"-1"_s}};
    for (const auto &[key, value] : expected)
        QCOMPARE(key + Stored(key), key + value);
    QVERIFY(Stored(u"File Open Options"_s).contains(u"Directory"_s));

    m_dialog = std::make_unique<Taskmill_OpenFilesDialog>(m_manager->store, nullptr);
    Open({.Files = m_files}, [&] {
        QVERIFY(Button(u"Sorting"_s)->isChecked() && !Button(u"Use Native File Browser"_s)->isChecked());
        QVERIFY(FileList()->isSortingEnabled());
        QVERIFY(!FileList()->isColumnHidden(List::FilePathColumn));
    });
}

void TestOpenFilesDialog::IgnoresStoredOptionsThatMakeNoSense_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("too large") << u"4"_s;
    QTest::newRow("negative") << u"-1"_s;
    QTest::newRow("no number") << u"1x"_s;
    QTest::newRow("empty") << QString{};
    QTest::newRow("huge") << u"99999999999"_s;
}

void TestOpenFilesDialog::IgnoresStoredOptionsThatMakeNoSense()
{
    QFETCH(const QString, value);
    for (const QString &key :
         {u"Allow Duplicate Files"_s, u"Use Native File Browser"_s, u"Sorting"_s, u"File List Detail"_s,
          u"Open as"_s, u"Destination Queue"_s, u"File Open Options"_s, u"Last Add File Type"_s})
        KilnUtil_Registry::PutAppUserData(u"Open Files"_s, key, value);
    KilnUtil_Registry::PutAppUserData(u"Open Files"_s, u"Retain Settings"_s, u"1"_s);
    Open({}, [&] {
        QVERIFY(!Button(u"Allow Duplicate Files"_s)->isChecked());
        QVERIFY(Button(u"Use Native File Browser"_s)->isChecked());
        QVERIFY(!Button(u"Sorting"_s)->isChecked());
        QCOMPARE(Box(u"File List Detail"_s)->currentIndex(), 2);
        QCOMPARE(Box(u"Submit as"_s)->currentText(), u"Auto"_s);
        QCOMPARE(Box(u"Target"_s)->currentText(), u"Auto"_s);
        Click(u"  Add Files...  "_s);
    });
    QCOMPARE(m_manager->prompt.openFilesAsked.first().NameFilter, 0);
}

void TestOpenFilesDialog::RetainsTypeAndQueueWhenTold()
{
    const auto choose = [this](bool retain) {
        Box(u"Submit as"_s)->setCurrentIndex(2);
        Box(u"Target"_s)->setCurrentIndex(1);
        Button(u"Retain Settings"_s)->setChecked(retain);
    };
    const auto chosen = [this] {
        return Box(u"Submit as"_s)->currentText() + u'/' + Box(u"Target"_s)->currentText();
    };
    Submit({.Files = m_files}, [&] { choose(false); });
    Open({}, [&] { QCOMPARE(chosen(), u"Auto/Auto"_s); });
    Submit({.Files = m_files}, [&] { choose(true); });
    Open({}, [&] { QCOMPARE(chosen(), u"Two/Long Jobs Queue"_s); });
    // What the caller wants goes before.
    const int first = m_manager->jobTypes.GetAll().first().JobTypeID;
    Open({.Files = {}, .Destination = Taskmill_Destination::Short, .JobTypeID = first},
         [&] { QCOMPARE(chosen(), u"One/Short Jobs Queue"_s); });
}

void TestOpenFilesDialog::RetainsTheListWhenTold()
{
    Submit({.Files = m_files});
    Open({}, [&] {
        QCOMPARE(Names(), QString{});
        QCOMPARE(CountText(), u"No files:"_s);
        Button(u"Retain File List"_s)->setChecked(true);
    });
    Submit({.Files = m_files});
    Open({}, [&] { QCOMPARE(Names(), u"a.in b.in- c.in-"_s); });
    Open({.Files = {m_files[1]}}, [&] { QCOMPARE(Names(), u"b.in"_s); });
}

void TestOpenFilesDialog::DefaultSettingsSetEverythingBack()
{
    Submit({.Files = m_files, .Destination = Taskmill_Destination::Long, .JobTypeID = 0}, [&] {
        for (QCheckBox *box : m_dialog->findChildren<QCheckBox *>())
            box->toggle();
        Box(u"Submit as"_s)->setCurrentIndex(1);
        Box(u"File List Detail"_s)->setCurrentIndex(0);
        FileList()->SetDetail(0);
        Click(u"Default Settings"_s);
        for (const QCheckBox *box : m_dialog->findChildren<QCheckBox *>())
            QCOMPARE(box->isChecked(), box->text() == "Use Native File Browser"_L1);
        QCOMPARE(Box(u"Submit as"_s)->currentText() + Box(u"Target"_s)->currentText(), u"AutoAuto"_s);
        QCOMPARE(Box(u"File List Detail"_s)->currentText(), u"High"_s);
        QVERIFY(FileList()->isColumnHidden(List::FilePathColumn));
        QVERIFY(!FileList()->isSortingEnabled());
    });
    QCOMPARE(Stored(u"Sorting"_s), u"0"_s);
}

void TestOpenFilesDialog::OffersWhatWasSubmitted()
{
    QVERIFY(QDir{m_manager->directory.path()}.mkdir(u"sub"_s));
    const QString deep = m_manager->InputFile(u"sub/d & e.in"_s);
    Open({}, [&] {
        QVERIFY(!Button(u"Add Recent File"_s)->isEnabled() &&
                !Button(u"Add Recent File List"_s)->isEnabled());
    });
    Submit({.Files = m_files, .CheckAll = true});
    Submit({.Files = {m_files[1], deep}, .CheckAll = true});
    Submit({.Files = {m_files[0]}});
    QVERIFY(QFile::remove(m_files[2]));
    Open({}, [&] {
        const QMenu *files = Menu(u"Add Recent File"_s);
        QCOMPARE(EntryTexts(*files), (QStringList{u"&1  "_s + m_files[0], u"&2  "_s + m_files[1],
                                                  u"&3  "_s + m_manager->Path(u"sub/d && e.in"_s)}));
        files->actions()[2]->trigger();
        QCOMPARE(Names(), u"d & e.in"_s);
        const QMenu *lists = Menu(u"Add Recent File List"_s);
        QCOMPARE(EntryTexts(*lists),
                 (QStringList{u"&1  2 files: b.in, d && e.in"_s, u"&2  3 files: a.in, b.in, c.in"_s}));
        lists->actions()[1]->trigger();
        QCOMPARE(Names(), u"d & e.in a.in b.in"_s);
        const QMenu *directories = Menu(u"Add files of a recent directory"_s);
        QCOMPARE(directories->actions().size(), 2);
        directories->actions()[1]->trigger();
    });
    QCOMPARE(m_manager->prompt.openFilesAsked.first().Directory, m_manager->Path(u"sub"_s));

    QStringList many;
    for (int i = 0; i < 12; ++i)
        many.append(m_manager->InputFile(u"m%1.in"_s.arg(i)));
    Submit({.Files = many, .CheckAll = true});
    QCOMPARE(KilnUtil_Registry::GetRecentJobInputFiles(), many.first(10));
}

void TestOpenFilesDialog::SubmitNeedsACheckedFile()
{
    const Choice choice = Open({}, [&] {
        QVERIFY(Button(u"  Add Files...  "_s)->hasFocus());
        QVERIFY(!Button(u"Submit"_s)->isEnabled());
        QVERIFY(qobject_cast<QPushButton *>(Button(u"Submit"_s))->autoDefault());
        QTest::keyClick(FileList(), Qt::Key_Return);
        QVERIFY(m_dialog->isVisible());
        // Another question while it is open is not asked.
        QVERIFY(!m_dialog->AskForJobs(anyCaption, {.Files = m_files}));
        QCOMPARE(Names(), QString{});
    });
    QVERIFY(!choice);
}

void TestOpenFilesDialog::NothingIsSubmittedWhenTheProgramQuits()
{
    bool asked = false;
    QList<int> jobIDs;
    m_manager->submitter.SetSubmitDialog(m_dialog.get());
    QTimer::singleShot(0, this, [&] {
        QTimer::singleShot(0, m_dialog.get(), [&] {
            asked = m_dialog->isVisible();
            m_manager->project.CloseProject();
            QCoreApplication::exit(0);
        });
        jobIDs = m_manager->submitter.SubmitFiles(m_files, Taskmill_Destination::Long, -1);
    });
    QCoreApplication::exec();
    QVERIFY(asked && jobIDs.isEmpty() && !m_dialog->isVisible());
    QCOMPARE(m_manager->prompt.asked.size(), 0);
}

void TestOpenFilesDialog::SubmittedFilesBecomeJobs()
{
    m_manager->longJobs.Jobs().SetPaused(true);
    m_manager->shortJobs.Jobs().SetPaused(true);
    m_manager->submitter.SetSubmitDialog(m_dialog.get());
    const QStringList files{m_manager->InputFile(u"x.two"_s), m_manager->InputFile(u"gone.two"_s),
                            m_manager->InputFile(u"y.one"_s)};
    QTimer::singleShot(0, m_dialog.get(), [&] {
        QVERIFY(QFile::remove(files[1]));
        Click(u"Submit"_s);
    });
    const QList<int> jobIDs =
        m_manager->submitter.SubmitFiles(files, Taskmill_Destination::JobTypeDefault, -1);
    QCOMPARE(jobIDs, (QList<int>{1, 2}));
    QCOMPARE(m_manager->shortJobs.Jobs().JobIDs(), QList<int>{1});
    QCOMPARE(m_manager->longJobs.Jobs().JobIDs(), QList<int>{2});
    QCOMPARE(m_manager->shortJobs.Jobs().Jobs().first()->Record().Name, u"x.two"_s);
}

QTEST_MAIN(TestOpenFilesDialog)
#include "test_openfilesdialog.moc"
