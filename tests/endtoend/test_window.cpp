#include "endtoend/desktop.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "endtoend/screenreader.h"
#include "service/version.h"

#include <QtTest>

#include <algorithm>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 30'000;

// Lines of the tray's menu.
constexpr int showLine = 0;
constexpr int hideLine = 1;
constexpr int exitLine = 2;
constexpr int trayLines = 3;

const QString exitTitle = u"Exit Taskmill"_s;
const QString saveTitle = u"Save Changes to Current Project?"_s;
const QString removeTitle = u"Remove Selected Jobs from Long Jobs Queue"_s;
} // namespace

/// The real window on a desktop with a window manager and a tray, worked with mouse and keyboard.
class TestWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void ShowsItselfWithAllControls();
    void HidesWhenClosed();
    void ComesAndGoesByTheTray();
    void MinimisesWithoutATray();
    void AsksBeforeItEnds();
    void SavesWhenTold();
    void ShowsAJobToItsEnd();
    void RemovesJobs();

private:
    [[nodiscard]] bool Start(Desktop::Tray tray = Desktop::Tray::Shown);
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    /// Whether the program knows where the window manager has put its windows.
    [[nodiscard]] bool AreWindowsSettled() const;
    /// Clicks a control of the window, which must be there before long.
    [[nodiscard]] bool Click(const QString &role, const QString &name, int button = 1) const;
    [[nodiscard]] bool ChooseInTray(int line) const;
    /// Answers a question box.
    [[nodiscard]] bool Answer(const QString &title, const QString &button) const;
    [[nodiscard]] bool Submit(const QString &type, const QString &name, const QString &queue);

    std::unique_ptr<ProjectFixture> m_project;
    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ScreenReader> m_reader;
    QString m_title;
};

void TestWindow::initTestCase()
{
    const QStringList missing = Desktop::MissingPrograms();
    if (!missing.isEmpty())
        QFAIL(qPrintable(u"not installed: "_s + missing.join(u' ')));
}

void TestWindow::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
    m_title = Taskmill_VersionText();
}

void TestWindow::cleanup()
{
    m_reader.reset();
    m_project->EndManager();
    m_desktop.reset();
    m_project.reset();
}

bool TestWindow::Start(Desktop::Tray tray)
{
    m_desktop = std::make_unique<Desktop>(tray);
    if (!m_project->AddTestType(u"Wait"_s, u"waitfor "_s + m_project->Path(u"go"_s)) || !m_desktop->Start())
        return false;
    m_reader = std::make_unique<ScreenReader>(m_desktop->BusAddress());
    return m_project->StartOnDesktop(m_desktop->Variables()) && m_desktop->WaitForWindow(m_title) &&
           (tray == Desktop::Tray::None || m_desktop->WaitForTrayIcon());
}

bool TestWindow::AreWindowsSettled() const
{
    const QList<ScreenControl> controls = m_reader->Controls();
    const QList<DesktopWindow> windows = m_desktop->Windows();
    return std::ranges::all_of(windows, [&](const DesktopWindow &window) {
        const auto own = std::ranges::find(controls, window.Title, &ScreenControl::Name);
        return own == controls.end() || own->Geometry.topLeft() == window.Geometry.topLeft();
    });
}

bool TestWindow::Click(const QString &role, const QString &name, int button) const
{
    if (!m_reader->WaitFor(role, name) ||
        !QTest::qWaitFor([this] { return AreWindowsSettled(); }, longestWaitMs))
        return false;
    const auto control = m_reader->WaitFor(role, name);
    if (!control)
        return false;
    m_desktop->Click(control->Geometry.center(), button);
    return true;
}

bool TestWindow::ChooseInTray(int line) const
{
    const auto icon = m_desktop->WaitForTrayIcon();
    if (!icon)
        return false;
    m_desktop->Click(icon->Geometry.center(), 3);
    const auto menu = m_desktop->WaitForPopup();
    if (!menu)
        return false;
    m_desktop->ClickEntry(*menu, line, trayLines);
    return true;
}

