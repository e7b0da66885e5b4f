#include "kilnutil/registry.h"
#include "openfilesfixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestOpenFilesDialog final : public OpenFilesFixture
{
    Q_OBJECT

private Q_SLOTS:
    void OpensWithWhatItIsGiven_data();
    void OpensWithWhatItIsGiven();
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
};

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
    const int second = Manager().jobTypes.GetAll().last().JobTypeID;
    const Choice choice = Submit({.Files = {Files()[2], Manager().Path(u"missing"_s), Files()[0]},
                                  .Destination = Taskmill_Destination::Queueless,
                                  .JobTypeID = second,
                                  .CheckAll = checkAll},
                                 [&] {
                                     QCOMPARE(Dialog().windowTitle(), u"Submit Jobs"_s);
                                     QVERIFY(Label(u"Job Input Files"_s));
                                     QCOMPARE(Names(), names);
                                     QCOMPARE(CountText(), count);
                                     QVERIFY(FileList()->topLevelItem(0)->isSelected());
                                     QCOMPARE(Box(u"Submit as"_s)->currentText(), u"Two"_s);
                                     QCOMPARE(Box(u"Target"_s)->currentText(), u"Queueless Jobs"_s);
                                 });
    QVERIFY(choice);
    QCOMPARE(choice->Files.size(), checkAll ? 2 : 1);
    QCOMPARE(choice->Files.first(), Files()[2]);
    QCOMPARE(choice->Destination, Taskmill_Destination::Queueless);
    QCOMPARE(choice->JobTypeID, second);

    // It comes to the same place again.
    const QRect place = Dialog().geometry();
    QVERIFY(Dialog().x() >= 10 && Dialog().y() >= 10);
    Open({}, [&] { QCOMPARE(Dialog().geometry(), place); });
}

void TestOpenFilesDialog::BrowsesForFiles()
{
    Manager().prompt.openFilesAnswers = {{.Files = {Files()[0], Files()[1]}, .NameFilter = 2}};
    Submit({}, [&] {
        Click(u"  Add Files...  "_s);
        QCOMPARE(Names(), u"a.in b.in"_s);
        QVERIFY(FileList()->hasFocus());
        Button(u"Use Native File Browser"_s)->setChecked(false);
        Click(u"  Add Files...  "_s);
    });
    Open({}, [&] { Click(u"  Add Files...  "_s); });

    const QList<KilnUtil_OpenFilesOptions> &asked = Manager().prompt.openFilesAsked;
    QCOMPARE(asked.size(), 3);
    QCOMPARE(asked[0].Title, u"Select Files"_s);
    QCOMPARE(asked[0].NameFilters,
             (QStringList{u"All Files (*.*)"_s, u"One Files (*.one)"_s, u"Two Files (*.two)"_s}));
    QCOMPARE(asked[0].NameFilter, 0);
    QVERIFY(asked[0].UseNativeBrowser);
    // It goes on from where files were found, also after the next start.
    for (const KilnUtil_OpenFilesOptions &later : {asked[1], asked[2]}) {
        QCOMPARE(later.Directory, Manager().directory.path());
        QCOMPARE(later.NameFilter, 2);
        QVERIFY(!later.UseNativeBrowser);
    }
}

