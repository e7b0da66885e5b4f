#include "endtoend/desktop.h"
#include "endtoend/projectfixture.h"
#include "endtoend/screenreader.h"
#include "service/version.h"

#include <QStandardPaths>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString submitTitle = u"Submit Jobs"_s;
const QString exitTitle = u"Exit Taskmill"_s;

const QByteArray waterMopac = "PM7\nWater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
const QByteArray waterXyz = "3\nwater\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
} // namespace

/// A chemist's day with the window: every step with mouse and keyboard on a desktop of its own.
class TestDay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void NothingIsLost();

private:
    [[nodiscard]] bool StartManager(const QStringList &arguments);
    [[nodiscard]] bool Click(const QString &role, const QString &name, int button = 1) const;
    [[nodiscard]] bool Answer(const QString &title, const QString &button) const;
    /// Opens the menu of the tab's empty or filled table and chooses the entry so many from its end.
    [[nodiscard]] bool ChooseFromEnd(int entry) const;
    [[nodiscard]] bool DefineType(const QString &name, const QString &program, const QString &commandLine,
                                  const QString &inputFilter) const;
    [[nodiscard]] bool ConfirmSubmission() const;
    [[nodiscard]] bool Drop(const QStringList &files);
    [[nodiscard]] bool SubmitThroughDialog(const QStringList &names) const;
    [[nodiscard]] bool Exit(bool save);

    ProjectFixture m_project;
    Desktop m_desktop;
    std::unique_ptr<ScreenReader> m_reader;
    std::unique_ptr<ManagerProcess> m_manager;
};

bool TestDay::StartManager(const QStringList &arguments)
{
    m_manager = std::make_unique<ManagerProcess>(m_project.Path({}), ManagerProcess::Input::NullDevice);
    return m_manager->StartOnDesktop(m_desktop.Variables(), arguments) &&
           m_desktop.WaitForWindow(Taskmill_VersionText());
}

bool TestDay::Click(const QString &role, const QString &name, int button) const
{
    const auto control = m_reader->WaitFor(role, name);
    if (control)
        m_desktop.Click(control->Geometry.center(), button);
    return control.has_value();
}

bool TestDay::Answer(const QString &title, const QString &button) const
{
    return m_desktop.WaitForWindow(title) && Click(u"push button"_s, button) &&
           m_desktop.WaitUntilGone(title);
}

bool TestDay::ChooseFromEnd(int entry) const
{
    const auto window = m_desktop.WaitForWindow(Taskmill_VersionText());
    if (!window)
        return false;
    m_desktop.Click(window->Geometry.center(), 3);
    if (!m_desktop.WaitForPopup())
        return false;
    for (int step = 0; step < entry; ++step)
        m_desktop.Press(u"Up"_s);
    m_desktop.Press(u"Return"_s);
    return true;
}

bool TestDay::DefineType(const QString &name, const QString &program, const QString &commandLine,
                         const QString &inputFilter) const
{
    constexpr int addFromEnd = 13;
    if (!ChooseFromEnd(addFromEnd) || !m_desktop.WaitForWindow(u"New Job Type"_s))
        return false;
    // In the order of the fields; the queue and the button beside the program are passed by.
    for (const QString &text : {name, QString{}, QFileInfo{program}.fileName(), program, QString{},
                                commandLine, inputFilter, u"Output Files (*.out)"_s}) {
        if (!text.isEmpty())
            m_desktop.Type(text);
        m_desktop.Press(u"Tab"_s);
    }
    return Answer(u"New Job Type"_s, u"Ok"_s) && m_reader->WaitFor(u"cell"_s, name).has_value();
}

bool TestDay::ConfirmSubmission() const
{
    const auto dialog = m_desktop.WaitForWindow(submitTitle);
    if (!dialog || !QTest::qWaitFor([&] { return m_desktop.HasFocus(*dialog); }))
        return false;
    m_desktop.Press(u"Return"_s);
    return m_desktop.WaitUntilGone(submitTitle);
}

bool TestDay::Drop(const QStringList &files)
{
    m_desktop.StartProgram(QStringLiteral(TASKMILL_DRAG_SOURCE), files);
    const auto label = m_reader->WaitFor(u"label"_s, u"drag me"_s);
    const auto window = m_desktop.WaitForWindow(Taskmill_VersionText());
    if (!label || !window)
        return false;
    const QPoint start = label->Geometry.center();
    m_desktop.MoveTo(start);
    m_desktop.HoldButton();
    if (!m_reader->WaitFor(u"label"_s, u"pressed"_s))
        return false;
    m_desktop.MoveTo(start + QPoint{20, 10});
    if (!m_reader->WaitFor(u"label"_s, u"dragging"_s))
        return false;
    m_desktop.MoveTo(window->Geometry.center());
    m_desktop.MoveTo(window->Geometry.center() + QPoint{5, 5});
    const bool accepted = m_reader->WaitFor(u"label"_s, u"accepted"_s).has_value();
    m_desktop.ReleaseButton();
    return accepted && ConfirmSubmission();
}

bool TestDay::SubmitThroughDialog(const QStringList &names) const
{
    if (!Click(u"push button"_s, u"Submit Jobs..."_s) || !m_desktop.WaitForWindow(submitTitle) ||
        !Click(u"push button"_s, u"  Add Files..."_s) || !m_desktop.WaitForWindow(u"Select Files"_s))
        return false;
    m_desktop.Type(u'"' + names.join(u"\" \""_s) + u'"');
    m_desktop.Press(u"Return"_s);
    return m_desktop.WaitUntilGone(u"Select Files"_s) && ConfirmSubmission();
}