bool TestWindow::Answer(const QString &title, const QString &button) const
{
    return m_desktop->WaitForWindow(title) && Click(u"push button"_s, button) &&
           m_desktop->WaitUntilGone(title);
}

bool TestWindow::Submit(const QString &type, const QString &name, const QString &queue)
{
    return Manager().Submit(type, m_project->InputFile(name), queue).startsWith("accepted=");
}

void TestWindow::ShowsItselfWithAllControls()
{
    QVERIFY(Start());
    const auto window = m_desktop->WaitForWindow(m_title + u", jobs"_s);
    QVERIFY(window);
    // Half of the screen.
    QCOMPARE(window->Geometry.width(), 960);
    for (const QString &tab : {u"Long Jobs Queue"_s, u"Short Jobs Queue"_s, u"Queueless Jobs"_s,
                               u"Running Jobs"_s, u"Finished Jobs"_s, u"Job Types"_s})
        QVERIFY(m_reader->WaitFor(u"page tab"_s, tab));
    for (const QString &button : {u"Submit Jobs..."_s, u"Hide"_s, u"Exit"_s, u"Help"_s, u"About"_s})
        QVERIFY(m_reader->WaitFor(u"push button"_s, button));

    QVERIFY(Click(u"push button"_s, u"About"_s));
    QVERIFY(m_desktop->WaitForWindow(u"About TaskmillGUI"_s));
    m_desktop->Press(u"Escape"_s);
    QVERIFY(m_desktop->WaitUntilGone(u"About TaskmillGUI"_s));
}

void TestWindow::HidesWhenClosed()
{
    QVERIFY(Start());
    const auto window = m_desktop->WaitForWindow(m_title);
    QVERIFY(window);
    QVERIFY(m_desktop->Close(*window));
    QTRY_VERIFY(!m_desktop->IsInTaskList(*window));
    QVERIFY(m_desktop->WaitForTrayIcon());
    QVERIFY(Submit(u"Wait"_s, u"a.in"_s, u"none"_s));

    QVERIFY(Manager().Request("clientname=test\naction=show\n").startsWith("accepted="));
    QVERIFY(m_desktop->WaitForWindow(m_title));
    QTRY_VERIFY(m_desktop->HasFocus(*window));
    QVERIFY(Manager().Request("clientname=test\naction=hide\n").startsWith("accepted="));
    QVERIFY(m_desktop->WaitUntilGone(m_title));
}

void TestWindow::ComesAndGoesByTheTray()
{
    QVERIFY(Start());
    QVERIFY(ChooseInTray(hideLine));
    QVERIFY(m_desktop->WaitUntilGone(m_title));
    QVERIFY(ChooseInTray(showLine));
    QVERIFY(m_desktop->WaitForWindow(m_title));
    QVERIFY(Click(u"push button"_s, u"Hide"_s));
    QVERIFY(m_desktop->WaitUntilGone(m_title));
    // The question needs its window.
    QVERIFY(ChooseInTray(exitLine));
    QVERIFY(m_desktop->WaitForWindow(m_title));
    QVERIFY(Answer(exitTitle, u"Yes"_s));
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QVERIFY(m_desktop->WaitUntilTrayIsEmpty());
}

void TestWindow::MinimisesWithoutATray()
{
    QVERIFY(Start(Desktop::Tray::None));
    const auto window = m_desktop->WaitForWindow(m_title);
    QVERIFY(window);
    const auto isMinimised = [&] {
        return m_desktop->WaitUntilGone(m_title) && m_desktop->IsInTaskList(*window);
    };
    QVERIFY(m_desktop->Close(*window));
    QVERIFY(isMinimised());
    m_desktop->Activate(*window);
    QVERIFY(m_desktop->WaitForWindow(m_title));
    QTRY_VERIFY(m_desktop->HasFocus(*window));
    QVERIFY(Click(u"push button"_s, u"Hide"_s));
    QVERIFY(isMinimised());
    m_desktop->Activate(*window);
    QVERIFY(m_desktop->WaitForWindow(m_title));

    QVERIFY(m_desktop->ShowTray());
    QVERIFY(m_desktop->WaitForTrayIcon());
    QVERIFY(m_desktop->Close(*window));
    QTRY_VERIFY(!m_desktop->IsInTaskList(*window));
}

