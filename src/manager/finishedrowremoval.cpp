// SPDX-License-Identifier: MIT
#include "manager/finishedrowremoval.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "manager/namelist.h"
#include "manager/removalreport.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {
/// Of the event loop.
constexpr int longestTurnMs = 10;
constexpr qsizetype rowsAtOnce = 250;

Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}
} // namespace

Taskmill_FinishedRowRemoval::Taskmill_FinishedRowRemoval()
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, [this] { RemoveSome(longestTurnMs); });
}

void Taskmill_FinishedRowRemoval::Add(const QList<qint64> &keys)
{
    m_keys += keys;
    std::ranges::sort(m_keys);
    m_isCounted = false;
    RemoveSome(0);
}

void Taskmill_FinishedRowRemoval::Finish()
{
    if (IsAtWork())
        RemoveSome(-1);
}

void Taskmill_FinishedRowRemoval::Forget()
{
    m_keys.clear();
    m_timer.stop();
}

void Taskmill_FinishedRowRemoval::RemoveSome(int longestMs)
{
    Taskmill_Database *database = CurrentDatabase();
    if (!database || m_keys.isEmpty()) {
        Forget();
        return;
    }
    qsizetype done = 0;
    const auto remove = [&] {
        QElapsedTimer time;
        time.start();
        do {
            const auto some = m_keys.sliced(done, qMin(rowsAtOnce, m_keys.size() - done));
            if (!database->DeleteFinishedRows(some))
                return false;
            done += some.size();
        } while (done < m_keys.size() && (longestMs < 0 || time.elapsed() < longestMs));
        return true;
    };
    const bool removed = m_isCounted ? database->Untracked(remove) : database->AsOneChange(remove);
    m_isCounted = true;
    if (!removed) {
        ReportKeptRows();
        m_keys.clear();
    } else {
        m_keys.remove(0, done);
    }
    if (m_keys.isEmpty())
        m_timer.stop();
    else
        m_timer.start();
}

void Taskmill_FinishedRowRemoval::ReportKeptRows() const
{
    Taskmill_Database *database = CurrentDatabase();
    QStringList names;
    for (const qint64 key : m_keys.first(qMin(Taskmill_MostNamesListed, m_keys.size()))) {
        if (const auto job = database->GetFinishedJob(key))
            names.append(job->Name);
    }
    Taskmill_ReportRowsKept(*database, names, m_keys.size());
}
