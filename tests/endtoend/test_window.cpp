// SPDX-License-Identifier: MIT
#include "endtoend/desktop.h"
#include "endtoend/projectfixture.h"
#include "manager/version.h"

#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString exitTitle = u"Exit Taskmill"_s;

const QString choice = u"Let running jobs go on"_s;

const QByteArray waterMopac = "PM7\nWater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
const QByteArray waterXyz = "3\nwater\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
} // namespace

/// The real window on a desktop with a window manager and a tray, worked with mouse and keyboard.
class TestWindow : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void ComesAndGoesByTheTray()
    {
        Desktop desktop;
        QVERIFY(Project().AddTestType(u"Wait"_s, u"wait"_s));
        QVERIFY(desktop.Start());
        QVERIFY(Start(desktop));
        const QString title = Taskmill_VersionText();
        const auto chooseInTray = [&](int line) {
            const auto icon = desktop.WaitForTrayIcon();
            if (icon)
                desktop.Click(icon->Geometry.center(), 3);
            const auto menu = icon ? desktop.WaitForPopup() : std::nullopt;
            // Its three lines have the same height.
            if (menu)
                desktop.Click(menu->Geometry.topLeft() +
                              QPoint{20, menu->Geometry.height() * (2 * line - 1) / 6});
            return menu.has_value();
        };
        QVERIFY(desktop.Close(*desktop.WaitForWindow(title)));
        // The first time it says where the program has gone, and a click brings it back.
        const auto message = desktop.WaitForPopup();
        QVERIFY(message);
        desktop.Click(message->Geometry.center());
        QVERIFY(desktop.WaitForWindow(title));
        QVERIFY(desktop.Close(*desktop.WaitForWindow(title)));
        QVERIFY(Manager().Submit(u"Wait"_s, Project().InputFile(u"a"_s), u"none"_s).startsWith("accepted="));
        QVERIFY(chooseInTray(1));
        QVERIFY(desktop.WaitForWindow(title));
        QVERIFY(chooseInTray(2));
        QVERIFY(desktop.WaitUntilGone(title));
        // The question needs its window.
        QVERIFY(chooseInTray(3));
        QVERIFY(desktop.WaitForWindow(title));
        QVERIFY(desktop.WaitForWindow(exitTitle));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
        QVERIFY(desktop.WaitForWindow(u"Save Changes to Current Project?"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"No"_s));
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
        QCOMPARE(Manager().Errors(), "");
        QCOMPARE(Project().Rows().queuelessJobs.size(), 0);
    }

    void LetsRunningJobsGoOn()
    {
#ifndef TASKMILL_HAS_KEEPERS
        QSKIP("Built without the keeper.");
#endif
        qputenv("TASKMILL_END_JOBS", "");
        const auto reset = qScopeGuard([] { qunsetenv("TASKMILL_END_JOBS"); });
        Desktop desktop;
        QVERIFY(Project().AddTestType(u"Wait"_s, u"wait"_s));
        QVERIFY(desktop.Start());
        const auto exit = [&](bool changesChoice) {
            desktop.Press(u"alt+x"_s);
            return desktop.WaitForWindow(exitTitle) &&
                   (!changesChoice || desktop.ClickControl(u"check box"_s, choice)) &&
                   desktop.ClickControl(u"push button"_s, u"Yes"_s) &&
                   desktop.WaitForWindow(u"Save Changes to Current Project?"_s) &&
                   desktop.ClickControl(u"push button"_s, u"No"_s) &&
                   Manager().End() == ManagerEnd{.status = 0};
        };
        QVERIFY(Start(desktop));
        QVERIFY(Manager().Submit(u"Wait"_s, Project().InputFile(u"a"_s), u"none"_s).startsWith("accepted="));
        QVERIFY(exit(true));
        for (const bool endsJob : {false, true}) {
            QVERIFY(Start(desktop));
            QVERIFY(desktop.WaitForWindow(u"Project Recovered"_s));
            QVERIFY(desktop.ClickControl(u"push button"_s, u"OK"_s));
            QVERIFY(desktop.ClickControl(u"page tab"_s, u"Queueless Jobs"_s));
            QVERIFY(desktop.WaitForControl(u"cell"_s, u"Running"_s));
            // The first time what was chosen is remembered.
            QVERIFY(exit(endsJob));
        }
        QVERIFY(Start(desktop));
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Queueless Jobs"_s));
        QVERIFY(desktop.WaitUntilControlIsGone(u"cell"_s, u"Running"_s));
    }

    void RunningJobsGoOnBesideAnotherProject()
    {
#ifndef TASKMILL_HAS_KEEPERS
        QSKIP("Built without the keeper.");
#endif
        qputenv("TASKMILL_END_JOBS", "");
        const auto reset = qScopeGuard([] { qunsetenv("TASKMILL_END_JOBS"); });
        Desktop desktop;
        QVERIFY(Project().AddTestType(u"Wait"_s, u"waitfor @INFILE.go"_s));
        QVERIFY(desktop.Start());
        QVERIFY(Start(desktop));
        const QString input = Project().InputFile(u"a"_s);
        QVERIFY(Manager().Submit(u"Wait"_s, input, u"none"_s).startsWith("accepted="));
        QVERIFY(desktop.WaitForControl(u"label"_s, u"1 running, 0 waiting"_s));
        const auto leave = [&](const QString &keys, const QString &answer) {
            desktop.Press(keys);
            return desktop.WaitForWindow(u"Close Current Project?"_s) &&
                   desktop.WaitForControl(u"label"_s, u"1 job is running."_s) &&
                   desktop.ClickControl(u"push button"_s, answer) &&
                   desktop.WaitUntilGone(u"Close Current Project?"_s);
        };
        QVERIFY(leave(u"ctrl+n"_s, u"Cancel"_s));
        QVERIFY(leave(u"ctrl+n"_s, u"Let them go on"_s));
        QVERIFY(desktop.WaitForWindow(u"Save Changes to Current Project?"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", New Project"_s));
        QVERIFY(desktop.WaitForControl(u"label"_s, u"0 running, 0 waiting"_s));

        // From the menu "Recent", and with the run of before.
        desktop.Press(u"alt+j"_s);
        QVERIFY(desktop.WaitForPopup());
        desktop.Press(u"r 1"_s);
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", jobs.mill"_s));
        QVERIFY(desktop.WaitForControl(u"label"_s, u"1 running, 0 waiting"_s));
        (void)Project().InputFile(u"a.go"_s);
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Finished Jobs"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"Completed"_s));
    }

    /// As when the user opens one from a folder of the desktop.
    void OffersAProjectThatIsOpenedElsewhere()
    {
        Desktop desktop;
        QVERIFY(Project().AddTestType(u"Wait"_s, u"wait"_s));
        QVERIFY(QFile::copy(Project().ProjectPath(), Project().Path(u"other.mill"_s)));
        QVERIFY(desktop.Start());
        QVERIFY(Start(desktop));
        const auto open = [this](const QString &file) {
            ManagerProcess second{Project().Path({})};
            second.Launch({file}, ManagerProcess::FreePorts().first, Manager().Port());
            return second.End() == ManagerEnd{.status = 0} ? second.Errors() : "it fails"_ba;
        };
        QCOMPARE(open(u"other.mill"_s), "");
        QVERIFY(desktop.WaitForWindow(u"Open Project"_s));
        QCOMPARE(open(u"jobs.mill"_s), "");
        QVERIFY(open(u"other.mill"_s)
                    .endsWith("other.mill was not opened: a question is open in the manager; "
                              "answer it first\n"));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"No"_s));
        QVERIFY(desktop.WaitUntilGone(u"Open Project"_s));
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", jobs.mill"_s));
        QCOMPARE(open(Project().Path(u"other.mill"_s)), "");
        QVERIFY(desktop.WaitForWindow(u"Open Project"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", other.mill"_s));
    }

    /// Twenty jobs of real programs, submitted in two ways, one of them killed; nothing is lost.
    void DayOfAChemist()
    {
        const QString mopac = QStandardPaths::findExecutable(u"mopac"_s);
        const QString xtb = QStandardPaths::findExecutable(u"xtb"_s);
        QVERIFY2(!mopac.isEmpty(), "mopac and xtb are not installed");
        QVERIFY2(!xtb.isEmpty(), "mopac and xtb are not installed");
        QVERIFY(Project().AddType(u"Semiempirical"_s, mopac, u"@EXEFILE @INFILE"_s, u"MOPAC (*.mop)"_s));
        QVERIFY(Project().AddType(u"Tight binding"_s, xtb, u"@EXEFILE @INFILE"_s, u"Molecules (*.xyz)"_s));
        QVERIFY(Project().AddTestType(u"Endless"_s, u"wait"_s, u"Endless (*.endless)"_s));
        Desktop desktop;
        QVERIFY(desktop.Start());
        QVERIFY(Start(desktop));
        // All twenty rows are in view.
        QVERIFY(MakeHigh(desktop));
        QVERIFY(desktop.WaitForControl(u"label"_s, u"Choose a job to see its details."_s));
        desktop.Press(u"F4"_s);
        for (const auto step :
             {&TestWindow::SubmitInTwoWays, &TestWindow::RunAllBesideTheEndlessOne,
              &TestWindow::RemoveTheEndlessOne, &TestWindow::LookAtAnOutput, &TestWindow::SaveAndLeave}) {
            (this->*step)(desktop);
            if (QTest::currentTestFailed())
                return;
        }
        const ProjectRows rows = Project().Rows();
        QCOMPARE(rows.longJobs.size(), 0);
        QCOMPARE(rows.lastJobID, u"20"_s);
        const auto countOf = [&rows](Taskmill_JobStatus status) {
            return std::ranges::count(rows.finishedJobs, status, &Taskmill_JobRecord::Status);
        };
        QCOMPARE(countOf(Taskmill_JobStatus::Killed), 1);
        QCOMPARE(countOf(Taskmill_JobStatus::Completed), 19);
        QVERIFY(Start(desktop));
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Finished Jobs"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"Tight binding"_s));
    }

    /// Ten calculations, all Completed for the system, of which two have failed for a chemist.
    void FindsAndMendsWhatFailed()
    {
        const QString mopac = QStandardPaths::findExecutable(u"mopac"_s);
        QVERIFY2(!mopac.isEmpty(), "mopac is not installed");
        QVERIFY(Project().AddType(u"Semiempirical"_s, mopac, u"@EXEFILE @INFILE"_s, u"MOPAC (*.mop)"_s));
        Desktop desktop;
        QVERIFY(desktop.Start());
        QVERIFY(Start(desktop));
        QVERIFY(MakeHigh(desktop));
        const auto submit = [this](const QString &name, const QByteArray &input) {
            return Manager()
                .Submit(u"Semiempirical"_s, Project().InputFile(name, input), u"none"_s)
                .startsWith("accepted=");
        };
        for (int number = 0; number < 8; ++number)
            QVERIFY(submit(u"water %1.mop"_s.arg(number), waterMopac));
        QVERIFY(submit(u"broken.mop"_s, "NOSUCHWORD " + waterMopac));
        QVERIFY(submit(u"slow.mop"_s,
                       "CYCLES=2 PM7\nWater\n\nO 0 1 0 1 0 1\nH 1.2 1 0 1 0 1\nH -0.3 1 1.1 1 0 1\n"));
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Finished Jobs"_s));
        QVERIFY(desktop.WaitForControl(u"label"_s, u"0 running, 0 waiting"_s));

        desktop.Press(u"ctrl+f"_s);
        QVERIFY(desktop.ClickControl(u"check box"_s, u"Failed only"_s));
        QVERIFY(desktop.WaitUntilControlIsGone(u"cell"_s, u"water 0.mop"_s));
        QVERIFY(desktop.ClickControl(u"cell"_s, u"slow.mop"_s));
        QVERIFY(desktop.WaitForText(u"Details of the job"_s, u"EXCESS NUMBER OF OPTIMIZATION CYCLES"_s));
        QVERIFY(desktop.ClickControl(u"cell"_s, u"broken.mop"_s));
        QVERIFY(desktop.WaitForText(u"Details of the job"_s, u"NOSUCHWORD"_s));
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Output"_s));
        QVERIFY(desktop.WaitForText(u"Last lines of the output"_s, u"NOSUCHWORD"_s));
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"General"_s));

        WriteTestFile(Project().Path(u"broken.mop"_s), waterMopac);
        QVERIFY(desktop.ClickControl(u"cell"_s, u"broken.mop"_s, 3));
        QVERIFY(desktop.WaitForPopup());
        constexpr int runAgainFromEnd = 5;
        desktop.Press(QStringList(runAgainFromEnd, u"Up"_s).join(u' ') + u" Return"_s);
        QVERIFY(desktop.WaitForWindow(u"Run Again"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Replace"_s));
        QVERIFY(desktop.ClickControl(u"check box"_s, u"Failed only"_s));
        QVERIFY(desktop.ClickControl(u"cell"_s, u"11"_s));
        QVERIFY(desktop.WaitForText(u"Details of the job"_s, u"Normal, MOPAC"_s));

        desktop.Press(u"ctrl+s"_s);
        QVERIFY(desktop.WaitUntilControlIsGone(u"label"_s, u"Changes not saved"_s));
        desktop.Press(u"ctrl+n"_s);
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", New Project"_s));
        desktop.Press(u"alt+j"_s);
        QVERIFY(desktop.WaitForPopup());
        desktop.Press(u"r 1"_s);
        QVERIFY(desktop.WaitForWindow(Taskmill_VersionText() + u", jobs.mill"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"11"_s));
        const QList<Taskmill_JobRecord> finished = Project().Rows().finishedJobs;
        QCOMPARE(finished.size(), 11);
        QCOMPARE(std::ranges::count(finished, Taskmill_Verdict::Normal,
                                    [](const Taskmill_JobRecord &job) { return job.Result.Verdict; }),
                 9);
    }

