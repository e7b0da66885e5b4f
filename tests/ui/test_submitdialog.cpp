#include "kilnutil/registry.h"
#include "support/testutil.h"
#include "ui/openfilesdialog.h"
#include "ui/uidriver.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
using List = Taskmill_OpenFilesList;
using Choice = std::optional<Taskmill_SubmitChoice>;

/// As the list shows a path and hands it on.
QString Native(const QString &path)
{
    return QDir::toNativeSeparators(path);
}

/// The dialog of a manager with the job types "One" (*.one, long) and "Two" (*.two, short).
struct SubmitDialog : PagePlace
{
    const QStringList files{Native(manager.InputFile(u"a.in"_s)), Native(manager.InputFile(u"b.in"_s)),
                            Native(manager.InputFile(u"c.in"_s))};
    Taskmill_OpenFilesDialog dialog{manager.store, nullptr};

    SubmitDialog()
    {
        KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
        manager.AddJobType(u"One"_s, u"exit 0"_s, u"Long"_s, u"One Files (*.one)"_s);
        manager.AddJobType(u"Two"_s, u"exit 0"_s, u"Short"_s, u"Two Files (*.two)"_s);
    }

    /// Opens the dialog and calls the function while it is open, then closes it unless that was done.
    Choice Open(const Taskmill_SubmitChoice &preset, const std::function<void()> &whileOpen)
    {
        QTimer::singleShot(0, &dialog, [&] {
            if (QTest::qWaitForWindowActive(&dialog))
                whileOpen();
            if (dialog.isVisible())
                dialog.reject();
        });
        return dialog.AskForJobs(u"Job Input Files"_s, preset);
    }
    /// Opens it and submits.
    Choice Submit(
        const Taskmill_SubmitChoice &preset, const std::function<void()> &before = [] {})
    {
        return Open(preset, [&] {
            before();
            Click(u"Submit"_s);
        });
    }

    /// The control with that text or accessible name.
    template <typename Control>
    [[nodiscard]] Control *Find(const QString &name) const
    {
        for (Control *control : dialog.findChildren<Control *>()) {
            if (control->accessibleName() == name || control->property("text").toString().trimmed() == name)
                return control;
        }
        qFatal("no control %ls", qUtf16Printable(name));
    }
    [[nodiscard]] QAbstractButton *Button(const QString &name) const { return Find<QAbstractButton>(name); }
    [[nodiscard]] QComboBox *Box(const QString &name) const { return Find<QComboBox>(name); }
    [[nodiscard]] List *FileList() const { return dialog.findChild<List *>(); }
    void Click(const QString &button) const { Button(button)->click(); }

    /// "a.in b.in-": the names in order, with a minus when not checked.
    [[nodiscard]] QString Names() const
    {
        QStringList names;
        for (int row = 0; row < FileList()->topLevelItemCount(); ++row) {
            const QTreeWidgetItem *item = FileList()->topLevelItem(row);
            names.append(item->text(List::FileNameColumn) +
                         (item->checkState(List::IDColumn) == Qt::Checked ? QString{} : u"-"_s));
        }
        return names.join(u' ');
    }
};
} // namespace

class TestSubmitDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void OpensWithWhatItIsGiven();
    void IgnoresStoredOptionsThatMakeNoSense();
    void TakesAFileOnce();
    void TakesDroppedFilesAndFolders();
    void KeysOfTheList();
};

void TestSubmitDialog::OpensWithWhatItIsGiven()
{
    SubmitDialog ui;
    const int second = ui.manager.jobTypes.GetAll().last().JobTypeID;
    for (const bool checkAll : {true, false}) {
        const Choice choice =
            ui.Submit({.Files = {ui.files[2], ui.manager.Path(u"missing"_s), ui.files[0]},
                       .Destination = Taskmill_Destination::Queueless,
                       .JobTypeID = second,
                       .CheckAll = checkAll},
                      [&] { QCOMPARE(ui.Names(), checkAll ? u"c.in a.in"_s : u"c.in a.in-"_s); });
        QVERIFY(choice);
        QCOMPARE(choice->Files,
                 checkAll ? (QStringList{ui.files[2], ui.files[0]}) : QStringList{ui.files[2]});
        QCOMPARE(choice->Destination, Taskmill_Destination::Queueless);
        QCOMPARE(choice->JobTypeID, second);
    }
    QVERIFY(!ui.Open({}, [&] {
        QVERIFY(!ui.Button(u"Submit"_s)->isEnabled());
        // Another question while it is open is not asked.
        QVERIFY(!ui.dialog.AskForJobs(u"Job Input Files"_s, {.Files = ui.files}));
    }));
}

