// SPDX-License-Identifier: MIT
#include "processes/nurseryrunkeepers.h"

#include "kilnutil/logging.h"
#include "processes/handlenotifier.h"
#include "processes/keptrun.h"
#include "wire/bootid.h"
#include "wire/runlocks.h"
#include "wire/runoutput.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Results are forgotten some time later, as many at once are cheaper.
constexpr int forgetAfterMs = 1000;
/// How long a start waits for the process that starts keepers: it may have remains of many jobs to end.
constexpr int nurseryWaitMs = 20'000;
/// How long all adoptions of a start together wait for keepers that have not noticed yet that their manager
/// is gone.
constexpr qint64 adoptionWaitMs = 3000;
constexpr char separator = ':';

/// The word by which another thread has the nursery end all runs; 0 when there is none.
std::atomic<long long> wordToEnd{0};

std::string IdentityOf(const std::string &owner)
{
    return owner.substr(0, owner.find(separator));
}

QString TextOf(const std::string &owner)
{
    const std::size_t end = owner.find(separator);
    return end == std::string::npos ? QString{} : QString::fromStdString(owner.substr(end + 1));
}
} // namespace

std::unique_ptr<KilnUtil_RunKeepers> KilnUtil_RunKeepers::Make(const QString &program, const QString &folder,
                                                               const QStringList &otherFolders)
{
    auto keepers = std::make_unique<KilnUtil_NurseryRunKeepers>(program, folder, otherFolders);
    if (!QFile::exists(program))
        qCInfo(Taskmill_ProcessesLog, "Jobs end with this program: there is no %ls",
               qUtf16Printable(program));
    else if (!keepers->StartNursery())
        qCWarning(Taskmill_ProcessesLog, "Jobs end with this program: %ls cannot be started in %ls",
                  qUtf16Printable(program), qUtf16Printable(folder));
    else
        return keepers;
    return nullptr;
}

QString KilnUtil_RunKeepers::ProgramName()
{
    return u"taskmill-keeper" TASKMILL_EXECUTABLE_SUFFIX ""_s;
}

KilnUtil_StoredOutput KilnUtil_RunKeepers::OutputIn(const QString &folder, const QString &runID)
{
    return KilnUtil_RunOutputFile{Taskmill_RunOutput{folder.toStdString(), runID.toStdString()}}.Stored();
}

void KilnUtil_RunKeepers::EndRunsAtOnce()
{
    Taskmill_Nursery::EndAll(wordToEnd.exchange(0));
}

void KilnUtil_RunKeepers::SpareRuns()
{
    wordToEnd = 0;
}

KilnUtil_NurseryRunKeepers::KilnUtil_NurseryRunKeepers(const QString &program, const QString &folder,
                                                       const QStringList &otherFolders)
    : m_program{program.toStdString()}
    , m_folder{folder.toStdString()}
    , m_journals{m_folder}
{
    std::ranges::transform(otherFolders, std::back_inserter(m_otherFolders), &QString::toStdString);
    m_turn.start();
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this,
            [this] { m_turn.start(); });
}

KilnUtil_NurseryRunKeepers::~KilnUtil_NurseryRunKeepers()
{
    SpareRuns();
    // Runs that have not ended go on without this program.
    const QList<KilnUtil_KeptRun *> runs = std::exchange(m_runs, {});
    for (KilnUtil_KeptRun *run : runs)
        run->LetGoOn();
}

bool KilnUtil_NurseryRunKeepers::StartNursery()
{
    if (m_nursery && m_nursery->IsOpen())
        return true;
    m_nursery = Taskmill_Nursery::Start(m_program, m_folder, nurseryWaitMs);
    if (!m_nursery)
        return false;
    wordToEnd = m_nursery->EndWord();
    m_notifier = std::make_unique<KilnUtil_HandleNotifier>(m_nursery->Handle());
    connect(m_notifier.get(), &KilnUtil_HandleNotifier::ReadySignal, this,
            &KilnUtil_NurseryRunKeepers::ReadSwept);
    return true;
}

void KilnUtil_NurseryRunKeepers::LoseNursery()
{
    qCWarning(Taskmill_ProcessesLog, "The process that starts keepers has ended");
    wordToEnd = 0;
    if (m_notifier) {
        m_notifier->Disable();
        m_notifier.release()->deleteLater();
    }
    m_nursery.reset();
    // This nursery ended by itself what its lost keepers left; that has to be asked for from now on.
    const QList<KilnUtil_KeptRun *> runs = m_runs;
    for (KilnUtil_KeptRun *run : runs) {
        run->LoseNursery();
        if (run->IsLost())
            QTimer::singleShot(0, run, [this, run] { AwaitSweep(*run, false); });
    }
}

