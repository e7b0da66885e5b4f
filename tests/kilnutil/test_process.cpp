#include "kilnutil/filesys.h"
#include "kilnutil/platform.h"
#include "kilnutil/process.h"
#include "support/testutil.h"

#include <QPointer>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

class TestProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void TellsHowItEnded_data();
    void TellsHowItEnded();
    void TellsWhyItCouldNotStart_data();
    void TellsWhyItCouldNotStart();
    void PassesArgumentsIntact();
    void KillsRunningProgram();
    void KillsProgramThatIsStarting();
    void EndsRegisteredChildrenAtOnce();
    void EndsProgramWhenDestroyed();
    void DeletesItselfWhenEnded();

private:
    void Make(const QStringList &arguments);
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }
    [[nodiscard]] QByteArray Output() const { return m_process->Output().Content(); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<KilnUtil_Process> m_process;
    std::unique_ptr<QSignalSpy> m_finished;
};

void TestProcess::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
}

void TestProcess::cleanup()
{
    m_finished.reset();
    m_process.reset();
    m_directory.reset();
}

void TestProcess::Make(const QStringList &arguments)
{
    QStringList quoted;
    for (const QString &argument : arguments)
        quoted.append(KilnUtil_FileSys::ConvertFilename(argument, true, false));
    m_process = std::make_unique<KilnUtil_Process>(nullptr, u"type"_s, u"name"_s);
    m_process->SetProgramText(TestProgramPath());
    m_process->SetArgumentText(quoted.join(u' '));
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_finished = std::make_unique<QSignalSpy>(m_process.get(), &KilnUtil_Process::FinishedSignal);
}

void TestProcess::TellsHowItEnded_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("normal");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("success") << QStringList{u"exit"_s, u"0"_s} << true << 0;
    QTest::newRow("failure") << QStringList{u"exit"_s, u"3"_s} << true << 3;
    QTest::newRow("crash") << QStringList{u"crash"_s} << false << -1;
}

void TestProcess::TellsHowItEnded()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, normal);
    QFETCH(int, exitCode);
    Make(arguments);
    m_process->Start();
    QVERIFY(m_process->ProcessID() > 0);
    QTRY_COMPARE(m_finished->size(), 1);
    QCOMPARE(m_finished->first().first().toBool(), normal);
    QCOMPARE(m_process->HasCrashed(), !normal);
    if (normal)
        QCOMPARE(m_process->ExitCode(), exitCode);
    QVERIFY(!m_process->WasKilled());
    QCOMPARE(m_process->ProcessID(), 0);
}

void TestProcess::TellsWhyItCouldNotStart_data()
{
    using Change = std::function<void(KilnUtil_Process & process, const QString &directory)>;
    QTest::addColumn<Change>("change");

    QTest::newRow("no such program") << Change{[](auto &process, const QString &dir) {
        process.SetProgramText(dir + u"/none"_s);
    }};
    QTest::newRow("no program at all") << Change{[](auto &process, auto &) {
        process.SetProgramText({});
    }};
    QTest::newRow("a directory") << Change{[](auto &process, const QString &dir) {
        process.SetProgramText(dir);
    }};
    QTest::newRow("not executable") << Change{[](auto &process, const QString &dir) {
        process.SetProgramText(WriteTestFile(dir + u"/plain"_s, "text"));
    }};
    QTest::newRow("no such working directory") << Change{[](auto &process, const QString &dir) {
        process.setWorkingDirectory(dir + u"/none"_s);
    }};
    QTest::newRow("no such input file") << Change{[](auto &process, const QString &dir) {
        process.setStandardInputFile(dir + u"/none"_s);
    }};
    QTest::newRow("output file in no directory") << Change{[](auto &process, const QString &dir) {
        process.SetStandardOutputFilePath(dir + u"/none/out"_s);
    }};
}

