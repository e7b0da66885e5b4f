// SPDX-License-Identifier: MIT
#include "app/session.h"

#include "kilnutil/computerdata.h"
#include "kilnutil/registry.h"
#include "manager/recentprojects.h"
#include "ui/appwindow.h"
#include "ui/projectoffer.h"
#include "ui/uidriver.h"
#include "widgets/tablewidget.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

/// A program that asks for an answer to its one message.
class Client
{
public:
    explicit Client(const QByteArray &lines)
    {
        m_socket.connectToHost(QHostAddress::LocalHost, KilnUtil_ComputerData::TaskmillGUIPortNumber());
        m_socket.write("clientname=test\n" + lines + "\nclientreply=yes\n");
    }

    /// Waits until the manager has answered.
    [[nodiscard]] QByteArray Answer()
    {
        constexpr int longestWaitMs = 60'000;
        (void)QTest::qWaitFor([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; },
                              longestWaitMs);
        return m_socket.readAll().trimmed();
    }
    /// Gives the manager every chance to answer at once; whether it has not.
    [[nodiscard]] bool MustWait()
    {
        constexpr int turns = 100; // of the event loop, where what is sent is there in the next
        const bool isSent = QTest::qWaitFor([this] {
            return m_socket.state() == QAbstractSocket::ConnectedState && m_socket.bytesToWrite() == 0;
        });
        for (int turn = 0; isSent && turn < turns; ++turn)
            QCoreApplication::processEvents();
        return isSent && m_socket.bytesAvailable() == 0;
    }
    void GiveUp() { m_socket.abort(); }

private:
    QTcpSocket m_socket;
};

const QByteArray confirmed = "jobtypename=One\nconfirmaction=yes";

void Press(QDialog &dialog, const QString &text)
{
    const auto buttons = dialog.findChildren<QPushButton *>();
    const auto button = std::ranges::find(buttons, text, &QPushButton::text);
    (*button)->click();
}

Taskmill_Database *Database()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

QString Names(const QList<Taskmill_JobRecord> &jobs)
{
    QStringList names;
    for (const Taskmill_JobRecord &job : jobs)
        names.append(job.Name);
    return names.join(u' ');
}

QString LongJobs()
{
    return Names(Database()->GetLongJobs());
}

/// The manager with its window on a new project, in an empty directory and on a port of its own.
struct WindowPlace
{
    QTemporaryDir directory;
    ScriptedPrompt prompt;
    const bool isPrepared = Prepare();
    Taskmill_Session session;
    Taskmill_AppWindow &appWindow = *session.AppWindow();

    explicit WindowPlace(const QString &project = {}, const QString &lastProject = {})
        : session{{.StartUpFile = project, .Banner = {}, .ExitWithoutEventLoop = {}}}
    {
        // The platform without a screen knows no tray; that of Windows does not say so.
        if constexpr (!isWindows)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u".*systemTrayWindowChanged.*"_s});
        if (!lastProject.isEmpty())
            Taskmill_AddToRecentProjects(lastProject);
        const Taskmill_JobType jobType{.Name = u"One"_s,
                                       .ApplicationName = u"testprogram"_s,
                                       .ExecutablePath = TestProgramPath(),
                                       .DefaultQueue = u"Long"_s,
                                       .GenericCommandLine = u"@EXEFILE waitfor @INFILE.go"_s,
                                       .InputFileFilter = u"Files (*.one)"_s,
                                       .OutputFileFilter = {},
                                       .EnvironmentVariables = {}};
        // The offer of the last project is there until something is changed.
        const bool changes = lastProject.isEmpty();
        if (!session.Initialise() || (changes && !Database()->InsertJobType(jobType, true)))
            qFatal("the window cannot be opened");
        session.Show();
    }

    [[nodiscard]] bool Prepare() const
    {
        KeepSettingsIn(directory.path());
        QTcpServer freePort;
        const bool isFree = freePort.listen(QHostAddress::LocalHost);
        qputenv("TASKMILL_GUI_PORT", QByteArray::number(freePort.serverPort()));
        KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
        Taskmill_SetRunMode(Taskmill_RunMode::Gui);
        return isFree;
    }
    [[nodiscard]] QWidget &Window() const { return appWindow.MainWindow(); }
    [[nodiscard]] QString Path(const QString &name) const { return directory.filePath(name); }
    /// Of the status line, in their order.
    [[nodiscard]] QStringList StatusTexts() const
    {
        QStringList texts;
        const auto labels = appWindow.MainWindow().statusBar()->findChildren<QLabel *>();
        for (const QLabel *label : labels)
            texts.append(label->text());
        texts.removeAll(QString{});
        return texts;
    }
    /// The entries of a menu as it opens, "(...)" around disabled ones, without marks for keys; the one of
    /// that text is chosen.
    QStringList Open(Taskmill_WindowMenu which, const QString &entry = {}) const
    {
        QMenu &menu = appWindow.MainWindow().Menu(which);
        Q_EMIT menu.aboutToShow();
        QStringList texts;
        QAction *chosen = nullptr;
        const QList<QAction *> actions = menu.actions();
        for (QAction *action : actions) {
            const QString text = action->text().remove(u'&');
            if (!action->isSeparator())
                texts.append(action->isEnabled() ? text : u'(' + text + u')');
            if (!entry.isEmpty() && text == entry)
                chosen = action;
        }
        if (chosen)
            chosen->trigger();
        return texts;
    }
    /// The one of that accessible name, which must be there.
    [[nodiscard]] KilnUtil_TableWidget &Table(const QString &name) const
    {
        const auto tables = Window().findChildren<KilnUtil_TableWidget *>();
        return **std::ranges::find(tables, name, &QWidget::accessibleName);
    }
    [[nodiscard]] QByteArray SubmitLines(const QString &file, const QByteArray &more) const
    {
        return "action=submitjob\njobinputfile=" + WriteTestFile(Path(file), "x").toUtf8() + '\n' + more;
    }
};
} // namespace

