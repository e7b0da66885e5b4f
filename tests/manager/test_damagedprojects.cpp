// SPDX-License-Identifier: MIT
#include "db/databasetestutil.h"
#include "support/testmanager.h"

#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {
/// One project file, damaged at random; the same seed and number give the same damage everywhere.
class Damage
{
public:
    Damage(QByteArray content, quint32 seed, quint32 number)
        : m_content{std::move(content)}
    {
        std::seed_seq sequence{seed, number};
        m_random.seed(sequence);
    }

    QByteArray Do()
    {
        constexpr std::array kinds{&Damage::FlipBytes, &Damage::Cut, &Damage::SwapPages, &Damage::AlterSchema,
                                   &Damage::FillRange};
        for (qsizetype time = 1 + Below(3); time > 0; --time)
            (this->*kinds[static_cast<std::size_t>(Below(kinds.size()))])();
        return m_content;
    }

private:
    static constexpr qsizetype pageSize = 4096;

    qsizetype Below(qsizetype limit)
    {
        return static_cast<qsizetype>(m_random() % static_cast<quint32>(limit));
    }
    char Byte() { return static_cast<char>(Below(256)); }

    /// Anywhere, or in the header.
    void FlipBytes()
    {
        const qsizetype size = Below(2) == 0 ? m_content.size() : 112;
        for (qsizetype count = 1 + Below(20); count > 0; --count)
            m_content[Below(size)] = Byte();
    }
    void Cut()
    {
        // A length in whole pages cannot be seen from the size alone.
        const qsizetype size = 600 + Below(m_content.size() - 600);
        m_content.truncate(Below(2) == 0 ? size : qMax(pageSize, size / pageSize * pageSize));
    }
    void SwapPages()
    {
        const qsizetype pages = qMax(1, m_content.size() / pageSize);
        const qsizetype first = Below(pages) * pageSize;
        const qsizetype second = Below(pages) * pageSize;
        const QByteArray page = m_content.mid(first, pageSize);
        m_content.replace(first, pageSize, m_content.mid(second, pageSize));
        // Sometimes one of them is lost.
        if (Below(3) > 0)
            m_content.replace(second, pageSize, page);
    }
    void AlterSchema()
    {
        static const QByteArrayList words =
            QByteArray{"CREATE TABLE|CREATE VIEW |TABLE|INDEX|INTEGER|BLOB   |UNIQUE|      |JobID|JobIX|"
                       "PRIMARY KEY|           |FinishedJobs|QueuelessJob|Name TEXT|NULL TEXT|length(Name)|"
                       "zeroblob(-9)|TEXT|REAL|NOT NULL|DEFAULT9|AddedFields|LongFieldsX"}
                .split('|');
        const qsizetype word = 2 * Below(words.size() / 2);
        const qsizetype found = m_content.indexOf(words[word], Below(m_content.size()));
        if (const qsizetype at = found < 0 ? m_content.indexOf(words[word]) : found; at >= 0)
            m_content.replace(at, words[word + 1].size(), words[word + 1]);
    }
    void FillRange()
    {
        const qsizetype from = Below(m_content.size());
        const qsizetype length = qMin(m_content.size() - from, 1 + Below(2 * pageSize));
        m_content.replace(from, length, QByteArray{length, Below(2) == 0 ? '\0' : Byte()});
    }

    QByteArray m_content;
    std::mt19937 m_random;
};

quint32 NumberFrom(const char *variable, quint32 otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? static_cast<quint32>(number) : otherwise;
}

/// 0 where the system does not say. What Wine has there are the files of its server.
qsizetype OpenDescriptors()
{
    if constexpr (isWindows)
        return 0;
    return QDir{u"/proc/self/fd"_s}.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}
} // namespace

