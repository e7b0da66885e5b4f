// SPDX-License-Identifier: MIT
#include "kilnutil/registry.h"
#include "ui/openfilesdialog.h"
#include "ui/openfileslist.h"
#include "ui/uidriver.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>

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
    std::unique_ptr<Taskmill_OpenFilesDialog> dialog;

    SubmitDialog()
    {
        Renew();
        KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
        manager.AddJobType(u"One"_s, u"exit 0"_s, u"Long"_s, u"One Files (*.one)"_s);
        manager.AddJobType(u"Two"_s, u"exit 0"_s, u"Short"_s, u"Two Files (*.two)"_s);
    }

    /// As at the next start of the program.
    void Renew() { dialog = std::make_unique<Taskmill_OpenFilesDialog>(manager.Store(), nullptr); }

    /// Opens the dialog and calls the function while it is open, then closes it unless that was done.
    Choice Open(const Taskmill_SubmitChoice &preset, const std::function<void()> &whileOpen) const
    {
        QTimer::singleShot(0, dialog.get(), [&] {
            if (QTest::qWaitForWindowActive(dialog.get()))
                whileOpen();
            if (dialog->isVisible())
                dialog->reject();
        });
        return dialog->AskForJobs(u"Job Input Files"_s, preset);
    }
    /// Opens it and submits.
    Choice Submit(
        const Taskmill_SubmitChoice &preset, const std::function<void()> &before = [] {}) const
    {
        return Open(preset, [&] {
            before();
            Button(u"Submit"_s)->click();
        });
    }

    /// The check box of that text, or the choice of that accessible name.
    [[nodiscard]] QWidget *Option(const QString &name) const
    {
        for (QComboBox *box : dialog->findChildren<QComboBox *>()) {
            if (box->accessibleName() == name)
                return box;
        }
        return Button(name);
    }
    void ChangeOption(const QString &name) const
    {
        if (auto *box = qobject_cast<QComboBox *>(Option(name))) {
            box->setCurrentIndex((box->currentIndex() + 1) % box->count());
            Q_EMIT box->activated(box->currentIndex());
        } else {
            Button(name)->click();
        }
    }
    /// With the number of columns, which one option changes.
    [[nodiscard]] QString OptionText(const QString &name) const
    {
        const auto *box = qobject_cast<QComboBox *>(Option(name));
        const QString value = box ? box->currentText() : Button(name)->isChecked() ? u"on"_s : u"off"_s;
        const auto columns = FileList()->columnCount() - FileList()->header()->hiddenSectionCount();
        return u"%1, %2 columns"_s.arg(value).arg(columns);
    }
    /// The button with that text or accessible name.
    [[nodiscard]] QAbstractButton *Button(const QString &name) const
    {
        for (QAbstractButton *button : dialog->findChildren<QAbstractButton *>()) {
            if (button->accessibleName() == name || button->text().trimmed() == name)
                return button;
        }
        qFatal("no button %ls", qUtf16Printable(name));
    }
    [[nodiscard]] bool Says(const QString &text) const
    {
        const auto labels = dialog->findChildren<QLabel *>();
        return std::ranges::any_of(labels,
                                   [&text](const QLabel *label) { return label->text().contains(text); });
    }
    [[nodiscard]] List *FileList() const { return dialog->findChild<List *>(); }

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

