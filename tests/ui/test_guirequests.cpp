#include "db/database.h"
#include "db/databasemanager.h"
#include "kilnutil/computerdata.h"
#include "support/testutil.h"
#include "ui/windowplace.h"

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {
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
        (void)QTest::qWaitFor([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; });
        return m_socket.readAll().trimmed();
    }
    [[nodiscard]] bool IsWaiting() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    void GiveUp() { m_socket.abort(); }

private:
    QTcpSocket m_socket;
};

/// The Submit Jobs dialog when it is open.
QDialog *SubmitDialog()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    return dialog && dialog->windowTitle() == u"Submit Jobs"_s ? dialog : nullptr;
}

void Press(QDialog *dialog, const QString &text)
{
    const auto buttons = dialog->findChildren<QPushButton *>();
    const auto button = std::ranges::find(buttons, text, &QPushButton::text);
    QVERIFY(button != buttons.end());
    (*button)->click();
}

Taskmill_Database &Database()
{
    return *Taskmill_Database_Manager::Global().CurrentDatabase();
}

/// Where jobs are, as "long: a.in; queueless: b.in".
QString Places()
{
    QStringList places;
    const auto add = [&places](const QString &queue, const QList<Taskmill_JobRecord> &jobs) {
        for (const Taskmill_JobRecord &job : jobs)
            places.append(queue + u": "_s + job.Name);
    };
    add(u"long"_s, Database().GetLongJobs());
    add(u"short"_s, Database().GetShortJobs());
    add(u"queueless"_s, Database().GetQueuelessJobs());
    return places.join(u"; "_s);
}
} // namespace

/// Requests of other programs to the manager with its window, whose dialogs are answered here.
class TestGuiRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void Requests_data();
    void Requests();
    void DialogsComeOneAfterAnother();
    void RequestWaitsForTheUsersDialog();
    void QuitsWhileADialogIsOpen();

private:
    void AddJobType(const QString &name, const QString &queue, const QString &filter) const;
    [[nodiscard]] QByteArray SubmitLines(const QString &file, const QByteArray &more) const;
    /// Calls the function once, inside the event loop of the dialog that is opened next.
    void WhenDialogOpens(const std::function<void(QDialog *)> &act);

    std::unique_ptr<WindowPlace> m_place;
};

void TestGuiRequests::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<WindowPlace>();
    QVERIFY(m_place->Start());
    AddJobType(u"One"_s, u"Long"_s, u"First (*.one)"_s);
    AddJobType(u"Two"_s, u"Short"_s, u"Second (*.two)"_s);
}

void TestGuiRequests::cleanup()
{
    qDeleteAll(findChildren<QTimer *>());
    m_place.reset();
}

void TestGuiRequests::AddJobType(const QString &name, const QString &queue, const QString &filter) const
{
    Taskmill_JobType jobType;
    jobType.Name = name;
    jobType.ApplicationName = u"testprogram"_s;
    jobType.ExecutablePath = TestProgramPath();
    jobType.DefaultQueue = queue;
    jobType.GenericCommandLine = u"@EXEFILE waitfor @INFILE.go"_s;
    jobType.InputFileFilter = filter;
    QVERIFY(Database().InsertJobType(jobType, true));
}

QByteArray TestGuiRequests::SubmitLines(const QString &file, const QByteArray &more) const
{
    return "action=submitjob\njobinputfile=" +
           WriteTestFile(m_place->directory.filePath(file), "x").toUtf8() + '\n' + more;
}

void TestGuiRequests::WhenDialogOpens(const std::function<void(QDialog *)> &act)
{
    auto *poll = new QTimer{this};
    poll->setInterval(1);
    connect(poll, &QTimer::timeout, this, [poll, act] {
        QDialog *dialog = SubmitDialog();
        if (!dialog)
            return;
        poll->stop();
        poll->deleteLater();
        act(dialog);
    });
    poll->start();
}

void TestGuiRequests::Requests_data()
{
    QTest::addColumn<QString>("file"); // of a submission; empty for other requests
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("dialogAnswer"); // of the Submit Jobs dialog; empty when it must not come
    QTest::addColumn<QString>("chosenType");   // in the list of job types; empty when it must not come
    QTest::addColumn<QString>("places");
    const auto row = [](const char *name, const char *file, const QByteArray &lines, const char *dialogAnswer,
                        const char *chosenType, const char *places) {
        QTest::newRow(name) << QString::fromLatin1(file) << lines << QString::fromLatin1(dialogAnswer)
                            << QString::fromLatin1(chosenType) << QString::fromLatin1(places);
    };
    row("named type", "a.x", "JobTypeName=one", "", "", "long: a.x");
    row("other queue", "a.one", "jobtypename=One\njobqueue=short", "", "", "short: a.one");
    row("without a queue", "a.one", "jobtypename=One\njobqueue=none\njobname=mine", "", "",
        "queueless: mine");
    row("confirmed", "a.one", "jobtypename=One\nconfirmaction=yes\njobqueue=short", "Submit", "",
        "short: a.one");
    row("not confirmed", "a.one", "jobtypename=One\nconfirmaction=yes", "Cancel", "", "");
    row("type by extension", "a.two", "jobtypename=Auto", "Submit", "", "short: a.two");
    row("type by question", "a.x", "jobtypename=Auto", "Submit", "Two", "short: a.x");
    row("no type chosen", "a.x", "jobtypename=Auto", "", "None", "");
    row("no type named", "a.one", "", "", "", "");
    row("no such file", "", "action=submitjob\njobtypename=One\njobinputfile=/nowhere/a.one", "", "", "");
    row("unknown action", "", "action=dance", "", "", "");
}

