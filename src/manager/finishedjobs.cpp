// SPDX-License-Identifier: MIT
#include "manager/finishedjobs.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "db/jobfields.h"
#include "kilnutil/logging.h"
#include "manager/finishedmatches.h"
#include "manager/finishedranking.h"
#include "manager/jobresults.h"
#include "manager/listings.h"
#include "manager/outbox.h"

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// More than several large screens show.
constexpr int mostRecordsKept = 1000;
/// No row has so small a key.
constexpr qint64 keyOfNone = std::numeric_limits<qint64>::min();
constexpr qint64 firstHeldKey = keyOfNone + 1;

/// What the listing is made of.
const QStringList listedColumns{u"Name"_s,           u"JobTypeID"_s,   u"QueueID"_s, u"ApplicationName"_s,
                                u"ExecutablePath"_s, u"CommandLine"_s, u"Status"_s,  u"Submitted"_s,
                                u"Started"_s,        u"Finished"_s,    u"JobID"_s};

Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}
} // namespace

Taskmill_FinishedJobs::Taskmill_FinishedJobs(Taskmill_Outbox &outbox)
    : m_outbox{outbox}
    , m_lastHeldKey{firstHeldKey}
    , m_read{mostRecordsKept}
{
    connect(&m_outputs, &Taskmill_FinishedOutputs::RunStoredSignal, this,
            &Taskmill_FinishedJobs::RunStoredSignal);
}

Taskmill_FinishedJobs::~Taskmill_FinishedJobs() = default;

void Taskmill_FinishedJobs::SetResults(Taskmill_JobResults &results)
{
    m_results = &results;
    connect(&m_outputs, &Taskmill_FinishedOutputs::OutputTakenSignal, &results,
            &Taskmill_JobResults::TakeLeftOutput);
}

bool Taskmill_FinishedJobs::AddJob(const Taskmill_JobRecord &ended, const std::function<void()> &alsoWrite)
{
    RecordMissing();
    Taskmill_JobRecord job = ended;
    m_outputs.FetchUnlessLeft(job);
    const qint64 result = BeginResult(job);
    Missing written{.key = -1, .alsoWrite = alsoWrite, .notification = m_outbox.Add(job)};
    const auto row = Record(job, written);
    const bool isStored = row && *row >= 0;
    const qint64 key = isStored ? *row : ++m_lastHeldKey;
    m_entries.append({key, job.JobID, m_origins.Add(job)});
    if (isStored)
        Remember(job, key);
    else
        m_held.insert(key, job);
    if (!row) {
        qCWarning(Taskmill_ManagerLog, "Finished job %d could not be written to the database", job.JobID);
        written.key = key;
        m_missing.append(written);
    }
    if (result != 0) {
        m_awaited.insert(result, {.key = key, .notification = written.notification});
        m_outbox.HoldForResult(written.notification);
    }
    Q_EMIT JobsChangedSignal();
    return row.has_value();
}

qint64 Taskmill_FinishedJobs::BeginResult(Taskmill_JobRecord &job)
{
    if (!m_results)
        return 0;
    // The job's status does not wait for the result: the output may be long, or on a drive that does not
    // answer.
    const qint64 number = ++m_lastResult;
    const auto result = m_results->ResultOfEnded(
        job, [this, number](const Taskmill_JobResult &late) { TakeResult(number, late); });
    if (!result)
        return number;
    job.Result = *result;
    return 0;
}

void Taskmill_FinishedJobs::TakeResult(qint64 number, const Taskmill_JobResult &result)
{
    const auto awaited = m_awaited.constFind(number);
    if (awaited == m_awaited.constEnd())
        return;
    const Awaited job = *awaited;
    m_awaited.erase(awaited);
    RecordResult(job, result);
    Q_EMIT ResultSettledSignal();
}

bool Taskmill_FinishedJobs::IsResultAwaited(qsizetype position) const
{
    const qint64 key = m_entries[position].Key;
    return std::ranges::any_of(m_awaited, [key](const Awaited &awaited) { return awaited.key == key; });
}

