// SPDX-License-Identifier: MIT
#include "db/databasetestutil.h"
#include "ui/jobtypeswidget.h"
#include "ui/newjobtypewidget.h"
#include "ui/uidriver.h"
#include "widgets/tablewidget.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {
using Answer = KilnUtil_UserPrompt::WarnAnswer;

Taskmill_JobType ValidJobType()
{
    Taskmill_JobType jobType = SampleJobType(u" xtb"_s);
    jobType.ApplicationName = u"testprogram"_s;
    jobType.ExecutablePath = TestProgramPath();
    jobType.InputFileFilter += u' ';
    return jobType;
}

/// Three job types, sorted by their names, in another order than they were added.
struct JobTypesPage : PagePlace
{
    Taskmill_JobTypesWidget tab{&window, manager.JobTypes()};
    KilnUtil_TableWidget &table = *window.findChild<KilnUtil_TableWidget *>();

    JobTypesPage()
    {
        for (const QString &name : {u"water"_s, u"acetone"_s, u"benzene"_s})
            manager.AddJobType(name, {});
        table.sortByColumn(1, Qt::AscendingOrder);
        Show();
    }
    [[nodiscard]] QString Names() const { return ColumnTexts(table, 1).join(u' '); }
    void SelectRow(const QString &name)
    {
        table.selectRow(static_cast<int>(ColumnTexts(table, 1).indexOf(name)));
    }
};
} // namespace