void TestGuiRequests::Requests()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, lines);
    QFETCH(QString, dialogAnswer);
    QFETCH(QString, chosenType);
    QFETCH(QString, places);
    if (!chosenType.isEmpty())
        m_place->prompt.texts = {chosenType};
    int dialogs = 0;
    QTimer answering;
    answering.setInterval(1);
    connect(&answering, &QTimer::timeout, this, [&] {
        if (QDialog *dialog = SubmitDialog()) {
            ++dialogs;
            Press(dialog, dialogAnswer.isEmpty() ? u"Cancel"_s : dialogAnswer);
        }
    });
    answering.start();

    Client client{file.isEmpty() ? lines : SubmitLines(file, lines)};
    const QByteArray answer = client.Answer();
    QCOMPARE(answer.first(qMin(answer.size(), 8)), places.isEmpty() ? "refused=" : "accepted");
    QCOMPARE(Places(), places);
    QCOMPARE(dialogs, dialogAnswer.isEmpty() ? 0 : 1);
    QCOMPARE(m_place->prompt.asked.size(), chosenType.isEmpty() ? 0 : 1);
    if (!chosenType.isEmpty())
        QCOMPARE(m_place->prompt.asked.first().items, (QStringList{u"None"_s, u"One"_s, u"Two"_s}));
}

void TestGuiRequests::DialogsComeOneAfterAnother()
{
    const QByteArray confirmed = "jobtypename=One\nconfirmaction=yes";
    Client first{SubmitLines(u"a.one"_s, confirmed)};
    std::unique_ptr<Client> impatient;
    std::unique_ptr<Client> third;
    WhenDialogOpens([&](QDialog *dialog) {
        impatient = std::make_unique<Client>(SubmitLines(u"b.one"_s, confirmed));
        third = std::make_unique<Client>(SubmitLines(u"c.one"_s, "jobtypename=One"));
        QTRY_VERIFY(impatient->IsWaiting() && third->IsWaiting());
        QCOMPARE(Places(), QString{});
        impatient->GiveUp();
        Press(dialog, u"Submit"_s);
    });
    QVERIFY(first.Answer().startsWith("accepted="));
    // The one that gave up may still be asked about.
    WhenDialogOpens([](QDialog *dialog) { Press(dialog, u"Cancel"_s); });
    QVERIFY(third->Answer().startsWith("accepted="));
    QCOMPARE(Places(), u"long: a.one; long: c.one"_s);
}

void TestGuiRequests::RequestWaitsForTheUsersDialog()
{
    std::unique_ptr<Client> confirmed;
    WhenDialogOpens([&](QDialog *own) {
        confirmed = std::make_unique<Client>(SubmitLines(u"a.one"_s, "jobtypename=One\nconfirmaction=yes"));
        QTRY_VERIFY(confirmed->IsWaiting());
        own->reject();
    });
    m_place->appWindow->NewJobsSlot();
    QVERIFY(confirmed && confirmed->IsWaiting());
    QCOMPARE(Places(), QString{});
    WhenDialogOpens([](QDialog *dialog) { Press(dialog, u"Submit"_s); });
    QVERIFY(confirmed->Answer().startsWith("accepted="));
    QCOMPARE(Places(), u"long: a.one"_s);

    // One that needs no answer goes on meanwhile.
    QByteArray answer;
    WhenDialogOpens([&](QDialog *own) {
        answer = Client{SubmitLines(u"b.one"_s, "jobtypename=One")}.Answer();
        own->reject();
    });
    m_place->appWindow->NewJobsSlot();
    QVERIFY(answer.startsWith("accepted="));
}

/// The last one: no dialog can be run after the event loops have been told to end.
void TestGuiRequests::QuitsWhileADialogIsOpen()
{
    Client client{SubmitLines(u"a.one"_s, "jobtypename=One\nconfirmaction=yes")};
    bool opened = false;
    WhenDialogOpens([&](QDialog *) {
        opened = true;
        m_place->appWindow->QuitAtOnceSlot();
    });
    QVERIFY(!client.Answer().startsWith("accepted="));
    QVERIFY(opened);
    QVERIFY(!SubmitDialog());
    QVERIFY(!Taskmill_Database_Manager::Global().CurrentDatabase());
}

QTEST_MAIN(TestGuiRequests)
#include "test_guirequests.moc"
