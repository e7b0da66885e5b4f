// SPDX-License-Identifier: MIT
#include "manager/inputhashes.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/startfiles.h"
#include "kilnutil/logging.h"
#include "manager/destinations.h"

#include <QTimer>

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {
/// Of some thousand jobs that are submitted at once the first may start meanwhile.
constexpr qsizetype mostAtOnce = 200;
/// Between two readings: what comes meanwhile is read and stored at once, which takes far less.
constexpr std::chrono::milliseconds betweenReadings = 20ms;
/// Beyond that a drive does not answer, and its inputs stay unread.
constexpr auto longestRead = 30s;
} // namespace

Taskmill_InputHashes::Taskmill_InputHashes(Taskmill_Destinations &destinations)
    : m_destinations{destinations}
    , m_thread{nullptr}
{
    for (const Taskmill_QueueOwner *owner : destinations.All())
        connect(owner, &Taskmill_QueueOwner::WaitsSignal, this, &Taskmill_InputHashes::WaitsSlot);
}

void Taskmill_InputHashes::WaitsSlot(const Taskmill_JobRecord &job)
{
    if (job.InputFilePath.isEmpty())
        return;
    m_waiting.append({job.JobID, job.InputFilePath});
    if (m_waiting.size() == 1)
        ReadSoon();
}

void Taskmill_InputHashes::ReadSoon()
{
    QTimer::singleShot(static_cast<int>(m_pause.remainingTime()), this, &Taskmill_InputHashes::ReadNext);
}

Taskmill_InputHashes::Hashes Taskmill_InputHashes::HashesOf(const Inputs &inputs)
{
    Hashes hashes;
    for (const auto &[jobID, path] : inputs) {
        if (const QString hash = Taskmill_HashOfInput(path); !hash.isEmpty())
            hashes.insert(jobID, hash);
    }
    return hashes;
}

void Taskmill_InputHashes::ReadNext()
{
    if (m_waiting.isEmpty() || (m_thread.IsBusy() && !m_answersBy.hasExpired()))
        return;
    const Inputs inputs = m_waiting.mid(0, mostAtOnce);
    m_waiting.remove(0, inputs.size());
    m_answersBy = QDeadlineTimer{longestRead};
    m_pause = QDeadlineTimer{betweenReadings};
    m_thread.Run([this, inputs] {
        return [this, inputs, hashes = HashesOf(inputs)] {
            Take(inputs, hashes);
            if (!m_waiting.isEmpty())
                ReadSoon();
        };
    });
}

void Taskmill_InputHashes::Take(const Inputs &inputs, const Hashes &hashes)
{
    Hashes stored;
    for (const auto &[jobID, path] : inputs) {
        Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID);
        Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
        // It may have started, or be of another project.
        if (!job || job->Status() != Taskmill_JobStatus::Pending || job->Record().InputFilePath != path ||
            !hashes.contains(jobID))
            continue;
        job->SetInputHash(hashes.value(jobID));
        stored.insert(jobID, hashes.value(jobID));
    }
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database && !stored.isEmpty() && !database->SetInputHashes(stored))
        qCWarning(Taskmill_ManagerLog, "What the inputs of %lld jobs hold cannot be stored",
                  static_cast<long long>(stored.size()));
}