class TestSubmitDialog : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void OpensWithWhatItIsGiven()
    {
        SubmitDialog ui;
        const int second = ui.manager.JobTypes().GetAll().last().JobTypeID;
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
            QVERIFY(ui.Says(u"default queue of its type"_s));
            // Another question while it is open is not asked.
            QVERIFY(!ui.dialog->AskForJobs(u"Job Input Files"_s, {.Files = ui.files}));
        }));
        ui.manager.JobTypes().RemoveAll();
        QVERIFY(!ui.Open({}, [&] { QVERIFY(ui.Says(u"There is no job type yet"_s)); }));
    }

    void ShowsWhatJobsNeedAndTakesOtherNumbers()
    {
        SubmitDialog submit;
        const QString &file = submit.files[0];
        WriteTestFile(file, "! hf\n%pal nprocs 4 end\n%maxcore 500\n* xyz 0 1\nHe 0 0 0\n*\n");
        const auto type = [&](int column, const QString &text) {
            List &list = *submit.FileList();
            list.setCurrentItem(list.topLevelItem(0), column);
            QTest::keyClick(&list, Qt::Key_F2);
            QTRY_VERIFY(list.findChild<QLineEdit *>());
            auto *editor = list.findChild<QLineEdit *>();
            editor->setText(text);
            const bool isTaken = editor->hasAcceptableInput();
            QTest::keyClick(editor, Qt::Key_Return);
            if (!isTaken) {
                QVERIFY(list.findChild<QLineEdit *>());
                QTest::keyClick(editor, Qt::Key_Escape);
            }
            QTRY_VERIFY(!list.findChild<QLineEdit *>());
        };
        const auto shown = [&] {
            const QTreeWidgetItem *item = submit.FileList()->topLevelItem(0);
            return item->text(List::CoresColumn) + u' ' + item->text(List::MemoryColumn);
        };
        Taskmill_SubmitChoice preset{.Files = {file}};
        preset.Needs[file].Cores = 8;
        Choice choice = submit.Submit(preset, [&] {
            QCOMPARE(shown(), u"8 2000"_s);
            // What is typed as it stands is still what the file says.
            type(List::MemoryColumn, u"2000"_s);
            type(List::CoresColumn, {});
            QCOMPARE(shown(), u"4 2000"_s);
            type(List::MemoryColumn, u"many"_s);
            type(List::CoresColumn, u"1000001"_s);
            QCOMPARE(shown(), u"4 2000"_s);
            type(List::MemoryColumn, u"3000"_s);
        });
        QVERIFY(choice);
        QCOMPARE(choice->Needs.keys(), QStringList{file});
        QCOMPARE(choice->Needs[file].Cores, std::nullopt);
        QCOMPARE(choice->Needs[file].MemoryMB, 3000);
    }

    void TakesAFileOnce()
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

    void KeepsItsOptions_data()
    {
        QTest::addColumn<QString>("byDefault");
        QTest::addColumn<QString>("changed");
        const QString off = u"off, 9 columns"_s;
        const QString on = u"on, 9 columns"_s;
        QTest::newRow("Sorting") << off << on;
        QTest::newRow("Use Native File Browser") << on << off;
        QTest::newRow("Start with File Browser if Initial File List is Empty") << off << on;
        QTest::newRow("Allow Duplicate Files") << off << on;
        QTest::newRow("Retain Settings") << off << on;
        QTest::newRow("File List Detail") << u"High, 9 columns"_s << u"Low, 3 columns"_s;
        QTest::newRow("Submit as") << u"Auto, 9 columns"_s << u"One, 9 columns"_s;
        QTest::newRow("Target") << u"Auto, 9 columns"_s << u"Long Jobs Queue, 9 columns"_s;
    }

    void KeepsItsOptions()
    {
        SubmitDialog ui;
        QFETCH(const QString, byDefault);
        QFETCH(const QString, changed);
        const QString option = QString::fromUtf8(QTest::currentDataTag());
        // Job type and queue are chosen again only when that is wanted.
        const bool isRetained = option == "Submit as"_L1 || option == "Target"_L1;
        const Taskmill_SubmitChoice preset{.Files = {ui.files[0]}, .CheckAll = true};
        const auto change = [&] {
            QCOMPARE(ui.OptionText(option), byDefault);
            ui.ChangeOption(option);
            QCOMPARE(ui.OptionText(option), changed);
        };
        ui.Open(preset, change); // cancelled
        ui.Renew();
        ui.Submit(preset, change);
        if (isRetained) {
            ui.Renew();
            const Choice choice = ui.Submit(preset, [&] {
                change();
                ui.ChangeOption(u"Retain Settings"_s);
            });
            QVERIFY(choice);
            QCOMPARE(choice->JobTypeID, option == "Submit as"_L1 ? 0 : -1);
            QCOMPARE(choice->Destination, option == "Target"_L1 ? Taskmill_Destination::Long
                                                                : Taskmill_Destination::JobTypeDefault);
        }
        ui.Renew();
        ui.Open(preset, [&] {
            QCOMPARE(ui.OptionText(option), changed);
            ui.Button(u"Default Settings"_s)->click();
            QCOMPARE(ui.OptionText(option), byDefault);
        });
    }

    void BrowsesAtOnceWhenToldSo()
    {
        SubmitDialog ui;
        const auto &browsed = ui.manager.prompt.browsed;
        ui.Open({}, [&] { QVERIFY(browsed.isEmpty()); });
        ui.Submit({.Files = {ui.files[0]}, .CheckAll = true}, [&] {
            ui.ChangeOption(u"Use Native File Browser"_s);
            ui.ChangeOption(u"Start with File Browser if Initial File List is Empty"_s);
        });
        ui.Open({}, [] { QCoreApplication::processEvents(); });
        QCOMPARE(browsed.size(), 1);
        QVERIFY(!browsed[0].UseNativeBrowser);
        QCOMPARE(browsed[0].NameFilters.join(u';'), u"All Files (*.*);One Files (*.one);Two Files (*.two)"_s);
    }
};

QTEST_MAIN(TestSubmitDialog)
#include "test_submitdialog.moc"
