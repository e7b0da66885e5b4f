#include "ui/windowplace.h"

#include "db/databasemanager.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "support/testutil.h"

#include <QApplication>
#include <QPushButton>
#include <QSettings>
#include <QShortcut>
#include <QTabWidget>
#include <QTcpSocket>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

/// Sends one request, as a client that then goes away.
void SendRequest(const QByteArray &message)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, KilnUtil_ComputerData::TaskmillGUIPortNumber());
    QTRY_COMPARE(socket.state(), QAbstractSocket::ConnectedState);
    socket.write(message);
    socket.disconnectFromHost();
    QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState);
}

/// Makes the open project one with unsaved changes.
void ChangeProject()
{
    QVERIFY(Taskmill_Database_Manager::Global().CurrentDatabase()->SetGeneralData(u"Test"_s, u"1"_s) != 0);
}
} // namespace

class TestAppWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void WindowIsBuiltAsItIsKnown();
    void StandsInTheMiddleOfTheScreen();
    void ClosingWithoutATrayMinimises();
    void RequestsShowAndHide();
    void ExitAsksFirst();
    void ExitShowsAHiddenWindow();
    void SavingCanBeRefusedOrCancelled();
    void AboutTellsTheVersion();
    void TabsAreReachedByKeyboard();
    void ToolBarsAreRestored();
    void ConsoleModesHaveNoWidgets();

private:
    void Start();
    [[nodiscard]] Taskmill_MainWindow &Window() const { return *m_place->appWindow->MainWindow(); }
    [[nodiscard]] static bool HasEnded() { return !Taskmill_Database_Manager::Global().CurrentDatabase(); }

    std::unique_ptr<WindowPlace> m_place;
};

void TestAppWindow::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<WindowPlace>();
}

void TestAppWindow::cleanup()
{
    m_place.reset();
}

void TestAppWindow::Start()
{
    QVERIFY(m_place->Start());
}

void TestAppWindow::WindowIsBuiltAsItIsKnown()
{
    Start();
    QCOMPARE(Window().windowTitle(), u"TaskmillGUI 1.1.18, New Project"_s);
    QVERIFY(!Window().windowIcon().isNull());
    QStringList tabs;
    for (int tab = 0; tab < Window().Tabs().count(); ++tab)
        tabs.append(Window().Tabs().tabText(tab));
    QCOMPARE(tabs, (QStringList{u"Long Jobs Queue"_s, u"Short Jobs Queue"_s, u"Queueless Jobs"_s,
                                u"Running Jobs"_s, u"Finished Jobs"_s, u"Job Types"_s}));

    QMap<int, QString> row; // by place from the left
    for (const QPushButton *button : Window().findChildren<QPushButton *>()) {
        if (button->isVisible() && button->parent() == Window().centralWidget())
            row.insert(button->x(), button->text());
    }
    QCOMPARE(row.values(), (QStringList{u"Submit Jobs..."_s, u"Hide"_s, u"Exit"_s, u"Help"_s, u"About"_s}));
    ChangeProject();
    QTRY_COMPARE(Window().windowTitle(), u"TaskmillGUI 1.1.18, Unsaved Project"_s);
}

void TestAppWindow::StandsInTheMiddleOfTheScreen()
{
    Start();
    const QRect available = Window().screen()->availableGeometry();
    const QSize half{(available.width() + 1) / 2, (available.height() + 1) / 2};
    QCOMPARE(Window().size(), half.expandedTo(Window().minimumSizeHint()));
    const QPoint distance = Window().frameGeometry().center() - available.center();
    QVERIFY(distance.manhattanLength() <= 2);
}

void TestAppWindow::ClosingWithoutATrayMinimises()
{
    Start();
    Window().close();
    QVERIFY(Window().isVisible());
    QVERIFY(Window().isMinimized());
    m_place->appWindow->SystemTrayShowWindowSlot();
    QVERIFY(!Window().isMinimized());
    QTest::mouseClick(&Window().HideButton(), Qt::LeftButton);
    QVERIFY(Window().isMinimized());
    QVERIFY(!HasEnded());
}

void TestAppWindow::RequestsShowAndHide()
{
    Start();
    SendRequest("action=hide");
    QTRY_VERIFY(!Window().isVisible());
    SendRequest("action=SHOW");
    QTRY_VERIFY(Window().isVisible());
    Window().showMinimized();
    SendRequest("action=show");
    QTRY_VERIFY(!Window().isMinimized());
}