/// The page of the job types and its editor.
class TestJobTypes : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void RemovesAfterAQuestion()
    {
        JobTypesPage page;
        page.manager.prompt.answers = {Answer::No, Answer::Yes};
        ChooseFromMenu(page.table, 1, u"benzene"_s, u"Remove Selected Job Type"_s);
        QCOMPARE(page.Names(), u"acetone benzene water"_s);
        ChooseFromMenu(page.table, 1, u"benzene"_s, u"Remove Selected Job Type"_s);
        QVERIFY(page.manager.prompt.asked.last().text.endsWith(u"?\n\nbenzene"_s));
        QCOMPARE(page.manager.JobTypes().Names(), (QStringList{u"water"_s, u"acetone"_s}));
        page.SelectRow(u"water"_s);
        page.manager.prompt.answers = {Answer::Yes};
        QTest::keyClick(&page.table, Qt::Key_Delete);
        QCOMPARE(page.Names(), u"acetone"_s);

        page.manager.prompt.answers = {Answer::No, Answer::Yes};
        ChooseFromMenu(page.table, QPoint{5, 300}, u"Remove All Job Types"_s);
        QCOMPARE(page.Names(), u"acetone"_s);
        ChooseFromMenu(page.table, QPoint{5, 300}, u"Remove All Job Types"_s);
        QVERIFY(TestManager::Database().GetJobTypes().isEmpty());
    }

    void NothingIsRemovedWithoutAJobType()
    {
        JobTypesPage page;
        // The first row stored has the key of an empty record.
        QCOMPARE(page.manager.JobTypes().GetAll()[0].JobTypeID, 0);
        page.table.setCurrentIndex({});
        QTest::keyClick(&page.table, Qt::Key_Delete);
        QVERIFY(page.manager.prompt.asked.isEmpty());
        page.manager.prompt.answers = {Answer::Yes};
        ChooseFromMenu(page.table, QPoint{5, 300}, u"Remove Selected Job Type"_s);
        ChooseFromMenu(page.table, QPoint{5, 300}, u"Edit Selected Job Type"_s);
        QCOMPARE(TestManager::Database().GetJobTypes().size(), 3);
    }

    void AddsWhatTheEditorHolds()
    {
        JobTypesPage page;
        Taskmill_JobType jobType = ValidJobType();
        jobType.Name = u"user's"_s;
        jobType.DefaultQueue = u"None"_s;
        jobType.KillGraceSeconds = 30;
        jobType.Cores = 4;
        jobType.LeastFreeMB = 2000;
        jobType.HoldsChangedInput = true;
        jobType.MemoryMB = 5000;
        for (const bool accept : {false, true}) {
            WhenDialogIsOpen([&](QDialog &dialog) {
                dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog).Load(jobType);
                dialog.done(accept);
            });
            ChooseFromMenu(page.table, QPoint{5, 300}, u"Add Job Type"_s);
            QCOMPARE(page.Names(), accept ? u"acetone benzene user's water"_s : u"acetone benzene water"_s);
        }
        jobType.JobTypeID = 3;
        jobType.DefaultQueue = u"Queueless"_s;
        QCOMPARE(TestManager::Database().GetJobTypes().last(), jobType);
        QVERIFY(page.manager.prompt.asked.isEmpty());
    }

    void EachEntryAddsItsDefault()
    {
        PagePlace page;
        Taskmill_JobTypesWidget tab{&page.window, page.manager.JobTypes()};
        page.Show();
        auto &table = *page.window.findChild<KilnUtil_TableWidget *>();
        const QScopedValueRollback programs{KilnUtil_FileSys::m_appDirPath, page.manager.directory.path()};
        qputenv("VELTRA_EXE", page.manager.Path(u"veltra.exe"_s).toLocal8Bit());
        const auto *note = tab.Frame()->findChild<QLabel *>();
        QStringList all;
        for (const QString &name :
             {u"Veltra"_s, u"Gaussian"_s, u"GMMX"_s, u"Cubegen"_s, u"Formchk"_s, u"Freqchk"_s, u"Cubman"_s}) {
            const QString file = name == "Gaussian"_L1 ? u"g16.exe"_s : name.toLower() + u".exe"_s;
            WriteTestFile(page.manager.Path(file), {});
            if (all.isEmpty()) {
                // Those that are not installed are named.
                ChooseFromMenu(table, QPoint{5, 300}, u"Add Default Job Types"_s);
                QVERIFY(note->isVisible());
                QVERIFY(note->text().startsWith("Added: Veltra. "_L1));
                QVERIFY(note->text().contains("Gaussian, GMMX, Cubegen, Formchk, Freqchk, Cubman."_L1));
                page.manager.JobTypes().RemoveAll();
            }
            const QString types = name == "Veltra"_L1 ? u"Types"_s : u"Type"_s;
            ChooseFromMenu(table, QPoint{5, 300}, u"Add Default %1 Job %2"_s.arg(name, types));
            all.append(name);
            QCOMPARE(page.manager.JobTypes().Names(), all);
            QVERIFY(!note->isVisible());
        }
        ChooseFromMenu(table, QPoint{5, 300}, u"Add Default Job Types"_s);
        QCOMPARE(page.manager.JobTypes().Names(), all + all);
    }

    void EditsTheJobTypeOfTheRow()
    {
        JobTypesPage page;
        page.SelectRow(u"benzene"_s);
        WhenDialogIsOpen([](QDialog &dialog) {
            auto &editor = dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog);
            Taskmill_JobType jobType = editor.Read();
            QCOMPARE(jobType.Name, u"benzene"_s);
            jobType.Name = u"toluene"_s;
            editor.Load(jobType);
            dialog.accept();
        });
        QTest::keyClick(&page.table, Qt::Key_Return);
        QCOMPARE(page.Names(), u"acetone toluene water"_s);
        QCOMPARE(page.manager.JobTypes().Names(), (QStringList{u"water"_s, u"acetone"_s, u"toluene"_s}));
        QVERIFY(page.manager.prompt.asked.isEmpty());
    }

    void ReportsWhatCannotBeStored()
    {
        JobTypesPage page;
        page.SelectRow(u"water"_s);
        WhenDialogIsOpen([&](QDialog &dialog) {
            auto &editor = dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog);
            Taskmill_JobType jobType = editor.Read();
            jobType.Name = u"user''s"_s;
            editor.Load(jobType);
            // It comes again with the same fields; then the project goes.
            WhenDialogIsOpen([&, jobType](QDialog &again) {
                QCOMPARE(editor.Read(), jobType);
                QCOMPARE(page.manager.JobTypes().Names().first(), u"water"_s);
                page.manager.Project().CloseProject();
                WhenDialogIsOpen([](QDialog &last) { last.reject(); });
                again.accept();
            });
            dialog.accept();
        });
        QTest::keyClick(&page.table, Qt::Key_Return);
        QCOMPARE(page.manager.prompt.asked.size(), 2);
        QVERIFY(page.manager.prompt.asked[0].text.contains("single quotes"_L1));
        QVERIFY(page.manager.prompt.asked[1].text.contains("No project is open"_L1));
    }

    void OkFollowsTheFieldsThatAreLeft()
    {
        JobTypesPage page;
        Taskmill_NewJobTypeWidget editor{nullptr};
        Taskmill_JobType jobType = ValidJobType();
        jobType.GenericCommandLine = u"@INFILE"_s;
        editor.Load(jobType);
        editor.show();
        QVERIFY(QTest::qWaitForWindowActive(&editor));
        const auto buttons = editor.findChildren<QPushButton *>();
        const QPushButton &ok =
            **std::ranges::find(buttons, u"Ok"_s, [](const QPushButton *button) { return button->text(); });
        const auto labels = editor.findChildren<QLabel *>();
        const QLabel &hint = **std::ranges::find_if(
            labels, [](const QLabel *label) { return label->text().contains("@EXEFILE"_L1); });
        QVERIFY(!ok.isEnabled());

        // What is typed shows in the line, and in the button when a field is left, although unchanged.
        QTest::keyClicks(editor.findChild<QPlainTextEdit *>(), u"@EXEFILE "_s);
        QVERIFY(!ok.isEnabled());
        QVERIFY(hint.text().contains("leave a name"_L1));
        auto *name = editor.findChild<QLineEdit *>();
        name->setFocus();
        QTRY_VERIFY(name->hasFocus());
        QTest::keyClick(name, Qt::Key_Tab);
        QVERIFY(ok.isEnabled());
        QCOMPARE(hint.text(), QString{});
        editor.findChildren<QLineEdit *>()[2]->clear();
        name->setFocus();
        QTest::keyClick(name, Qt::Key_Tab);
        QVERIFY(hint.text().contains("executable path"_L1));
        for (const QWidget *field : editor.findChildren<QWidget *>())
            QVERIFY2(!field->accessibleDescription().contains(u'<'),
                     qPrintable(field->accessibleDescription()));
    }
};

QTEST_MAIN(TestJobTypes)
#include "test_jobtypes.moc"
