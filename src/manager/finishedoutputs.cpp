// SPDX-License-Identifier: MIT
#include "manager/finishedoutputs.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobrecord.h"
#include "kilnutil/logging.h"

#include <QReadWriteLock>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}
} // namespace

/// Lets outputs be read on any thread until it is closed.
class Taskmill_FinishedOutputs::ReadingGate
{
public:
    template <typename Read>
    QByteArray Pass(const Read &read)
    {
        const QReadLocker lock{&m_lock};
        return m_isOpen ? read() : QByteArray{};
    }

    /// Waits for what is being read.
    void Close()
    {
        const QWriteLocker lock{&m_lock};
        m_isOpen = false;
    }

private:
    QReadWriteLock m_lock;
    bool m_isOpen = true;
};

Taskmill_FinishedOutputs::Taskmill_FinishedOutputs()
    : m_gate{std::make_shared<ReadingGate>()}
{
}

Taskmill_FinishedOutputs::~Taskmill_FinishedOutputs()
{
    m_gate->Close();
}

bool Taskmill_FinishedOutputs::CanLeave() const
{
    Taskmill_Database *database = CurrentDatabase();
    return database && m_outputOfRun && database->WorkingCopy().Exists();
}

void Taskmill_FinishedOutputs::FetchUnlessLeft(Taskmill_JobRecord &job) const
{
    if (!job.IsOutputLeft || CanLeave())
        return;
    job.IsOutputLeft = false;
    if (!m_outputOfRun)
        return;
    const OutputOfRun output = Read(job.Run);
    job.StdOutAndStdErr.prepend(output.Text);
    // An output that cannot be read whole now stays with its run, which is therefore not reported as stored.
    if (!output.IsWhole)
        job.Run.clear();
}

QString Taskmill_FinishedOutputs::TextOfJob(const Taskmill_JobRecord &job) const
{
    return (job.IsOutputLeft ? Read(job.Run).Text : QString{}) + job.StdOutAndStdErr;
}

QString Taskmill_FinishedOutputs::TextOf(qint64 key) const
{
    if (const auto left = m_left.constFind(key); left != m_left.constEnd())
        return Read(left->Run).Text + left->Said;
    Taskmill_Database *database = CurrentDatabase();
    return database ? database->GetFinishedJobOutput(key) : QString{};
}

bool Taskmill_FinishedOutputs::Has(qint64 key) const
{
    Taskmill_Database *database = CurrentDatabase();
    return m_left.contains(key) || (database && database->HasFinishedJobOutput(key));
}

Taskmill_OutputText Taskmill_FinishedOutputs::ReaderOf(qint64 key) const
{
    const auto left = m_left.constFind(key);
    const auto printed = left == m_left.constEnd() ? nullptr : m_outputOfRun(left->Run);
    return [gate = m_gate, row = CurrentDatabase()->ReaderOfFinishedJobOutput(key), printed,
            said = printed ? left->Said : QString{}] {
        return gate->Pass([&] {
            const OutputOfRun left = printed ? printed() : OutputOfRun{};
            if (left.IsWhole && !left.Text.isEmpty())
                return (left.Text + said).toUtf8();
            // It may have been written into its row meanwhile.
            const QByteArray stored = row();
            return stored.isEmpty() ? (left.Text + said).toUtf8() : stored;
        });
    };
}

void Taskmill_FinishedOutputs::Load()
{
    Taskmill_Database *database = CurrentDatabase();
    if (!database || !m_outputOfRun)
        return;
    m_left = database->WorkingCopy().LeftOutputs();
    if (!TakeLeft())
        qCWarning(Taskmill_ManagerLog, "Outputs of finished jobs could not be written to the database");
}

bool Taskmill_FinishedOutputs::TakeLeft()
{
    Taskmill_Database *database = CurrentDatabase();
    const QList<qint64> keys = m_left.keys();
    for (const qint64 key : keys) {
        const Taskmill_LeftOutput left = m_left.value(key);
        const OutputOfRun stored = Read(left.Run);
        const QString output = stored.Text + left.Said;
        const bool isTaken = database->Untracked([&] {
            return database->SetFinishedJobOutput(key, output) &&
                   (!stored.IsWhole || database->WorkingCopy().RemoveLeftOutput(key));
        });
        if (!isTaken)
            return false;
        if (!stored.IsWhole) {
            qCWarning(Taskmill_ManagerLog, "The output of run %ls cannot be read now, and stays where it is",
                      qUtf16Printable(left.Run));
            m_unread.insert(key);
            continue;
        }
        m_unread.remove(key);
        Q_EMIT OutputTakenSignal(left.Run, output);
        m_left.remove(key);
        Q_EMIT RunStoredSignal(left.Run);
    }
    return true;
}

void Taskmill_FinishedOutputs::GiveUp(qint64 key)
{
    if (!m_left.contains(key))
        return;
    const Taskmill_LeftOutput left = m_left.take(key);
    Taskmill_Database *database = CurrentDatabase();
    (void)database->Untracked([&] { return database->WorkingCopy().RemoveLeftOutput(key); });
    Q_EMIT RunStoredSignal(left.Run);
}

void Taskmill_FinishedOutputs::GiveUpLeft()
{
    const auto outputs = std::exchange(m_left, {});
    for (const auto &[key, left] : outputs.asKeyValueRange()) {
        if (!m_unread.contains(key))
            Q_EMIT RunStoredSignal(left.Run);
    }
}

void Taskmill_FinishedOutputs::Forget()
{
    m_gate->Close();
    m_gate = std::make_shared<ReadingGate>();
    m_left.clear();
    m_unread.clear();
}