void TestAppWindow::ExitAsksFirst()
{
    Start();
    m_place->prompt.answers = {WarnAnswer::No, WarnAnswer::Yes};
    QTest::mouseClick(&Window().ExitButton(), Qt::LeftButton);
    QCOMPARE(m_place->prompt.asked.last().title, u"Exit Taskmill"_s);
    QCOMPARE(m_place->prompt.asked.last().text, u"Are you sure you want to completely exit Taskmill?"_s);
    QVERIFY(!HasEnded());
    QVERIFY(Window().isVisible());

    QTest::mouseClick(&Window().ExitButton(), Qt::LeftButton);
    QCOMPARE(m_place->prompt.asked.size(), 2); // an unchanged project is not asked about
    QVERIFY(HasEnded());
    QVERIFY(!Window().isVisible());
}

void TestAppWindow::ExitShowsAHiddenWindow()
{
    Start();
    m_place->appWindow->SystemTrayHideWindowSlot();
    m_place->appWindow->SystemTrayQuitSlot(); // answered with Cancel
    QVERIFY(Window().isVisible());
    QVERIFY(!HasEnded());
}

void TestAppWindow::SavingCanBeRefusedOrCancelled()
{
    Start();
    ChangeProject();
    m_place->prompt.answers = {WarnAnswer::Yes, WarnAnswer::Cancel};
    m_place->appWindow->SystemTrayQuitSlot();
    QCOMPARE(m_place->prompt.asked.last().title, u"Save Current Project?"_s);
    QVERIFY(!HasEnded());

    // Without a name the project cannot be saved, which is a cancellation too.
    m_place->prompt.answers = {WarnAnswer::Yes, WarnAnswer::Yes};
    m_place->appWindow->SystemTrayQuitSlot();
    QVERIFY(!HasEnded());

    const QString file = m_place->directory.filePath(u"saved.mill"_s);
    m_place->prompt.answers = {WarnAnswer::Yes, WarnAnswer::Yes};
    m_place->prompt.texts = {file};
    m_place->appWindow->SystemTrayQuitSlot();
    QVERIFY(HasEnded());
    QVERIFY(QFileInfo{file}.size() > 0);
}

void TestAppWindow::AboutTellsTheVersion()
{
    Start();
    QTest::mouseClick(&Window().AboutButton(), Qt::LeftButton);
    QCOMPARE(m_place->prompt.asked.last().title, u"About TaskmillGUI"_s);
    QVERIFY(m_place->prompt.asked.last().text.startsWith(
        u"TaskmillGUI 1.1.18     (%1-bit "_s.arg(QSysInfo::WordSize)));
    QCOMPARE(m_place->prompt.asked.last().text.count(u'\n'), 2);
}

void TestAppWindow::TabsAreReachedByKeyboard()
{
    Start();
    Window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&Window()));
    QTest::keyClick(&Window(), Qt::Key_5, Qt::AltModifier);
    QCOMPARE(Window().CurrentPage(), Taskmill_Page::FinishedJobs);
    QTest::keyClick(&Window(), Qt::Key_A, Qt::AltModifier);
    QTRY_COMPARE(m_place->prompt.asked.size(), 1);
}

void TestAppWindow::ToolBarsAreRestored()
{
    QMainWindow other;
    other.setCorner(Qt::TopLeftCorner, Qt::LeftDockWidgetArea);
    const QByteArray state = other.saveState();
    QSettings settings{QSettings::defaultFormat(), QSettings::UserScope, u"Kilnworks, Inc."_s, u"Taskmill"_s};
    settings.setValue(u"1/Main_Window/ToolBar_State_0"_s, state);
    settings.sync();
    Start();
    QCOMPARE(Window().corner(Qt::TopLeftCorner), Qt::TopDockWidgetArea);
    m_place->appWindow.reset();

    settings.setValue(u"Main_Window/ToolBar_State_0"_s, u"whatever"_s);
    settings.sync();
    Start();
    QCOMPARE(Window().corner(Qt::TopLeftCorner), Qt::LeftDockWidgetArea);
}

void TestAppWindow::ConsoleModesHaveNoWidgets()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    const qsizetype before = QApplication::allWidgets().size();
    m_place->appWindow = std::make_unique<Taskmill_AppWindow>(Taskmill_AppWindowOptions{});
    QVERIFY(!m_place->appWindow->MainWindow());
    for (const auto slot : {&Taskmill_AppWindow::SystemTrayShowWindowSlot,
                            &Taskmill_AppWindow::SystemTrayHideWindowSlot, &Taskmill_AppWindow::OkaySlot})
        (*m_place->appWindow.*slot)();
    QCOMPARE(QApplication::allWidgets().size(), before);
}

QTEST_MAIN(TestAppWindow)
#include "test_appwindow.moc"