void Taskmill_FinishedJobs::RecordResult(const Awaited &awaited, const Taskmill_JobResult &result)
{
    // An output of no known program changes nothing in the row: only the notification that waits for it is
    // sent.
    const Taskmill_FinishedEntry *entry = EntryWithKey(awaited.key);
    if (!entry || !result.IsOfKnownProgram()) {
        (void)m_outbox.SetResult(awaited.notification, result);
        return;
    }
    const auto held = m_held.find(awaited.key);
    Taskmill_Database *database = held == m_held.end() ? CurrentDatabase() : nullptr;
    if (held != m_held.end())
        held->Result = result;
    else if (Taskmill_JobRecord *known = m_read.object(awaited.key))
        known->Result = result;
    const int jobID = entry->JobID;
    const auto write = [&] {
        return (!database || database->SetFinishedJobResult(jobID, result)) &&
               m_outbox.SetResult(awaited.notification, result);
    };
    if (!(database ? database->AsOneChange(write) : write()))
        qCWarning(Taskmill_ManagerLog, "The result of job %d could not be written to the database", jobID);
    Q_EMIT ResultKnownSignal(jobID);
}

void Taskmill_FinishedJobs::ReadLostResults()
{
    constexpr qsizetype mostRead = 20;
    constexpr qsizetype mostText = 64L * 1024 * 1024;
    qsizetype text = 0;
    for (qsizetype count = 0; m_results && count < qMin(mostRead, Count()) && text < mostText; ++count) {
        const Taskmill_FinishedEntry &entry = m_entries[Count() - 1 - count];
        const Taskmill_JobRecord job = JobAt(Count() - 1 - count);
        if (job.Result.IsOfKnownProgram())
            continue;
        const QString output = OutputOf(job);
        text += output.size();
        const qint64 number = ++m_lastResult;
        m_awaited.insert(number, {.key = entry.Key});
        m_results->ReadEnded(
            job, [output] { return output.toUtf8(); }, this,
            [this, number](const Taskmill_ResultState &state, bool isComplete) {
                if (isComplete)
                    TakeResult(number, Taskmill_ResultOf(*state));
            });
    }
}

void Taskmill_FinishedJobs::WaitForResults(std::chrono::milliseconds longest)
{
    if (m_results && !m_awaited.isEmpty() && !m_results->WaitForEnded(longest))
        qCInfo(Taskmill_ManagerLog, "The outputs of some jobs that have ended are still being read");
}

void Taskmill_FinishedJobs::ForgetResults()
{
    const auto awaited = std::exchange(m_awaited, {});
    for (const Awaited &job : awaited)
        (void)m_outbox.SetResult(job.notification, {});
    if (m_results)
        m_results->Forget();
}

std::optional<qint64> Taskmill_FinishedJobs::Record(const Taskmill_JobRecord &job, const Missing &missing)
{
    Taskmill_Database *database = CurrentDatabase();
    qint32 key = -1;
    const Taskmill_LeftOutput left{.Run = job.Run, .Said = job.StdOutAndStdErr};
    Taskmill_JobRecord row = job;
    if (job.IsOutputLeft)
        row.StdOutAndStdErr.clear();
    const bool recorded = !database || database->AsOneChange([&] {
        if (!database->InsertFinishedJob(row, true, &key) ||
            (job.IsOutputLeft && !database->WorkingCopy().AddLeftOutput(key, left)))
            return false;
        missing.alsoWrite();
        return m_outbox.Store(missing.notification);
    });
    if (recorded && job.IsOutputLeft)
        m_outputs.AddLeft(key, left);
    else if (recorded && !job.Run.isEmpty())
        Q_EMIT RunStoredSignal(job.Run);
    return recorded ? std::optional<qint64>{key} : std::nullopt;
}

void Taskmill_FinishedJobs::Remember(Taskmill_JobRecord job, qint64 key)
{
    job.StdOutAndStdErr.clear();
    job.Run.clear();
    m_read.insert(key, new Taskmill_JobRecord{std::move(job)});
}

Taskmill_FinishedEntry *Taskmill_FinishedJobs::EntryWithKey(qint64 key)
{
    // The search begins at the end, as the entries that are looked for are among the newest.
    const auto entry = std::find_if(m_entries.rbegin(), m_entries.rend(),
                                    [key](const Taskmill_FinishedEntry &one) { return one.Key == key; });
    return entry == m_entries.rend() ? nullptr : &*entry;
}