void TestOpenFilesDialog::StartsWithTheBrowserWhenEmpty()
{
    Submit({.Files = Files()},
           [&] { Button(u"Start with File Browser if Initial File List is Empty"_s)->setChecked(true); });
    Open({.Files = Files()}, [] { QCoreApplication::processEvents(); });
    QVERIFY(Manager().prompt.openFilesAsked.isEmpty());
    Manager().prompt.openFilesAnswers = {{.Files = {Files()[1]}}};
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
    Open({.Files = Files()}, change);
    QCOMPARE(Stored(u"Sorting"_s), u"none"_s);
    Open({}, [&] {
        QVERIFY(!Button(u"Sorting"_s)->isChecked() && Button(u"Use Native File Browser"_s)->isChecked());
        QCOMPARE(Box(u"File List Detail"_s)->currentText(), u"High"_s);
    });

    Submit({.Files = Files()}, change);
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

    NewDialog();
    Open({.Files = Files()}, [&] {
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
    QCOMPARE(Manager().prompt.openFilesAsked.first().NameFilter, 0);
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
    Submit({.Files = Files()}, [&] { choose(false); });
    Open({}, [&] { QCOMPARE(chosen(), u"Auto/Auto"_s); });
    Submit({.Files = Files()}, [&] { choose(true); });
    Open({}, [&] { QCOMPARE(chosen(), u"Two/Long Jobs Queue"_s); });
    // What the caller wants goes before.
    const int first = Manager().jobTypes.GetAll().first().JobTypeID;
    Open({.Files = {}, .Destination = Taskmill_Destination::Short, .JobTypeID = first},
         [&] { QCOMPARE(chosen(), u"One/Short Jobs Queue"_s); });
}

void TestOpenFilesDialog::RetainsTheListWhenTold()
{
    Submit({.Files = Files()});
    Open({}, [&] {
        QCOMPARE(Names(), QString{});
        QCOMPARE(CountText(), u"No files:"_s);
        Button(u"Retain File List"_s)->setChecked(true);
    });
    Submit({.Files = Files()});
    Open({}, [&] { QCOMPARE(Names(), u"a.in b.in- c.in-"_s); });
    Open({.Files = {Files()[1]}}, [&] { QCOMPARE(Names(), u"b.in"_s); });
}

void TestOpenFilesDialog::DefaultSettingsSetEverythingBack()
{
    Submit({.Files = Files(), .Destination = Taskmill_Destination::Long, .JobTypeID = 0}, [&] {
        for (QCheckBox *box : Dialog().findChildren<QCheckBox *>())
            box->toggle();
        Box(u"Submit as"_s)->setCurrentIndex(1);
        Box(u"File List Detail"_s)->setCurrentIndex(0);
        FileList()->SetDetail(0);
        Click(u"Default Settings"_s);
        for (const QCheckBox *box : Dialog().findChildren<QCheckBox *>())
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
    QVERIFY(QDir{Manager().directory.path()}.mkdir(u"sub"_s));
    const QString deep = Manager().InputFile(u"sub/d & e.in"_s);
    Open({}, [&] {
        QVERIFY(!Button(u"Add Recent File"_s)->isEnabled() &&
                !Button(u"Add Recent File List"_s)->isEnabled());
    });
    Submit({.Files = Files(), .CheckAll = true});
    Submit({.Files = {Files()[1], deep}, .CheckAll = true});
    Submit({.Files = {Files()[0]}});
    QVERIFY(QFile::remove(Files()[2]));
    Open({}, [&] {
        const QMenu *files = Menu(u"Add Recent File"_s);
        QCOMPARE(EntryTexts(*files), (QStringList{u"&1  "_s + Files()[0], u"&2  "_s + Files()[1],
                                                  u"&3  "_s + Manager().Path(u"sub/d && e.in"_s)}));
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
    QCOMPARE(Manager().prompt.openFilesAsked.first().Directory, Manager().Path(u"sub"_s));

    QStringList many;
    for (int i = 0; i < 12; ++i)
        many.append(Manager().InputFile(u"m%1.in"_s.arg(i)));
    Submit({.Files = many, .CheckAll = true});
    QCOMPARE(KilnUtil_Registry::GetRecentJobInputFiles(), many.first(10));
}

void TestOpenFilesDialog::SubmitNeedsACheckedFile()
{
    const Choice choice = Open({}, [&] {
        QVERIFY(Button(u"  Add Files...  "_s)->hasFocus());
        QVERIFY(!Button(u"Submit"_s)->isEnabled());
        // Not that Enter would open the browser again.
        for (QWidget *widget : std::initializer_list<QWidget *>{Button(u"  Add Files...  "_s), FileList()}) {
            QTest::keyClick(widget, Qt::Key_Return);
            QVERIFY(Dialog().isVisible() && Manager().prompt.openFilesAsked.isEmpty());
        }
        // Another question while it is open is not asked.
        QVERIFY(!Dialog().AskForJobs(u"Job Input Files"_s, {.Files = Files()}));
        QCOMPARE(Names(), QString{});
    });
    QVERIFY(!choice);
}

void TestOpenFilesDialog::NothingIsSubmittedWhenTheProgramQuits()
{
    bool asked = false;
    QList<int> jobIDs;
    Manager().submitter.SetSubmitDialog(&Dialog());
    QTimer::singleShot(0, this, [&] {
        QTimer::singleShot(0, &Dialog(), [&] {
            asked = Dialog().isVisible();
            Manager().project.CloseProject();
            QCoreApplication::exit(0);
        });
        jobIDs = Manager().submitter.SubmitFiles(Files(), Taskmill_Destination::Long, -1);
    });
    QCoreApplication::exec();
    QVERIFY(asked && jobIDs.isEmpty() && !Dialog().isVisible());
    QCOMPARE(Manager().prompt.asked.size(), 0);
}

void TestOpenFilesDialog::SubmittedFilesBecomeJobs()
{
    Manager().longJobs.Jobs().SetPaused(true);
    Manager().shortJobs.Jobs().SetPaused(true);
    Manager().submitter.SetSubmitDialog(&Dialog());
    const QStringList files{Manager().InputFile(u"x.two"_s), Manager().InputFile(u"gone.two"_s),
                            Manager().InputFile(u"y.one"_s)};
    QTimer::singleShot(0, &Dialog(), [&] {
        QVERIFY(QFile::remove(files[1]));
        Click(u"Submit"_s);
    });
    const QList<int> jobIDs =
        Manager().submitter.SubmitFiles(files, Taskmill_Destination::JobTypeDefault, -1);
    QCOMPARE(jobIDs, (QList<int>{1, 2}));
    QCOMPARE(Manager().shortJobs.Jobs().JobIDs(), QList<int>{1});
    QCOMPARE(Manager().longJobs.Jobs().JobIDs(), QList<int>{2});
    QCOMPARE(Manager().shortJobs.Jobs().Jobs().first()->Record().Name, u"x.two"_s);
}

QTEST_MAIN(TestOpenFilesDialog)
#include "test_openfilesdialog.moc"