private:
    [[nodiscard]] bool Start(Desktop &desktop)
    {
        return Project().StartOnDesktop(desktop.Variables()) &&
               desktop.WaitForWindow(Taskmill_VersionText()) && desktop.WaitForTrayIcon();
    }

    /// So high a window has the details at first.
    [[nodiscard]] static bool MakeHigh(Desktop &desktop)
    {
        const auto window = desktop.WaitForWindow(Taskmill_VersionText());
        if (window)
            desktop.Run(u"xdotool"_s, {u"windowsize"_s, QString::number(window->ID), u"1200"_s, u"900"_s});
        return window.has_value();
    }

    void SubmitInTwoWays(Desktop &desktop)
    {
        for (int number = 0; number < 10; ++number) {
            const QString input = Project().InputFile(u"water %1.mop"_s.arg(number), waterMopac);
            QVERIFY(Manager().Submit(u"Semiempirical"_s, input, u"long"_s).startsWith("accepted="));
        }
        QString names = u"\"hold.endless\""_s;
        (void)Project().InputFile(u"hold.endless"_s);
        for (int number = 0; number < 9; ++number) {
            const QString name = u"w%1.xyz"_s.arg(number);
            (void)Project().InputFile(name, waterXyz);
            names += u" \""_s + name + u'"';
        }
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Submit Jobs..."_s));
        QVERIFY(desktop.WaitForWindow(u"Submit Jobs"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Add Files..."_s));
        QVERIFY(desktop.WaitForWindow(u"Select Files"_s));
        desktop.Type(names);
        desktop.Press(u"Return"_s);
        QVERIFY(desktop.WaitUntilGone(u"Select Files"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Submit"_s));
        QVERIFY(desktop.WaitUntilGone(u"Submit Jobs"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"w8.xyz"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"Pending"_s));
    }

    void RunAllBesideTheEndlessOne(Desktop &desktop)
    {
        QVERIFY(desktop.ClickControl(u"cell"_s, u"hold.endless"_s, 3));
        QVERIFY(desktop.WaitForPopup());
        constexpr int limitFromEnd = 10;
        desktop.Press(QStringList(limitFromEnd, u"Up"_s).join(u' ') + u" Return"_s);
        QVERIFY(desktop.WaitForWindow(u"Maximum Number of Running Jobs Allowed"_s));
        desktop.Type(u"2"_s);
        desktop.Press(u"Return"_s);
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Unpause Queue"_s));
        QVERIFY(desktop.WaitUntilControlIsGone(u"cell"_s, u"w8.xyz"_s));
    }

    void RemoveTheEndlessOne(Desktop &desktop)
    {
        QVERIFY(desktop.ClickControl(u"cell"_s, u"hold.endless"_s));
        desktop.Press(u"Delete"_s);
        for (const QString &title :
             {u"Remove Selected Jobs from Long Jobs Queue"_s, u"Removal of Selected Running Jobs"_s}) {
            QVERIFY(desktop.WaitForWindow(title));
            QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
            QVERIFY(desktop.WaitUntilGone(title));
        }
        QVERIFY(desktop.WaitUntilControlIsGone(u"cell"_s, u"hold.endless"_s));
    }

    void LookAtAnOutput(Desktop &desktop)
    {
        QVERIFY(desktop.ClickControl(u"page tab"_s, u"Finished Jobs"_s));
        QVERIFY(desktop.WaitForControl(u"cell"_s, u"Killed"_s));
        QVERIFY(desktop.ClickControl(u"cell"_s, u"water 3.mop"_s));
        desktop.Press(u"Return"_s);
        const auto viewer = desktop.WaitForWindow(u"water 3.out - File Stream Viewer"_s);
        QVERIFY(viewer);
        QVERIFY(desktop.Close(*viewer));
    }

    void SaveAndLeave(Desktop &desktop)
    {
        desktop.Press(u"alt+x"_s);
        QVERIFY(desktop.WaitForWindow(exitTitle));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
        QVERIFY(desktop.WaitUntilGone(exitTitle));
        QVERIFY(desktop.WaitForWindow(u"Save Changes to Current Project?"_s));
        QVERIFY(desktop.ClickControl(u"push button"_s, u"Yes"_s));
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    }
};

QTEST_GUILESS_MAIN(TestWindow)
#include "test_window.moc"