void TestSubmitDialog::IgnoresStoredOptionsThatMakeNoSense()
{
    SubmitDialog ui;
    KilnUtil_Registry::PutAppUserData(u"Open Files"_s, u"Retain Settings"_s, u"1"_s);
    for (const QString &value : {u"4"_s, u"-1"_s, u"1x"_s, u"99999999999"_s}) {
        for (const QString &key : {u"Sorting"_s, u"File List Detail"_s, u"Open as"_s, u"Destination Queue"_s,
                                   u"File Open Options"_s, u"Last Add File Type"_s})
            KilnUtil_Registry::PutAppUserData(u"Open Files"_s, key, value);
        ui.Open({}, [&] {
            QVERIFY(!ui.Button(u"Sorting"_s)->isChecked());
            QCOMPARE(ui.Box(u"File List Detail"_s)->currentIndex(), 2);
            QCOMPARE(ui.Box(u"Submit as"_s)->currentText(), u"Auto"_s);
            QCOMPARE(ui.Box(u"Target"_s)->currentText(), u"Auto"_s);
            ui.Click(u"Add Files..."_s);
        });
        QCOMPARE(ui.manager.prompt.openFilesAsked.last().NameFilter, 0);
    }
}

void TestSubmitDialog::TakesAFileOnce()
{
    SubmitDialog ui;
    const QString same = ui.manager.directory.path() + u"/./x/..//a.in "_s;
    ui.Submit({.Files = {ui.files[0], same, u" "_s, {}, QDir::current().relativeFilePath(ui.files[0])},
               .CheckAll = true},
              [&] {
                  QCOMPARE(ui.Names(), u"a.in"_s);
                  ui.Button(u"Allow Duplicate Files"_s)->setChecked(true);
              });
    // The option is in force for the files that it opens with, too.
    ui.Open({.Files = {ui.files[0], same}, .CheckAll = true}, [&] {
        QCOMPARE(ui.FileList()->CheckedPaths(), (QStringList{ui.files[0], ui.files[0]}));
    });
}

void TestSubmitDialog::TakesDroppedFilesAndFolders()
{
    SubmitDialog ui;
    QVERIFY(QDir{ui.manager.directory.path()}.mkpath(u"folder/deeper"_s));
    for (const QString &name :
         {u"folder/Y.in"_s, u"folder/x.in"_s, u"folder/.hidden"_s, u"folder/deeper/z.in"_s})
        ui.manager.InputFile(name);
    const QStringList paths{ui.files[1], Native(ui.manager.Path(u"folder"_s)), ui.files[0]};
    ui.Open({.Files = {ui.files[0]}}, [&] {
        DropFiles(*ui.FileList(), paths);
        QCOMPARE(ui.Names(), u"a.in b.in x.in Y.in"_s);
    });
    // As dropped on the window; a request means the folder itself.
    ui.Open({.Files = paths, .CheckAll = true}, [&] { QCOMPARE(ui.Names(), u"b.in x.in Y.in a.in"_s); });
    QCOMPARE(ui.Submit({.Files = {paths[1]}})->Files, QStringList{paths[1]});
}

void TestSubmitDialog::KeysOfTheList()
{
    SubmitDialog ui;
    const Choice choice = ui.Open({.Files = ui.files, .CheckAll = true}, [&] {
        QTest::keyClick(ui.FileList(), Qt::Key_Space);
        QTest::keyClick(ui.FileList(), Qt::Key_Down);
        QTest::keyClick(ui.FileList(), Qt::Key_Delete);
        QCOMPARE(ui.Names(), u"a.in- c.in"_s);
        QCOMPARE(ui.FileList()->currentItem()->text(List::FileNameColumn), u"c.in"_s);
        QTest::keyClick(ui.FileList(), Qt::Key_Return);
    });
    QVERIFY(choice && choice->Files == QStringList{ui.files[2]});
}

QTEST_MAIN(TestSubmitDialog)
#include "test_submitdialog.moc"