void Taskmill_FinishedJobs::RecordMissing()
{
    while (!m_missing.isEmpty()) {
        const Missing missing = m_missing.first();
        const auto row = Record(m_held.value(missing.key), missing);
        if (!row)
            return;
        m_missing.removeFirst();
        if (*row < 0)
            continue;
        EntryWithKey(missing.key)->Key = *row;
        for (Awaited &awaited : m_awaited)
            awaited.key = awaited.key == missing.key ? *row : awaited.key;
        Remember(m_held.take(missing.key), *row);
    }
}

void Taskmill_FinishedJobs::Load()
{
    Clear();
    Taskmill_Database *database = CurrentDatabase();
    const QList<Taskmill_FinishedRow> rows =
        database ? database->GetFinishedRows() : QList<Taskmill_FinishedRow>{};
    m_entries.reserve(rows.size());
    for (const Taskmill_FinishedRow &row : rows)
        m_entries.append({row.Key, row.JobID, 0});
    m_outputs.Load();
    // The jobs before are gone; those of the new project are shown at once.
    ++m_generation;
    Q_EMIT JobsChangedSignal();
}

void Taskmill_FinishedJobs::Clear()
{
    // The background readers have the database open.
    m_ranking.Stop();
    m_matching.Stop();
    m_outputs.Forget();
    m_rowRemoval.Forget();
    ForgetResults();
    m_entries.clear();
    m_origins = {};
    m_held.clear();
    m_read.clear();
    m_missing.clear();
    ++m_generation;
    ++m_content;
    Q_EMIT JobsChangedSignal();
}

std::unique_ptr<Taskmill_JobRecord> Taskmill_FinishedJobs::Read(const Taskmill_FinishedEntry &entry) const
{
    Taskmill_Database *database = CurrentDatabase();
    auto job = database ? database->GetFinishedJob(entry.Key) : std::nullopt;
    if (!job) {
        qCWarning(Taskmill_ManagerLog, "Finished job %d cannot be read", entry.JobID);
        job.emplace();
        job->JobID = entry.JobID;
    }
    m_origins.Restore(*job, entry.Origin);
    return std::make_unique<Taskmill_JobRecord>(std::move(*job));
}

const Taskmill_JobRecord &Taskmill_FinishedJobs::JobAt(qsizetype position) const
{
    const Taskmill_FinishedEntry &entry = m_entries[position];
    if (const Taskmill_JobRecord *known = m_read.object(entry.Key))
        return *known;
    if (const auto held = m_held.constFind(entry.Key); held != m_held.constEnd())
        return *held;
    m_read.insert(entry.Key, Read(entry).release());
    return *m_read.object(entry.Key);
}

qsizetype Taskmill_FinishedJobs::PositionOf(int jobID) const
{
    // As a rule it is one of the newest.
    const auto entry =
        std::find_if(m_entries.rbegin(), m_entries.rend(),
                     [jobID](const Taskmill_FinishedEntry &one) { return one.JobID == jobID; });
    return m_entries.rend() - entry - 1;
}

/// Whether one reading of the whole table is quicker than looking the wanted jobs up one by one, as it is for
/// many.
bool Taskmill_FinishedJobs::IsWorthReadingAll(int since) const
{
    constexpr qsizetype timesQuicker = 8;
    const auto wanted = std::ranges::count_if(
        m_entries, [since](const Taskmill_FinishedEntry &entry) { return entry.JobID > since; });
    return wanted * timesQuicker > m_entries.size() && m_held.isEmpty() &&
           std::ranges::is_sorted(m_entries, {}, &Taskmill_FinishedEntry::Key);
}