QString KilnUtil_NurseryRunKeepers::NewRunID() const
{
    return QString::fromStdString(Taskmill_NewRunID());
}

std::unique_ptr<KilnUtil_ProcessRun> KilnUtil_NurseryRunKeepers::NewRun(const QString &runID)
{
    return std::make_unique<KilnUtil_KeptRun>(*this, runID.toStdString());
}

void KilnUtil_NurseryRunKeepers::Remove(KilnUtil_KeptRun &run)
{
    m_runs.removeOne(&run);
}

Taskmill_RunConnection KilnUtil_NurseryRunKeepers::StartRun(Taskmill_RunOrder order, int &error)
{
    order.owner = m_owner;
    if (m_nursery) {
        Taskmill_RunConnection connection = m_nursery->StartRun(order, &error);
        // A nursery that is still there has failed for lack of something, and a new one would lack the same.
        if (connection.IsOpen() || m_nursery->IsOpen())
            return connection;
        LoseNursery();
    }
    return StartNursery() ? m_nursery->StartRun(order, &error) : Taskmill_RunConnection{};
}

void KilnUtil_NurseryRunKeepers::TakeFreeKeeper(Taskmill_KeeperChannel keeper)
{
    if (m_nursery)
        m_nursery->TakeFreeKeeper(std::move(keeper));
}

void KilnUtil_NurseryRunKeepers::SetOwner(const QString &identity, const QString &text,
                                          const std::function<bool(const QString &ownerText)> &mayTake)
{
    m_mayTake = mayTake;
    m_identity = identity.toStdString();
    m_owner = m_identity + separator + text.toStdString();
    for (KilnUtil_KeptRun *run : std::as_const(m_runs))
        run->SetOwner(m_owner);
}

KilnUtil_FoundRun KilnUtil_NurseryRunKeepers::Find(const QString &runID)
{
    const std::string id = runID.toStdString();
    if (!Taskmill_IsRunID(id))
        return {};
    KilnUtil_FoundRun found = Adopt(id, m_owner);
    if (found.Where == KilnUtil_FoundRun::Place::Elsewhere && !found.Owner.isEmpty()) {
        const std::string owner = found.Owner.toStdString();
        found.Owner = TextOf(owner);
        if (MayTakeFrom(owner))
            found = Adopt(id, owner);
    }
    const auto runsIn = [&id](const std::string &folder) {
        return Taskmill_IsKeeperAlive(folder, id);
    };
    if (found.Where == KilnUtil_FoundRun::Place::NotKnown && std::ranges::any_of(m_otherFolders, runsIn))
        found.Where = KilnUtil_FoundRun::Place::Elsewhere;
    else if (found.Where == KilnUtil_FoundRun::Place::NotKnown)
        found = FindRecorded(id);
    else if (found.Run)
        static_cast<KilnUtil_KeptRun &>(*found.Run).SetOwner(m_owner);
    return found;
}

KilnUtil_FoundRun KilnUtil_NurseryRunKeepers::Adopt(const std::string &runID, const std::string &owner)
{
    using Adoption = Taskmill_RunConnection::Adoption;
    QElapsedTimer clock;
    clock.start();
    Taskmill_RunConnection connection;
    std::string realOwner = owner;
    const auto wait = static_cast<int>(std::max<qint64>(0, adoptionWaitMs - m_waitedForAdoptionMs));
    const Adoption adoption = Taskmill_RunConnection::Adopt(m_folder, runID, realOwner, wait, connection);
    m_waitedForAdoptionMs += clock.elapsed();
    KilnUtil_FoundRun found;
    switch (adoption) {
    case Adoption::Gone:
        break;
    case Adoption::Occupied:
        found.Where = KilnUtil_FoundRun::Place::Elsewhere;
        break;
    case Adoption::Refused:
        found.Where = KilnUtil_FoundRun::Place::Elsewhere;
        found.Owner = QString::fromStdString(realOwner);
        break;
    case Adoption::Adopted:
        m_waitedForAdoptionMs = 0;
        m_journals.Refresh();
        const Taskmill_RunJournals::Run *run = m_journals.Find(runID);
        found.Where = KilnUtil_FoundRun::Place::Here;
        found.StartMs = run ? run->startMs : 0;
        found.Run = std::make_unique<KilnUtil_KeptRun>(*this, runID, std::move(connection));
        break;
    }
    return found;
}