void TestWindow::AsksBeforeItEnds()
{
    QVERIFY(Start());
    QVERIFY(Submit(u"Wait"_s, u"a.in"_s, u"none"_s));
    QVERIFY(Click(u"page tab"_s, u"Queueless Jobs"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Running"_s));

    QVERIFY(Click(u"push button"_s, u"Exit"_s));
    QVERIFY(Answer(exitTitle, u"No"_s));
    QVERIFY(Click(u"push button"_s, u"Exit"_s));
    QVERIFY(Answer(exitTitle, u"Yes"_s));
    QVERIFY(m_desktop->WaitForWindow(saveTitle));
    m_desktop->Press(u"Escape"_s);
    QVERIFY(m_desktop->WaitUntilGone(saveTitle));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Running"_s));
    QVERIFY(Submit(u"Wait"_s, u"b.in"_s, u"none"_s));

    QVERIFY(Click(u"push button"_s, u"Exit"_s));
    QVERIFY(Answer(exitTitle, u"Yes"_s));
    QVERIFY(Answer(saveTitle, u"No"_s));
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QVERIFY(m_desktop->WaitUntilTrayIsEmpty());
    QCOMPARE(Manager().Errors(), QByteArray{});
    QCOMPARE(m_project->Rows().queuelessJobs.size(), 0);
}

void TestWindow::SavesWhenTold()
{
    QVERIFY(Start());
    QVERIFY(Submit(u"Wait"_s, u"a.in"_s, u"long"_s));
    m_desktop->Press(u"alt+x"_s);
    QVERIFY(Answer(exitTitle, u"Yes"_s));
    QVERIFY(Answer(saveTitle, u"Yes"_s));
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QCOMPARE(m_project->Rows().longJobs.size(), 1);
}

void TestWindow::ShowsAJobToItsEnd()
{
    QVERIFY(Start());
    QVERIFY(Submit(u"Wait"_s, u"water.in"_s, u"long"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Pending"_s));
    // An opened project waits for this.
    QVERIFY(Click(u"push button"_s, u"Unpause Queue"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Running"_s));
    WriteTestFile(m_project->Path(u"go"_s), {});
    QVERIFY(m_reader->WaitUntilGone(u"cell"_s, u"water.in"_s));
    QVERIFY(Click(u"page tab"_s, u"Finished Jobs"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"Completed"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"water.in"_s));
}

void TestWindow::RemovesJobs()
{
    QVERIFY(Start());
    for (const QString &name : {u"a.in"_s, u"b.in"_s, u"c.in"_s})
        QVERIFY(Submit(u"Wait"_s, name, u"long"_s));
    QVERIFY(Click(u"cell"_s, u"b.in"_s, 3));
    QVERIFY(m_desktop->WaitForPopup());
    m_desktop->Press(u"Down"_s);
    m_desktop->Press(u"Return"_s);
    QVERIFY(Answer(removeTitle, u"Yes"_s));
    QVERIFY(m_reader->WaitUntilGone(u"cell"_s, u"b.in"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"a.in"_s));

    QVERIFY(Click(u"cell"_s, u"c.in"_s));
    m_desktop->Press(u"Delete"_s);
    QVERIFY(Answer(removeTitle, u"No"_s));
    m_desktop->Press(u"Delete"_s);
    QVERIFY(Answer(removeTitle, u"Yes"_s));
    QVERIFY(m_reader->WaitUntilGone(u"cell"_s, u"c.in"_s));
    QVERIFY(m_reader->WaitFor(u"cell"_s, u"a.in"_s));
}

QTEST_GUILESS_MAIN(TestWindow)
#include "test_window.moc"