/// The manager with its window, whose questions are answered here, and requests of other programs.
class TestAppWindow : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        // No case takes up what another one has left unsaved.
        KeepStateIn(Path());
    }

    void ClosingWithoutATrayMinimises()
    {
        WindowPlace place;
        place.Window().close();
        QVERIFY(place.Window().isVisible());
        QVERIFY(place.Window().isMinimized());
        QVERIFY(Client{"action=SHOW"}.Answer().startsWith("accepted="));
        QVERIFY(!place.Window().isMinimized());
        QVERIFY(Client{"action=hide"}.Answer().startsWith("accepted="));
        QVERIFY(!place.Window().isVisible());
        QVERIFY(Database());
        QVERIFY(Client{"action=dance"}.Answer().startsWith("refused="));
    }

    void TabsFitIntoASmallWindow()
    {
        if (isWindows)
            QSKIP("Wine has no fonts, and so no widths");
        WindowPlace place;
        Taskmill_MainWindow &window = place.appWindow.MainWindow();
        const QTabWidget &tabs = window.Tabs();
        // The least width has room for counts, so that the window does not grow with them.
        place.Window().resize(100, 100);
        const int least = place.Window().width();
        for (const auto page : {Taskmill_Page::LongJobs, Taskmill_Page::ShortJobs,
                                Taskmill_Page::QueuelessJobs, Taskmill_Page::FinishedJobs})
            window.ShowCount(page, 999, {});
        place.Window().resize(100, 100);
        QCOMPARE(place.Window().width(), least);
        const auto lastTabEndAt = [&](int width, int height) {
            place.Window().resize(width, height);
            return tabs.tabBar()->tabRect(tabs.count() - 1).right();
        };
        const int usual = lastTabEndAt(1400, 500);
        const int smaller = lastTabEndAt(100, 100);
        QVERIFY(smaller < usual);
        QVERIFY2(smaller <= tabs.width(), qPrintable(u"%1 %2"_s.arg(smaller).arg(tabs.width())));
        QCOMPARE(lastTabEndAt(1400, 500), usual);
    }

    void DialogsComeOneAfterAnother()
    {
        WindowPlace place;
        Client first{place.SubmitLines(u"a.one"_s, confirmed)};
        std::unique_ptr<Client> impatient;
        std::unique_ptr<Client> third;
        bool othersWait = false;
        // The one that gave up may still be asked about.
        QTimer cancelling;
        connect(&cancelling, &QTimer::timeout, &cancelling, [] {
            if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                dialog->reject();
        });
        WhenDialogIsOpen([&](QDialog &dialog) {
            impatient = std::make_unique<Client>(place.SubmitLines(u"b.one"_s, confirmed));
            third = std::make_unique<Client>(place.SubmitLines(u"c.one"_s, "jobtypename=One"));
            othersWait = impatient->MustWait() && third->MustWait() && LongJobs().isEmpty();
            impatient->GiveUp();
            Press(dialog, u"Submit"_s);
            cancelling.start(1);
        });
        QVERIFY(first.Answer().startsWith("accepted="));
        QVERIFY(othersWait);
        QVERIFY(third->Answer().startsWith("accepted="));
        QCOMPARE(LongJobs(), u"a.one c.one"_s);
    }

    void RequestWaitsForTheUsersDialog()
    {
        WindowPlace place;
        std::unique_ptr<Client> asking;
        QByteArray other;
        bool mustWait = false;
        WhenDialogIsOpen([&](QDialog &own) {
            // One that needs no answer goes on meanwhile.
            other = Client{place.SubmitLines(u"b.one"_s, "jobtypename=One")}.Answer();
            asking = std::make_unique<Client>(place.SubmitLines(u"a.one"_s, confirmed));
            mustWait = asking->MustWait();
            own.reject();
        });
        place.appWindow.NewJobsSlot();
        QVERIFY(other.startsWith("accepted="));
        QVERIFY(mustWait);
        QCOMPARE(LongJobs(), u"b.one"_s);
        WhenDialogIsOpen([](QDialog &dialog) { Press(dialog, u"Submit"_s); });
        QVERIFY(asking->Answer().startsWith("accepted="));
        QCOMPARE(LongJobs(), u"b.one a.one"_s);
    }

    void TabsOpenByTheirNumbers()
    {
        WindowPlace place;
        QVERIFY(QTest::qWaitForWindowActive(&place.Window()));
        const auto *tabs = place.Window().findChild<QTabWidget *>();
        for (const int tab : {5, 0, 3, 1, 4, 2}) {
            QTest::keyClick(&place.Window(), static_cast<Qt::Key>(Qt::Key_1 + tab), Qt::AltModifier);
            QCOMPARE(tabs->currentIndex(), tab);
        }
    }

    void TabsAndStatusLineCount()
    {
        WindowPlace place;
        const QTabWidget &tabs = place.appWindow.MainWindow().Tabs();
        QCOMPARE(place.StatusTexts()[0], u"0 running, 0 waiting"_s);
        for (const auto *file : {"a.one", "b.one", "c.one"})
            QVERIFY(
                !Client{place.SubmitLines(QString::fromLatin1(file), "jobtypename=One")}.Answer().isEmpty());
        QTRY_COMPARE(tabs.tabText(0), u"Long Jobs Queue (3)"_s);
        QCOMPARE(place.StatusTexts(), (QStringList{u"1 running, 2 waiting"_s, u"Changes not saved"_s}));
        WriteTestFile(place.Path(u"a.one.go"_s), {});
        QTRY_COMPARE(tabs.tabText(4), u"Finished Jobs (1)"_s);
        QTRY_COMPARE(place.StatusTexts()[0], u"1 running, 1 waiting"_s);
        QVERIFY(place.StatusTexts()[1].startsWith(u"Last ended: a.one, Completed, "_s));
        // A screen reader finds the tab by its label, and says the counts besides.
        const QAccessibleInterface *tab = QAccessible::queryAccessibleInterface(tabs.tabBar())->child(0);
        QCOMPARE(tab->text(QAccessible::Name), u"Long Jobs Queue"_s);
        QCOMPARE(tab->text(QAccessible::Description), u"1 running, 1 waiting"_s);
    }

    void ProjectMenuSavesAndOpens()
    {
        WindowPlace place;
        QVERIFY(QTest::qWaitForWindowActive(&place.Window()));
        const auto press = [&place](Qt::Key key, const QList<WarnAnswer> &answers, const QStringList &texts) {
            place.prompt.asked.clear();
            place.prompt.answers = answers;
            place.prompt.texts = texts;
            QTest::keyClick(&place.Window(), key, Qt::ControlModifier);
            return place.Window().windowTitle().section(u", "_s, 1);
        };
        const QString path = place.Path(u"day.mill"_s);
        QCOMPARE(press(Qt::Key_S, {}, {place.Path(u"day"_s)}), u"day.mill"_s);
        QVERIFY(place.StatusTexts().contains(u"Saved"_s));
        QVERIFY(!Client{place.SubmitLines(u"a.one"_s, "jobtypename=One")}.Answer().isEmpty());
        QTRY_COMPARE(place.appWindow.MainWindow().Tabs().tabText(0), u"Long Jobs Queue (1)"_s);

        // What runs is asked about first, and without keepers it can only end.
        for (const QList<WarnAnswer> &answers :
             {QList{WarnAnswer::No}, QList{WarnAnswer::Yes, WarnAnswer::Cancel}}) {
            QCOMPARE(press(Qt::Key_N, answers, {}), u"day.mill"_s);
            QVERIFY(place.prompt.asked[0].text.startsWith(u"1 job is running.\n\n"_s));
            QCOMPARE(place.prompt.asked.size(), answers.size());
            QCOMPARE(LongJobs(), u"a.one"_s);
        }
        QCOMPARE(press(Qt::Key_N, {WarnAnswer::Yes, WarnAnswer::Yes}, {}), u"New Project"_s);
        QCOMPARE(LongJobs(), QString{});
        QTRY_COMPARE(place.appWindow.MainWindow().Tabs().tabText(0), u"Long Jobs Queue"_s);
        QCOMPARE(press(Qt::Key_O, {}, {path}), u"day.mill"_s);
        QCOMPARE(LongJobs(), u"a.one"_s);

        // One that cannot be opened leaves the other as it is.
        QCOMPARE(press(Qt::Key_O, {}, {place.Path(u"none.mill"_s)}), u"day.mill"_s);
        QCOMPARE(press(Qt::Key_N, {}, {}), u"New Project"_s);
        (void)place.Open(Taskmill_WindowMenu::Project);
        const auto *recent =
            place.appWindow.MainWindow().Menu(Taskmill_WindowMenu::Project).findChild<QMenu *>();
        QCOMPARE(recent->actions().size(), 1);
        recent->actions().constFirst()->trigger();
        QCOMPARE(LongJobs(), u"a.one"_s);
    }

    /// Also when the context menu has nothing to offer.
    void MenusOfferWhatTheContextMenuOffers()
    {
        WindowPlace place;
        Taskmill_MainWindow &window = place.appWindow.MainWindow();
        for (Taskmill_JobQueue *queue : place.session.Manager().Destinations().Queues())
            queue->SetPaused(true);
        QVERIFY(!Client{place.SubmitLines(u"a.one"_s, "jobtypename=One")}.Answer().isEmpty());
        for (int page = 0; page < window.Tabs().count(); ++page) {
            window.Tabs().setCurrentIndex(page);
            auto &table = *window.Tabs().widget(page)->findChild<KilnUtil_TableWidget *>();
            // It fills the table.
            (void)place.Open(Taskmill_WindowMenu::Jobs);
            table.setCurrentIndex(table.model()->index(0, 0));
            const QStringList jobs = place.Open(Taskmill_WindowMenu::Jobs);
            const bool hasQueue = window.Menu(Taskmill_WindowMenu::Queue).menuAction()->isEnabled();
            QCOMPARE(hasQueue, page < 2);
            QStringList offered = jobs.sliced(1) + place.Open(Taskmill_WindowMenu::Queue);
            QStringList context = ChooseFromMenu(table, QPoint{5, 5}, {});
            context.removeAll(u"Help"_s);
            context.removeAll(QString{});
            // The context menu has the entries of the queue between those about jobs.
            std::ranges::sort(offered);
            std::ranges::sort(context);
            QCOMPARE(offered, context);
            // Each entry has a key of its own.
            QStringList keys;
            for (const QAction *action : window.Menu(Taskmill_WindowMenu::Jobs).actions()) {
                if (!action->isSeparator())
                    keys.append(QKeySequence::mnemonic(action->text()).toString());
            }
            QVERIFY(!keys.contains(QString{}));
            QCOMPARE(keys.removeDuplicates(), 0);
        }
        window.Tabs().setCurrentIndex(0);
        (void)place.Open(Taskmill_WindowMenu::Queue, u"Unpause Queue"_s);
        QTRY_COMPARE(place.StatusTexts()[0], u"1 running, 0 waiting"_s);
        place.Table(u"Long Jobs Queue"_s).selectRow(0);
        place.prompt.answers = {WarnAnswer::Yes, WarnAnswer::Yes};
        (void)place.Open(Taskmill_WindowMenu::Jobs, u"Remove"_s);
        QCOMPARE(LongJobs(), QString{});
    }

    void NewsShowsItsJobs()
    {
        WindowPlace place;
        for (int jobID = 1; jobID <= 4; ++jobID) {
            Taskmill_JobRecord job;
            job.JobID = jobID;
            job.Name = u"j%1"_s.arg(jobID);
            job.Status = Taskmill_JobStatus::Failed;
            place.session.Manager().FinishedJobs().AddJob(job);
        }
        Taskmill_FinishedJobsWidget finished{&place.Window(), place.session.Manager().FinishedJobs()};
        finished.Table()->sortByColumn(0, Qt::DescendingOrder);
        finished.SelectJobs({2, 4, 99});
        QCOMPARE(finished.Table()->SelectedRows(), (QList<int>{0, 2}));
        QCOMPARE(finished.Table()->currentIndex().row(), 0);
    }

    void OffersTheLastProject()
    {
        const QString last = Path(u"day.mill"_s);
        {
            WindowPlace place;
            place.prompt.texts = {last};
            QVERIFY(!Client{place.SubmitLines(u"a.one"_s, "jobtypename=One")}.Answer().isEmpty());
            (void)place.Open(Taskmill_WindowMenu::Project, u"Save"_s);
            place.session.ShutDown();
        }
        WindowPlace place{{}, last};
        QTRY_VERIFY(place.Window().findChild<Taskmill_ProjectOffer *>());
        auto *offer = place.Window().findChild<Taskmill_ProjectOffer *>();
        QTRY_COMPARE(offer->text(), u"Open day.mill, 1 waiting job"_s);
        QTest::mouseClick(offer, Qt::LeftButton);
        QCOMPARE(LongJobs(), u"a.one"_s);
        QTRY_VERIFY(!place.Window().findChild<Taskmill_ProjectOffer *>());
        place.session.ShutDown();
        // Not beside a project that was named.
        WindowPlace named{last, last};
        QTRY_COMPARE(named.prompt.asked.size(), 0);
        QVERIFY(!named.Window().findChild<Taskmill_ProjectOffer *>());
    }

    void SettingsHaveTheStartAtLogin()
    {
        if (isWindows)
            QSKIP("The registry that says so is the user's own");
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(Path(u"config"_s)));
        WindowPlace place;
        /// Chooses it in the dialog, and returns what was shown before.
        const auto choose = [&place](bool isWanted, QDialog::DialogCode end) {
            bool wasShown = false;
            WhenDialogIsOpen([&](QDialog &dialog) {
                const auto boxes = dialog.findChildren<QCheckBox *>();
                QCheckBox *box = *std::ranges::find(boxes, u"&Start at log-in"_s, &QCheckBox::text);
                wasShown = box->isChecked();
                box->setChecked(isWanted);
                dialog.done(end);
            });
            (void)place.Open(Taskmill_WindowMenu::Project, u"Settings..."_s);
            return wasShown;
        };
        const QString entry = Path(u"config/autostart/taskmill.desktop"_s);
        QVERIFY(!choose(true, QDialog::Rejected));
        QVERIFY(!QFile::exists(entry));
        QVERIFY(!choose(true, QDialog::Accepted));
        QVERIFY(ReadTestFile(entry).contains(
            u"Exec=\"%1\" -login\n"_s.arg(qApp->applicationFilePath()).toUtf8()));
        QVERIFY(choose(false, QDialog::Accepted));
        QVERIFY(!QFile::exists(entry));
        // What cannot be stored is said.
        QVERIFY(QDir{}.rmdir(Path(u"config/autostart"_s)));
        WriteTestFile(Path(u"config/autostart"_s), "in the way");
        QVERIFY(!choose(true, QDialog::Accepted));
        QCOMPARE(place.prompt.asked.last().title, u"Start at Log-in"_s);
    }

    void DroppedFilesGoToTheListTheyAreDroppedOn_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("content");
        QTest::newRow("Long Jobs Queue") << u"Long Jobs Queue"_s << u"a.one  "_s;
        QTest::newRow("Short Jobs Queue") << u"Short Jobs Queue"_s << u" a.one "_s;
        QTest::newRow("Queueless Jobs List") << u"Queueless Jobs"_s << u"  a.one"_s;
    }

    void DroppedFilesGoToTheListTheyAreDroppedOn()
    {
        WindowPlace place;
        QString target;
        WhenDialogIsOpen([&](QDialog &dialog) {
            const auto boxes = dialog.findChildren<QComboBox *>();
            target = (*std::ranges::find(boxes, u"Target"_s, &QComboBox::accessibleName))->currentText();
            Press(dialog, u"Submit"_s);
        });
        Q_EMIT place.Table(QString::fromLatin1(QTest::currentDataTag()))
            .DropSignal({WriteTestFile(place.Path(u"a.one"_s), "x")});
        QTEST(target, "target");
        QTEST((QStringList{Names(Database()->GetLongJobs()), Names(Database()->GetShortJobs()),
                           Names(Database()->GetQueuelessJobs())}
                   .join(u' ')),
              "content");
    }

    /// Behind the others: no dialog can be run after the event loops have been asked to end.
    void QuitsWhileADialogIsOpen()
    {
        WindowPlace place;
        Client client{place.SubmitLines(u"a.one"_s, confirmed)};
        bool opened = false;
        WhenDialogIsOpen([&](QDialog &) {
            opened = true;
            place.session.QuitAtOnce(Taskmill_Ending::Unasked);
        });
        QVERIFY(!client.Answer().startsWith("accepted="));
        QVERIFY(opened);
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(!Database());
    }

    void NothingIsLostAtTheExit()
    {
        WindowPlace place;
        const auto exit = [&](const QList<WarnAnswer> &answers) {
            place.prompt.answers = answers;
            place.appWindow.SystemTrayQuitSlot();
            return Database() == nullptr;
        };
        QVERIFY(!Client{place.SubmitLines(u"a.one"_s, "jobtypename=One")}.Answer().isEmpty());
        place.appWindow.SystemTrayHideWindowSlot();
        QVERIFY(!exit({WarnAnswer::No}));
        QVERIFY2(place.prompt.asked.last().text.endsWith(
                     u"\n\n1 job is running and will be ended.\nNo job is waiting."_s),
                 qPrintable(place.prompt.asked.last().text));
        QVERIFY(place.Window().isVisible()); // the question needs its window
        QVERIFY(!exit({WarnAnswer::Yes, WarnAnswer::Cancel}));
        // Without a name the project cannot be saved, which is a cancellation too.
        QVERIFY(!exit({WarnAnswer::Yes, WarnAnswer::Yes}));
        QCOMPARE(LongJobs(), u"a.one"_s);

        place.prompt.texts = {place.Path(u"saved.mill"_s)};
        QVERIFY(exit({WarnAnswer::Yes, WarnAnswer::Yes}));
        QVERIFY(!place.Window().isVisible());
        QVERIFY(QFileInfo{place.Path(u"saved.mill"_s)}.size() > 0);
    }

    void AsksAboutTheJobsOfTheLastSession()
    {
        const QString project = Path(u"jobs.mill"_s);
        const auto quit = [](WindowPlace &place) {
            place.prompt.answers = {WarnAnswer::Yes, WarnAnswer::Yes};
            place.appWindow.SystemTrayQuitSlot();
        };
        {
            WindowPlace place;
            const QByteArray input = WriteTestFile(Path(u"a.one"_s), "x").toUtf8();
            const Client client{"action=submitjob\njobqueue=none\njobtypename=One\njobinputfile=" + input};
            QTRY_COMPARE(Database()->GetQueuelessJobs().size(), 1);
            place.prompt.texts = {project};
            quit(place);
        }
        QVERIFY(QDir{}.mkpath(Path(u"taskmill"_s)));
        const QString spare = u"taskmill-spare-x.mill"_s;
        WriteTestFile(Path(u"taskmill/"_s + spare), "x");
        // Saved again it waits as before.
        for (const auto answer : {WarnAnswer::No, WarnAnswer::Yes}) {
            WindowPlace place{project};
            place.prompt.answers = {answer};
            QTRY_COMPARE(place.prompt.asked.size(), 2);
            QVERIFY(place.prompt.asked[0].text.contains(spare));
            QVERIFY(place.prompt.asked[1].text.startsWith(
                u"1 queueless job was running when this project was closed. Run it again?\n\nIf you choose No, it waits in the tab"_s));
            place.appWindow.MainWindow().Tabs().setCurrentIndex(
                static_cast<int>(Taskmill_Page::QueuelessJobs));
            QTRY_COMPARE(ColumnTexts(place.Table(u"Queueless Jobs List"_s), 2),
                         QStringList{answer == WarnAnswer::No ? u"Pending"_s : u"Running"_s});
            quit(place);
        }
    }
};

QTEST_MAIN(TestAppWindow)
#include "test_appwindow.moc"
