#include "kilnutil/platform.h"
#include "kilnutil/process.h"
#include "support/testutil.h"

#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class TestProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        Make(u"wait"_s);
    }

    void cleanup()
    {
        m_finished.reset();
        m_process.reset();
    }

    void TellsWhyItCouldNotStart_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("output");
        const QString none = Path(u"none/none"_s);
        const QString plain = WriteTestFile(Path(u"plain"_s), "text");
        QTest::newRow("no such program") << none << m_directory.path() << plain;
        QTest::newRow("not executable") << plain << m_directory.path() << plain;
        QTest::newRow("no such working directory") << TestProgramPath() << none << plain;
        QTest::newRow("output file in no directory") << TestProgramPath() << m_directory.path() << none;
    }

    void TellsWhyItCouldNotStart()
    {
        QFETCH(const QString, program);
        QFETCH(const QString, directory);
        QFETCH(const QString, output);
        m_process->SetProgramText(program);
        m_process->setWorkingDirectory(directory);
        if (output.endsWith(u"none"_s))
            m_process->SetStandardOutputFilePath(output);
        m_process->Start();
        QCOMPARE(m_finished->size(), 0);
        QTRY_COMPARE(m_finished->size(), 1);
        QVERIFY(!m_finished->first().first().toBool() && !m_process->HasCrashed());
        QCOMPARE(m_process->ExitCode(), 255);
        QVERIFY2(Output().startsWith("Failed to start " + program.toUtf8() + ": "), Output());
        QCoreApplication::processEvents();
        QCOMPARE(m_finished->size(), 1);
        QCOMPARE(Output().count("Failed"), 1);
    }

    void IsKilledOnceAlsoWhileItStarts()
    {
        for (const bool runs : {true, false}) {
            Make(u"print before wait"_s);
            m_process->Start();
            if (runs)
                QTRY_COMPARE(Output(), "before");
            m_process->KillSlot();
            QVERIFY(!runs || m_finished->size() == 1);
            QVERIFY(m_process->WasKilled());
            QCOMPARE(m_process->state(), QProcess::NotRunning);
            m_process->KillSlot();
            QCoreApplication::processEvents();
            QCOMPARE(m_finished->size(), 1);
        }
    }

    void EndsRegisteredChildrenAtOnce()
    {
        m_process->Start();
        QTRY_COMPARE(m_process->state(), QProcess::Running);
        KilnUtil_Platform::KillRegisteredChildren();
        QTRY_COMPARE(m_finished->size(), 1);
        QVERIFY(m_process->HasCrashed() && !m_process->WasKilled());
    }

private:
    void Make(const QString &arguments)
    {
        m_process = std::make_unique<KilnUtil_Process>(nullptr, u"type"_s, u"name"_s);
        m_process->SetProgramText(TestProgramPath());
        m_process->SetArgumentText(arguments);
        m_process->setStandardInputFile(QProcess::nullDevice());
        m_finished = std::make_unique<QSignalSpy>(m_process.get(), &KilnUtil_Process::FinishedSignal);
    }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory.filePath(name); }
    [[nodiscard]] QByteArray Output() const { return m_process->Output().Content().trimmed(); }

    QTemporaryDir m_directory;
    std::unique_ptr<KilnUtil_Process> m_process;
    std::unique_ptr<QSignalSpy> m_finished;
};

QTEST_GUILESS_MAIN(TestProcess)
#include "test_process.moc"