bool TestDay::Exit(bool save)
{
    if (!Click(u"push button"_s, u"Exit"_s) || !Answer(exitTitle, u"Yes"_s))
        return false;
    if (save) {
        if (!Answer(u"Save Current Project?"_s, u"Yes"_s) ||
            !m_desktop.WaitForWindow(u"Specify a Taskmill Project File"_s))
            return false;
        m_desktop.Type(m_project.ProjectPath());
        m_desktop.Press(u"Return"_s);
    }
    return m_manager->End() == ManagerEnd{.status = 0};
}

void TestDay::NothingIsLost()
{
    if (!Desktop::MissingPrograms().isEmpty())
        QFAIL(qPrintable(u"not installed: "_s + Desktop::MissingPrograms().join(u' ')));
    const QString mopac = QStandardPaths::findExecutable(u"mopac"_s);
    const QString xtb = QStandardPaths::findExecutable(u"xtb"_s);
    QVERIFY2(!mopac.isEmpty() && !xtb.isEmpty(), "mopac and xtb are not installed");
    QVERIFY(m_desktop.Start());
    m_reader = std::make_unique<ScreenReader>(m_desktop.BusAddress());
    QVERIFY(StartManager({}));

    QVERIFY(Click(u"page tab"_s, u"Job Types"_s));
    QVERIFY(DefineType(u"Semiempirical"_s, mopac, u"@EXEFILE @INFILE"_s, u"MOPAC (*.mop)"_s));
    QVERIFY(DefineType(u"Tight binding"_s, xtb, u"@EXEFILE @INFILE"_s, u"Molecules (*.xyz)"_s));
    QVERIFY(DefineType(u"Endless"_s, TestProgramPath(), u"@EXEFILE wait"_s, u"Endless (*.endless)"_s));

    QVERIFY(Click(u"page tab"_s, u"Long Jobs Queue"_s));
    constexpr int pauseFromEnd = 2;
    constexpr int limitFromEnd = 3;
    QVERIFY(ChooseFromEnd(pauseFromEnd));
    QVERIFY(m_reader->WaitFor(u"push button"_s, u"Unpause Queue"_s));
    QVERIFY(ChooseFromEnd(limitFromEnd));
    QVERIFY(m_desktop.WaitForWindow(u"Maximum Number of Running Jobs Allowed"_s));
    m_desktop.Type(u"2"_s);
    m_desktop.Press(u"Return"_s);

    QStringList dropped;
    QStringList chosen{u"hold.endless"_s};
    WriteTestFile(m_project.Path(chosen.first()), "endless\n");
    for (int number = 0; number < 10; ++number)
        dropped.append(m_project.InputFile(u"water %1.mop"_s.arg(number), waterMopac));
    for (int number = 0; number < 9; ++number) {
        chosen.append(u"w%1.xyz"_s.arg(number));
        WriteTestFile(m_project.Path(chosen.last()), waterXyz);
    }
    QVERIFY(Drop(dropped));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"water 9.mop"_s));
    QVERIFY(SubmitThroughDialog(chosen));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"w8.xyz"_s));

    QVERIFY(Click(u"push button"_s, u"Unpause Queue"_s));
    // All but the endless job come to their end beside it.
    QVERIFY(m_reader->WaitUntilGone(u"cell"_s, u"w8.xyz"_s));
    QVERIFY(Click(u"cell"_s, u"hold.endless"_s));
    m_desktop.Press(u"Delete"_s);
    QVERIFY(Answer(u"Remove Selected Jobs from Long Jobs Queue"_s, u"Yes"_s));
    QVERIFY(Answer(u"Removal of Selected Running Jobs"_s, u"Yes"_s));
    QVERIFY(m_reader->WaitUntilGone(u"cell"_s, u"hold.endless"_s));

    QVERIFY(Click(u"page tab"_s, u"Finished Jobs"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Killed"_s));
    QVERIFY(Click(u"cell"_s, u"water 3.mop"_s));
    m_desktop.Press(u"Return"_s);
    const auto viewer = m_desktop.WaitForWindow(u"File Stream Viewer"_s);
    QVERIFY(viewer);
    QVERIFY(m_desktop.Close(*viewer));

    QVERIFY(Exit(true));
    ProjectRows rows = m_project.Rows();
    QCOMPARE(rows.longJobs.size(), 0);
    QCOMPARE(rows.finishedJobs.size(), 20);
    QCOMPARE(rows.lastJobID, u"20"_s);
    const auto killed =
        std::ranges::count(rows.finishedJobs, Taskmill_JobStatus::Killed, &Taskmill_JobRecord::Status);
    const auto completed =
        std::ranges::count(rows.finishedJobs, Taskmill_JobStatus::Completed, &Taskmill_JobRecord::Status);
    QCOMPARE(killed, 1);
    QCOMPARE(completed, 19);

    QVERIFY(StartManager({m_project.ProjectPath()}));
    QVERIFY(Click(u"page tab"_s, u"Finished Jobs"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"water 3.mop"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Tight binding"_s));
    QVERIFY(Click(u"page tab"_s, u"Job Types"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Endless"_s));
    QVERIFY(Exit(false));
    QCOMPARE(m_project.Rows().finishedJobs.size(), 20);
}

QTEST_GUILESS_MAIN(TestDay)
#include "test_day.moc"