/// Whatever is in a file: it is refused with one message or opened, and it stays as it is. A longer run:
/// TASKMILL_DAMAGED_COUNT=100000 TASKMILL_DAMAGED_SEED=7 tests/test_damagedprojects
class TestDamagedProjects : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Opening and saving wait for the disk, which would take nearly all of the time.
        if (const QString memory = u"/dev/shm"_s; QFileInfo{memory}.isWritable())
            qputenv("TMPDIR", memory.toLocal8Bit());
        m_manager = std::make_unique<TestManager>();
    }

    void OpenOrRefuseAndChangeNothing()
    {
        const quint32 seed = NumberFrom("TASKMILL_DAMAGED_SEED", 20261122);
        const quint32 count = NumberFrom("TASKMILL_DAMAGED_COUNT", 500);
        qInfo("Seed %u, %u files", seed, count);
        const QByteArray good = GoodProject();
        qsizetype descriptors = 0;
        int opened = 0;
        for (quint32 number = 0; number < count; ++number) {
            const QString problem = TryFile(Damage{good, seed, number}.Do(), opened);
            QVERIFY2(problem.isEmpty(),
                     qPrintable(u"Seed %1, file %2: %3"_s.arg(seed).arg(number).arg(problem)));
            if (number == 0)
                descriptors = OpenDescriptors();
        }
        // The last file may be open, with its working copy, or what came of the first one.
        QVERIFY2(OpenDescriptors() <= descriptors + 10, qPrintable(QString::number(OpenDescriptors())));
        qInfo("%d of them were opened", opened);
        // Neither way is left untried.
        QVERIFY(opened > 0);
        QVERIFY(static_cast<quint32>(opened) < count);
    }

private:
    /// None of its jobs can run, whatever becomes of the path of their program.
    QByteArray GoodProject()
    {
        m_manager->NewProject();
        Taskmill_Database &database = TestManager::Database();
        Taskmill_JobType jobType = SampleJobType(u"Type"_s);
        jobType.ExecutablePath = m_manager->Path(u"missing/directory/program"_s);
        database.InsertJobType(jobType, true, &jobType.JobTypeID);
        for (int jobID = 1; jobID <= 60; ++jobID) {
            Taskmill_JobRecord job = SampleJob(jobType, jobID);
            job.InputFilePath = m_manager->Path(u"missing.in"_s);
            if (jobID % 3 == 0)
                AddSampleFields(job);
            if (jobID % 20 == 0)
                job.StdOutAndStdErr = QString{20000, u'o'};
            const auto insert = jobID <= 40   ? &Taskmill_Database::InsertFinishedJob
                                : jobID <= 50 ? &Taskmill_Database::InsertLongJob
                                              : &Taskmill_Database::InsertShortJob;
            (database.*insert)(job, true, nullptr);
        }
        if (!m_manager->Project().SaveProjectAs(m_manager->Path(u"good.mill"_s)))
            qFatal("the good project cannot be saved");
        return ReadTestFile(m_manager->Path(u"good.mill"_s));
    }

    /// What is wrong with the way in which the file was treated.
    QString TryFile(const QByteArray &content, int &opened)
    {
        const QString path = WriteTestFile(m_manager->Path(u"damaged.mill"_s), content);
        const QString copy = m_manager->Path(u"copy.mill"_s);
        m_manager->prompt.asked.clear();
        m_manager->prompt.answers = {};
        QString problem;
        if (m_manager->Project().OpenProject(path)) {
            ++opened;
            problem = UseOpenProject(copy);
        } else if (m_manager->prompt.asked.size() != 1) {
            problem = u"it was refused with %1 messages"_s.arg(m_manager->prompt.asked.size());
        }
        // Nobody is asked about the changes next time.
        TestManager::Database().MarkUnchanged();
        QFile::remove(copy);
        if (ReadTestFile(path) != content)
            return u"it was changed"_s;
        const QStringList files = QDir{m_manager->directory.path()}.entryList(
            {u"*.mill*"_s, u".taskmill*"_s}, QDir::AllEntries | QDir::Hidden);
        return files.size() == 2 ? problem : u"files were left: "_s + files.join(u' ');
    }

    QString UseOpenProject(const QString &copy)
    {
        for (const Taskmill_JobRecord &job : m_manager->FinishedJobs().Jobs())
            (void)m_manager->FinishedJobs().OutputOf(job);
        (void)(m_manager->FinishedJobs().ListingText() + m_manager->Long().ListingText() +
               m_manager->Short().ListingText());
        const QList<Taskmill_JobRecord> finished = m_manager->FinishedJobs().Jobs();
        Taskmill_Database &database = TestManager::Database();
        // Either may be impossible, but the result alone must say so.
        (void)database.DeleteLongJob(m_manager->Long().Jobs().JobIDs().value(0));
        (void)database.InsertFinishedJob(finished.value(0), true);
        if (!database.SaveToFile(copy))
            return u"it cannot be saved: "_s + database.LastErrorMessage();
        QString reason;
        if (!Taskmill_Database_Manager::MakeMemoryDatabase()->LoadFromFile(copy, &reason))
            return u"what was saved of it cannot be loaded: "_s + reason;
        return {};
    }

    std::unique_ptr<TestManager> m_manager;
};

QTEST_GUILESS_MAIN(TestDamagedProjects)
#include "test_damagedprojects.moc"
