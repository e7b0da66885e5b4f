// SPDX-License-Identifier: MIT
#include "requests/joblisting.h"

#include "manager/listings.h"
#include "manager/manager.h"
#include "requests/requestmessage.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Some 50 jobs.
constexpr qsizetype pieceSize = 32L * 1024;
} // namespace

QString Taskmill_JobListing::NameOf(const Taskmill_QueueOwner &owner)
{
    return QString{Taskmill_NamesOf(owner.Destination()).Stored}.toLower();
}

QString Taskmill_JobListing::FinishedName()
{
    return u"finished"_s;
}

bool Taskmill_JobListing::IsNamed(const QString &wanted, const QString &name)
{
    return wanted.compare(name, Qt::CaseInsensitive) == 0;
}

Taskmill_JobListing::Taskmill_JobListing(Taskmill_Manager &manager, const Taskmill_RequestMessage &request)
    : m_manager{manager}
    , m_since{request.Since}
    , m_hasFinished{request.List.isEmpty() || IsNamed(request.List, FinishedName())}
{
    for (const Taskmill_QueueOwner *owner : manager.Destinations().All()) {
        if (!request.List.isEmpty() && !IsNamed(request.List, NameOf(*owner)))
            continue;
        for (const int jobID : owner->Jobs().JobIDs()) {
            if (jobID > m_since)
                m_waiting.append({owner, jobID});
        }
    }
}

QByteArray Taskmill_JobListing::Next()
{
    AddWaiting();
    AddFinished();
    if (m_piece.size() < pieceSize && !std::exchange(m_isEnded, true))
        m_piece += m_hasBegun ? "\n]\n" : "[]\n";
    return std::exchange(m_piece, {});
}

void Taskmill_JobListing::AddWaiting()
{
    while (m_nextWaiting < m_waiting.size() && m_piece.size() < pieceSize) {
        const auto [owner, jobID] = m_waiting[m_nextWaiting++];
        if (const Taskmill_Job *job = owner->Jobs().FindByJobID(jobID))
            Add(job->Record(), NameOf(*owner));
    }
}

void Taskmill_JobListing::AddFinished()
{
    constexpr int atOnce = 25;
    const QString name = FinishedName();
    while (m_nextWaiting == m_waiting.size() && m_hasFinished && m_piece.size() < pieceSize)
        m_hasFinished = m_manager.FinishedJobs().ForSome(
            m_place, atOnce, [&](const Taskmill_JobRecord &job) { Add(job, name); }, m_since);
}

void Taskmill_JobListing::Add(const Taskmill_JobRecord &job, const QString &list)
{
    // One that has ended meanwhile was listed with its queue.
    const qsizetype before = m_listed.size();
    if (!m_waiting.isEmpty() && (m_listed.insert(job.JobID), m_listed.size() == before))
        return;
    QJsonObject object = Taskmill_Listings::JobFields().Json(job);
    object.insert(u"list"_s, list);
    m_piece += std::exchange(m_hasBegun, true) ? ",\n" : "[\n";
    m_piece += QJsonDocument{object}.toJson(QJsonDocument::Compact);
}