KilnUtil_FoundRun KilnUtil_NurseryRunKeepers::FindRecorded(const std::string &runID)
{
    KilnUtil_FoundRun found;
    using Place = KilnUtil_FoundRun::Place;
    m_journals.Refresh();
    const Taskmill_RunJournals::Run *run = m_journals.Find(runID);
    if (!run)
        run = FindInAllJournals(runID);
    if (!run)
        return found;
    // It waited for its start to be tried again.
    found.Where = Place::NotStarted;
    if (run->end && KilnUtil_KeptRun::EndOf(*run->end).IsForLack)
        return found;
    const bool isTaken = !run->claimant.empty();
    // Whoever had it killed did not want the end to stay, as when a project is closed without being saved:
    // the job waits as it did in the file.
    if (isTaken && run->end && run->end->by == Taskmill_RunEnd::By::Kill)
        return found;
    found.Where = Place::Taken;
    if (isTaken ? !MayTakeFrom(run->claimant) : !run->journal.starts_with(m_folder + '/'))
        return found;
    found.Where = KilnUtil_FoundRun::Place::Here;
    found.StartMs = run->startMs;
    KilnUtil_RunEnd end;
    if (run->end) {
        end = KilnUtil_KeptRun::EndOf(*run->end);
    } else {
        end.How = KilnUtil_RunEnd::Kind::Unknown;
        end.Reason = run->bootID == Taskmill_BootID()
                         ? u"the program that kept this job was ended, and so was the job: how far it had "
                           "come is not known"_s
                         : u"the computer was started anew while this job ran: how far it had come is not "
                           "known"_s;
    }
    if (isTaken && end.Reason.isEmpty() && run->end->outputBytes > 0)
        end.Reason = u"what this job printed was stored with changes of the project that are gone"_s;
    found.Run = std::make_unique<KilnUtil_KeptRun>(*this, runID, std::move(end));
    return found;
}

bool KilnUtil_NurseryRunKeepers::MayTakeFrom(const std::string &owner) const
{
    // Without a text nobody knows whether it was a copy.
    return owner.find(separator) != std::string::npos && IdentityOf(owner) == m_identity && m_mayTake &&
           m_mayTake(TextOf(owner));
}

const Taskmill_RunJournals::Run *KilnUtil_NurseryRunKeepers::FindInAllJournals(const std::string &runID)
{
    if (m_allJournals.empty()) {
        QTimer::singleShot(0, this, [this] { m_allJournals.clear(); });
        m_allJournals.emplace_back(m_folder);
        for (const std::string &folder : m_otherFolders)
            m_allJournals.emplace_back(folder);
        for (Taskmill_RunJournals &journals : m_allJournals)
            journals.Refresh();
    }
    for (const Taskmill_RunJournals &journals : m_allJournals) {
        if (const Taskmill_RunJournals::Run *run = journals.Find(runID))
            return run;
    }
    return nullptr;
}

QList<KilnUtil_StrayRun> KilnUtil_NurseryRunKeepers::StrayRuns()
{
    constexpr int waitMs = 200;
    QList<KilnUtil_StrayRun> strays;
    m_journals.Refresh();
    for (const auto &[runID, run] : m_journals.Runs()) {
        if (run.end || !run.claimant.empty() ||
            std::ranges::find(m_runs, runID, &KilnUtil_KeptRun::RunID) != m_runs.end())
            continue;
        Taskmill_RunConnection connection;
        std::string owner = m_owner;
        auto adoption = Taskmill_RunConnection::Adopt(m_folder, runID, owner, waitMs, connection);
        if (adoption == Taskmill_RunConnection::Adoption::Refused && MayTakeFrom(owner))
            adoption = Taskmill_RunConnection::Adopt(m_folder, runID, owner, waitMs, connection);
        if (adoption != Taskmill_RunConnection::Adoption::Adopted)
            continue;
        if (const Taskmill_RunReport report = connection.Receive(waitMs);
            report.kind == Taskmill_RunReport::Kind::Started)
            strays.append(
                {.ProcessID = report.processID, .Directory = QString::fromStdString(report.directory)});
    }
    return strays;
}

std::optional<KilnUtil_RunEnd> KilnUtil_NurseryRunKeepers::RecordedEnd(const std::string &runID)
{
    m_journals.Refresh();
    const Taskmill_RunJournals::Run *run = m_journals.Find(runID);
    return run && run->end ? std::optional{KilnUtil_KeptRun::EndOf(*run->end)} : std::nullopt;
}

void KilnUtil_NurseryRunKeepers::AwaitSweep(KilnUtil_KeptRun &run, bool isFromThisNursery)
{
    const bool isNurseryThere = m_nursery && m_nursery->IsOpen();
    if (isNurseryThere && isFromThisNursery && Taskmill_Nursery::SweepsUnasked())
        return;
    // A new nursery begins by ending what is left of lost runs, this one among them.
    if (!StartNursery() || !m_nursery->Sweep(run.RunID()))
        QTimer::singleShot(0, &run, &KilnUtil_KeptRun::TakeSwept);
}