void Taskmill_FinishedJobs::ForEach(const std::function<void(const Taskmill_JobRecord &job)> &take, int since,
                                    const QStringList &columns) const
{
    qsizetype position = 0;
    const auto takeUpTo = [&](qint64 key) {
        for (; position < m_entries.size() && m_entries[position].Key < key; ++position) {
            if (m_entries[position].JobID > since)
                take(JobAt(position));
        }
    };
    Taskmill_Database *database = CurrentDatabase();
    if (database && IsWorthReadingAll(since)) {
        // Values that follow from columns alone need no added fields.
        const auto fields = columns.isEmpty() ? database->GetAddedFieldsOfJobs()
                                              : QHash<qint32, Taskmill_AddedFields::Fields>{};
        const auto takeRow = [&](qint64 key, const Taskmill_JobRecord &job) {
            takeUpTo(key);
            // Rows that are about to be removed are no jobs any more.
            if (position == m_entries.size() || m_entries[position].Key != key)
                return;
            const Taskmill_FinishedEntry &entry = m_entries[position++];
            if (entry.JobID <= since)
                return;
            const auto added = fields.constFind(entry.JobID);
            if (entry.Origin == 0 && added == fields.constEnd()) {
                take(job);
                return;
            }
            Taskmill_JobRecord whole = job;
            if (added != fields.constEnd())
                Taskmill_SetFieldsOfJob(whole, *added);
            m_origins.Restore(whole, entry.Origin);
            take(whole);
        };
        (void)database->MakeFinishedJobReader({columns, {}})
            ->Read(std::numeric_limits<qint64>::min(), -1, takeRow);
    }
    for (; position < m_entries.size(); ++position) {
        if (m_entries[position].JobID > since)
            take(JobAt(position));
    }
}

qsizetype Taskmill_FinishedJobs::PositionAt(const Taskmill_FinishedPlace &place) const
{
    if (place.Generation == m_generation)
        return place.Position;
    // Rows rise, and what has none stands behind them.
    const auto next = std::ranges::find_if(m_entries, [&place](const Taskmill_FinishedEntry &entry) {
        return entry.Key > place.Key || entry.Key < 0;
    });
    return place.Content == m_content || place.Position == 0 ? next - m_entries.begin() : m_entries.size();
}

bool Taskmill_FinishedJobs::ForSome(Taskmill_FinishedPlace &place, int count,
                                    const std::function<void(const Taskmill_JobRecord &job)> &take,
                                    int since) const
{
    qsizetype position = PositionAt(place);
    while (position < m_entries.size() && m_entries[position].JobID <= since)
        ++position;
    const qsizetype end = qMin(position + count, m_entries.size());
    QHash<qint64, Taskmill_JobRecord> jobs;
    QHash<qint32, Taskmill_AddedFields::Fields> fields;
    Taskmill_Database *database = CurrentDatabase();
    if (database && position < end && m_entries[position].Key >= 0) {
        QStringList jobIDs;
        (void)database->MakeFinishedJobReader({})->Read(m_entries[position].Key - 1, count,
                                                        [&](qint64 key, const Taskmill_JobRecord &job) {
                                                            jobs.insert(key, job);
                                                            jobIDs.append(QString::number(job.JobID));
                                                        });
        fields = database->GetAddedFieldsOfJobs(jobIDs.join(u','));
    }
    for (; position < end; ++position) {
        const Taskmill_FinishedEntry &entry = m_entries[position];
        place.Key = entry.Key;
        if (entry.JobID <= since)
            continue;
        const auto read = jobs.find(entry.Key);
        if (read == jobs.end()) {
            take(JobAt(position));
            continue;
        }
        if (const auto added = fields.constFind(entry.JobID); added != fields.constEnd())
            Taskmill_SetFieldsOfJob(*read, *added);
        m_origins.Restore(*read, entry.Origin);
        take(*read);
    }
    place.Position = position;
    place.Generation = m_generation;
    place.Content = m_content;
    return position < m_entries.size();
}

QList<Taskmill_JobRecord> Taskmill_FinishedJobs::Jobs() const
{
    QList<Taskmill_JobRecord> jobs;
    ForEach([&jobs](const Taskmill_JobRecord &job) { jobs.append(job); });
    return jobs;
}

