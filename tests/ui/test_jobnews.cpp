// SPDX-License-Identifier: MIT
#include "ui/jobnews.h"

#include "support/sampleoutput.h"
#include "support/testmanager.h"
#include "ui/badgedicon.h"
#include "ui/symbolicicon.h"

#include <QDir>
#include <QIcon>
#include <QPixmap>

using namespace Qt::Literals::StringLiterals;

namespace {
/// One job for each letter: Completed, Failed, cRashed, Killed, or completed but Not converged.
void End(Taskmill_FinishedJobs &finished, const QString &letters)
{
    for (const QChar letter : letters) {
        Taskmill_JobRecord job;
        job.JobID = static_cast<int>(finished.Jobs().size()) + 1;
        job.Name = u"j%1"_s.arg(job.JobID);
        job.Status = letter == u'C'   ? Taskmill_JobStatus::Completed
                     : letter == u'F' ? Taskmill_JobStatus::Failed
                     : letter == u'R' ? Taskmill_JobStatus::Crashed
                     : letter == u'K' ? Taskmill_JobStatus::Killed
                                      : Taskmill_JobStatus::Completed;
        if (letter == u'N')
            job.StdOutAndStdErr = QString::fromUtf8(SampleOutput::Banner() + SampleOutput::Unconverged());
        finished.AddJob(job);
    }
}
} // namespace

class TestJobNews : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void GathersWhatIsWanted_data()
    {
        using Announced = Taskmill_Announced;
        QTest::addColumn<Announced>("announced");
        QTest::addColumn<QString>("ends");
        QTest::addColumn<QStringList>("news");
        QTest::newRow("one") << Announced::Everything << u"C"_s
                             << QStringList{u"1 job ended"_s, u"j1: Completed"_s};
        QTest::newRow("killed jobs are no news") << Announced::Everything << u"K"_s << QStringList{};
        QTest::newRow("failures first, then a few others")
            << Announced::Everything << u"CCCCCCCFCR"_s
            << QStringList{u"10 jobs ended, 2 failed"_s,
                           u"j8: Failed\nj10: Crashed\nj1: Completed\nj2: Completed\nj3: Completed\n"
                           "... 5 more ..."_s};
        QTest::newRow("only failures are wanted")
            << Announced::Failures << u"CFC"_s << QStringList{u"1 job failed"_s, u"j2: Failed"_s};
        QTest::newRow("calculations that failed")
            << Announced::Failures << u"CNF"_s
            << QStringList{u"2 jobs failed"_s, u"j2: Completed, not converged\nj3: Failed"_s};
        QTest::newRow("nothing failed") << Announced::Failures << u"CC"_s << QStringList{};
        QTest::newRow("nothing is wanted") << Announced::Nothing << u"CFR"_s << QStringList{};
    }

    void GathersWhatIsWanted()
    {
        QFETCH(const Taskmill_Announced, announced);
        QFETCH(const QString, ends);
        QFETCH(const QStringList, news);
        m_manager->NewProject();
        QCOMPARE(Taskmill_RememberedAnnounced(), Taskmill_Announced::Everything);
        Taskmill_RememberAnnounced(announced);
        Taskmill_JobNews jobNews{m_manager->FinishedJobs(), std::chrono::milliseconds{0}};
        QStringList shown;
        connect(&jobNews, &Taskmill_JobNews::NewsSignal, this,
                [&shown](const QString &title, const QString &text) { shown << title << text; });
        End(m_manager->FinishedJobs(), ends);
        QTRY_COMPARE(shown, news);
        QCOMPARE(jobNews.AnnouncedJobs().size(), news.value(0).section(u' ', 0, 0).toInt());
    }

    /// What is long is read after the end of the job.
    void AResultThatComesLaterIsNews()
    {
        using namespace SampleOutput;
        m_manager->NewProject();
        Taskmill_RememberAnnounced(Taskmill_Announced::Failures);
        Taskmill_JobNews jobNews{m_manager->FinishedJobs(), std::chrono::milliseconds{0}};
        QStringList shown;
        connect(&jobNews, &Taskmill_JobNews::NewsSignal, this,
                [&shown](const QString &title, const QString &text) { shown << title << text; });
        Taskmill_JobRecord job;
        job.JobID = 1;
        job.Name = u"j1"_s;
        job.Status = Taskmill_JobStatus::Completed;
        job.StdOutAndStdErr =
            QString::fromUtf8(Banner() + QByteArray{"more\n"}.repeated(10'000) + Unconverged());
        m_manager->FinishedJobs().AddJob(job);
        QCOMPARE(jobNews.UnseenFailures(), 0);
        QTRY_COMPARE(shown, (QStringList{u"1 job failed"_s, u"j1: Completed, not converged"_s}));
        QCOMPARE(jobNews.UnseenFailures(), 1);
    }

    void FailuresAreCountedUntilSeen()
    {
        m_manager->NewProject();
        End(m_manager->FinishedJobs(), u"F"_s);
        Taskmill_JobNews jobNews{m_manager->FinishedJobs()};
        QCOMPARE(jobNews.UnseenFailures(), 0);
        End(m_manager->FinishedJobs(), u"CFKR"_s);
        QCOMPARE(jobNews.UnseenFailures(), 2);
        jobNews.SeeFailures();
        QCOMPARE(jobNews.UnseenFailures(), 0);
        End(m_manager->FinishedJobs(), u"F"_s);
        QCOMPARE(jobNews.UnseenFailures(), 1);
        m_manager->NewProject();
        QCOMPARE(jobNews.UnseenFailures(), 0);
    }

    void TraysOfOneColourGetTheSymbolicIcon()
    {
        if (isWindows)
            QSKIP("No tray there asks for icons by name");
        QPixmap plain{22, 22};
        plain.fill(Qt::yellow);
        const QString folder = Path(u"data/icons/hicolor/symbolic/apps"_s);
        QVERIFY(QDir{}.mkpath(folder));
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path(u"data"_s)));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(Path(u"none"_s)));
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
        QCOMPARE(Taskmill_SymbolicInTray(plain).name(), QString{});
        WriteTestFile(folder + u"/taskmill-symbolic.svg"_s, "<svg/>");
        const QIcon icon = Taskmill_SymbolicInTray(plain);
        QCOMPARE(icon.name(), u"taskmill-symbolic"_s);
        QCOMPARE(icon.pixmap(QSize{22, 22}, 1.0).toImage(), plain.toImage());
        QCOMPARE(icon.availableSizes(), QList{plain.size()});
        qputenv("XDG_CURRENT_DESKTOP", "KDE");
        QCOMPARE(Taskmill_SymbolicInTray(plain).name(), QString{});
    }

    void BadgesDiffer()
    {
        QPixmap plain{64, 64};
        plain.fill(Qt::yellow);
        const QIcon icon{plain};
        const auto look = [&icon](int running, int failed) {
            return Taskmill_BadgedIcon(icon, running, failed).pixmap(QSize{22, 22}, 1.0).toImage();
        };
        const QList<QImage> looks{look(0, 0), look(1, 0),  look(2, 0), look(10, 0),
                                  look(0, 1), look(0, 10), look(1, 1)};
        for (qsizetype one = 0; one < looks.size(); ++one) {
            QCOMPARE(looks[one].size(), (QSize{22, 22}));
            for (qsizetype other = 0; other < one; ++other)
                QVERIFY2(looks[one] != looks[other], qPrintable(u"%1 %2"_s.arg(one).arg(other)));
        }
    }
};

QTEST_MAIN(TestJobNews)
#include "test_jobnews.moc"