void KilnUtil_NurseryRunKeepers::ReadSwept()
{
    while (m_nursery) {
        const std::optional<std::string> runID = m_nursery->ReceiveSwept();
        if (!m_nursery->IsOpen()) {
            LoseNursery();
            return;
        }
        if (!runID)
            return;
        const auto run = std::ranges::find(m_runs, *runID, &KilnUtil_KeptRun::RunID);
        if (run != m_runs.end())
            (*run)->TakeSwept();
    }
}

bool KilnUtil_NurseryRunKeepers::WaitForSweep(int waitMs)
{
    if (!m_nursery)
        return false;
    const std::optional<std::string> runID = m_nursery->ReceiveSwept(waitMs);
    if (!m_nursery->IsOpen())
        LoseNursery();
    if (!runID)
        return false;
    const auto run = std::ranges::find(m_runs, *runID, &KilnUtil_KeptRun::RunID);
    if (run != m_runs.end())
        (*run)->TakeSwept();
    return true;
}

std::function<KilnUtil_StoredOutput()> KilnUtil_NurseryRunKeepers::OutputOf(const QString &runID) const
{
    return [folder = QString::fromStdString(m_folder), runID] {
        return OutputIn(folder, runID);
    };
}

KilnUtil_PrintedReader KilnUtil_NurseryRunKeepers::ReaderOf(const QString &runID) const
{
    return [output = Taskmill_RunOutput{m_folder, runID.toStdString()}](qint64 &offset, qint64 most,
                                                                        bool hasEnded) {
        long long position = offset;
        const std::string bytes = output.ReadFrom(position, static_cast<std::size_t>(most), hasEnded);
        offset = position;
        return QByteArray::fromStdString(bytes);
    };
}

void KilnUtil_NurseryRunKeepers::TakeResult(const QString &runID)
{
    if (m_forgetsByItself && m_taken.empty())
        QTimer::singleShot(forgetAfterMs, this, &KilnUtil_NurseryRunKeepers::ForgetSomeResults);
    m_taken.push_back({runID.toStdString(), m_storage.LastChange ? m_storage.LastChange() : 0});
}

void KilnUtil_NurseryRunKeepers::ForgetResults()
{
    if (!Forget(std::ssize(m_taken)))
        QTimer::singleShot(forgetAfterMs, this, &KilnUtil_NurseryRunKeepers::ForgetSomeResults);
}

/// Hundreds may have ended at once, and the event loop is not to wait for all of them.
void KilnUtil_NurseryRunKeepers::ForgetSomeResults()
{
    constexpr std::ptrdiff_t mostAtOnce = 32;
    std::ptrdiff_t count = std::min(mostAtOnce, std::ssize(m_taken));
    // After a loss of power the keeper's result is the only one, until the other is on the disk.
    while (count > 0 && m_storage.IsStored &&
           !m_storage.IsStored(m_taken[static_cast<std::size_t>(count) - 1].change))
        --count;
    const bool isDone = Forget(count);
    if (!m_taken.empty())
        QTimer::singleShot(count > 0 && isDone ? 0 : forgetAfterMs, this,
                           &KilnUtil_NurseryRunKeepers::ForgetSomeResults);
}

bool KilnUtil_NurseryRunKeepers::Forget(std::ptrdiff_t count)
{
    if (count == 0)
        return true;
    std::vector<std::string> runIDs;
    std::transform(m_taken.begin(), m_taken.begin() + count, std::back_inserter(runIDs),
                   [](const Taken &taken) { return taken.runID; });
    using Claims = Taskmill_RunJournals::Claims;
    const Claims claims = m_journals.ClaimAll(runIDs, m_owner);
    if (claims == Claims::Busy) {
        if (!std::exchange(m_isBusyLogged, true))
            qCWarning(Taskmill_ProcessesLog, "The keepers' results cannot be taken yet: %ls is in use",
                      qUtf16Printable(QString::fromStdString(m_folder)));
        return false;
    }
    m_isBusyLogged = false;
    m_taken.erase(m_taken.begin(), m_taken.begin() + count);
    if (claims != Claims::AllTaken)
        qCWarning(Taskmill_ProcessesLog, "The keepers' results could not be taken: no room on the disk?");
    for (const std::string &runID : runIDs)
        static_cast<void>(Taskmill_RunOutput{m_folder, runID}.Remove());
    return true;
}