void TestProcess::TellsWhyItCouldNotStart()
{
    using Change = std::function<void(KilnUtil_Process & process, const QString &directory)>;
    QFETCH(Change, change);
    Make({u"print"_s, u"unexpected"_s});
    change(*m_process, m_directory->path());
    m_process->Start();
    QCOMPARE(m_finished->size(), 0);

    QTRY_COMPARE(m_finished->size(), 1);
    QVERIFY(!m_finished->first().first().toBool());
    QCOMPARE(m_process->ExitCode(), 255);
    QVERIFY(!m_process->HasCrashed());
    QCOMPARE(m_process->ProcessID(), 0);
    const QString output = QString::fromUtf8(Output());
    const QString beginning = u"Failed to start %1: "_s.arg(m_process->Program());
    QVERIFY2(output.startsWith(beginning), qPrintable(output));
    QVERIFY(output.trimmed().size() > beginning.size());
    QCOMPARE(output.count(u"Failed"_s), 1);

    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 1);
}

void TestProcess::PassesArgumentsIntact()
{
    const QStringList hard{
        u"two words"_s,    u"tab\there"_s, u"\"quoted\" 'single'"_s, u"\\"_s,           u"a b\\"_s,
        u"\\\\\"\\"_s,     u"$HOME *"_s,   u"~;&|<>`x`"_s,           u"Übung 分子 😀"_s, u"%PATH% ^ ^^& !x!"_s,
        u"two words\\\\"_s};
    Make(QStringList{u"args"_s, Path(u"a file"_s)} + hard);
    m_process->Start();
    QTRY_COMPARE(m_finished->size(), 1);
    QByteArray expected;
    for (const QString &argument : hard)
        expected += argument.toUtf8() + '\0';
    QCOMPARE(ReadTestFile(Path(u"a file"_s)), expected);
}

void TestProcess::KillsRunningProgram()
{
    Make({u"print"_s, u"before"_s, u"wait"_s});
    m_process->Start();
    QTRY_COMPARE(Output().trimmed(), "before");
    m_process->KillSlot();
    QCOMPARE(m_finished->size(), 1);
    QVERIFY(m_process->WasKilled());
    QCOMPARE(m_process->state(), QProcess::NotRunning);
    QCOMPARE(Output().trimmed(), "before");

    m_process->KillSlot();
    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 1);
}

void TestProcess::KillsProgramThatIsStarting()
{
    Make({u"wait"_s});
    m_process->Start();
    m_process->KillSlot();
    QCOMPARE(m_process->state(), QProcess::NotRunning);
    QCoreApplication::processEvents();
    QCOMPARE(m_finished->size(), 1);
    QVERIFY(m_process->WasKilled());
}

void TestProcess::EndsRegisteredChildrenAtOnce()
{
    Make({u"pid"_s, Path(u"pid"_s), u"wait"_s});
    m_process->Start();
    QTRY_VERIFY(QFile::exists(Path(u"pid"_s)));
    KilnUtil_Platform::KillRegisteredChildren();
    QTRY_COMPARE(m_finished->size(), 1);
    QVERIFY(m_process->HasCrashed());
    QVERIFY(!m_process->WasKilled());
}

void TestProcess::EndsProgramWhenDestroyed()
{
    Make({u"wait"_s});
    m_process->Start();
    QTRY_COMPARE(m_process->state(), QProcess::Running);
    // A process that is still there makes QProcess warn, which fails the test.
    m_process.reset();
    QCOMPARE(m_finished->size(), 0);
}

void TestProcess::DeletesItselfWhenEnded()
{
    Make({u"waitfor"_s, Path(u"go"_s)});
    m_process->Start();
    const QPointer process{m_process.release()};
    process->DeleteWhenEnded();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(process);
    WriteTestFile(Path(u"go"_s), {});
    QTRY_VERIFY(!process);
}

QTEST_GUILESS_MAIN(TestProcess)
#include "test_process.moc"