QString Taskmill_FinishedJobs::OutputOf(const Taskmill_JobRecord &job) const
{
    const qsizetype position = job.StdOutAndStdErr.isEmpty() ? PositionOf(job.JobID) : -1;
    if (position < 0)
        return job.StdOutAndStdErr;
    const qint64 key = m_entries[position].Key;
    if (const auto held = m_held.constFind(key); held != m_held.constEnd())
        return m_outputs.TextOfJob(*held);
    return m_outputs.TextOf(key);
}

bool Taskmill_FinishedJobs::HasOutput(const Taskmill_JobRecord &job) const
{
    const qsizetype position = job.StdOutAndStdErr.isEmpty() ? PositionOf(job.JobID) : -1;
    if (position < 0)
        return !job.StdOutAndStdErr.isEmpty();
    const qint64 key = m_entries[position].Key;
    if (const auto held = m_held.constFind(key); held != m_held.constEnd())
        return held->IsOutputLeft || !held->StdOutAndStdErr.isEmpty();
    return m_outputs.Has(key);
}

Taskmill_OutputText Taskmill_FinishedJobs::ReaderOfOutput(const Taskmill_JobRecord &job) const
{
    const qsizetype position = job.StdOutAndStdErr.isEmpty() ? PositionOf(job.JobID) : -1;
    const qint64 key = position < 0 ? keyOfNone : m_entries[position].Key;
    if (position < 0 || m_held.contains(key) || !CurrentDatabase())
        return [text = OutputOf(job)] {
            return text.toUtf8();
        };
    return m_outputs.ReaderOf(key);
}

void Taskmill_FinishedJobs::Remove(QList<int> positions)
{
    if (positions.isEmpty())
        return;
    std::ranges::sort(positions);
    // One walk through the list: it may be long, and so may be what is removed.
    auto next = positions.cbegin();
    int position = 0;
    QList<qint64> rows;
    m_entries.removeIf([&](const Taskmill_FinishedEntry &entry) {
        const bool removed = next != positions.cend() && *next == position;
        ++position;
        if (!removed)
            return false;
        ++next;
        m_read.remove(entry.Key);
        // A new row may get this key, but the client of the removed job still waits for the result.
        for (Awaited &awaited : m_awaited)
            awaited.key = awaited.key == entry.Key ? keyOfNone : awaited.key;
        if (m_held.remove(entry.Key))
            m_missing.removeIf([&entry](const Missing &missing) { return missing.key == entry.Key; });
        else
            rows.append(entry.Key);
        return true;
    });
    m_ranking.Cancel();
    m_matching.Cancel();
    for (const qint64 key : std::as_const(rows))
        m_outputs.GiveUp(key);
    ++m_generation;
    Q_EMIT JobsChangedSignal();
    m_rowRemoval.Add(rows);
}

bool Taskmill_FinishedJobs::IsRanked() const
{
    return m_entries.size() > FewJobs && CurrentDatabase();
}

Taskmill_FinishedScan::Task Taskmill_FinishedJobs::ScanOf(const Taskmill_FinishedJobReading &reading) const
{
    return {.Entries = m_entries,
            .Origins = m_origins,
            .Held = m_held,
            .Reader = CurrentDatabase()->MakeFinishedJobReader(reading)};
}

void Taskmill_FinishedJobs::Rank(int column, const TakeRanks &take)
{
    const auto ranking = std::make_shared<Taskmill_FinishedRanking>(column, m_entries.size());
    m_ranking.Begin(ScanOf(Taskmill_FinishedRanking::WhatIsRead(column)), ranking,
                    [ranking, take] { take(ranking->Ranks()); });
}

void Taskmill_FinishedJobs::Match(const Taskmill_JobFilter &filter, const TakeMatches &take)
{
    const auto matches = std::make_shared<Taskmill_FinishedMatches>(filter, m_entries.size());
    m_matching.Begin(ScanOf(filter.WhatIsRead()), matches, [matches, take] { take(matches->Matches()); });
}

QString Taskmill_FinishedJobs::ListingText(int width, int since) const
{
    auto rows = Taskmill_Listings::FinishedJobs().NoRows();
    ForEach([&rows](const Taskmill_JobRecord &job) { rows.Add(job); }, since, listedColumns);
    return rows.Listing(u"Finished Jobs"_s, u"Finished Jobs List"_s, width);
}
