// SPDX-License-Identifier: MIT
#include "processes/keptrun.h"

#include "processes/handlenotifier.h"
#include "processes/keptrunorder.h"
#include "processes/nurseryrunkeepers.h"
#include "wire/nursery.h"
#include "wire/systemlack.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID)
    : m_keepers{&keepers}
    , m_runID{runID}
    , m_output{Taskmill_RunOutput{keepers.Folder(), runID}}
{
    keepers.Add(*this);
}

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID,
                                   Taskmill_RunConnection connection)
    : KilnUtil_KeptRun{keepers, runID}
{
    m_isFromThisNursery = false;
    m_connection = std::move(connection);
    Listen();
}

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID,
                                   KilnUtil_RunEnd end)
    : KilnUtil_KeptRun{keepers, runID}
{
    m_output.SetEnded();
    m_end = std::move(end);
    m_state = State::Ended;
    QTimer::singleShot(0, this, &KilnUtil_ProcessRun::EndedSignal);
}

KilnUtil_KeptRun::~KilnUtil_KeptRun()
{
    if (m_keepers)
        m_keepers->Remove(*this);
}

KilnUtil_RunEnd KilnUtil_KeptRun::EndOf(const Taskmill_RunEnd &end)
{
    KilnUtil_RunEnd result;
    result.Code = end.code;
    result.EndMs = end.endMs;
    if (end.how != Taskmill_RunEnd::How::NotStarted) {
        result.ProcessorMs = end.processorMs;
        result.PeakMemoryKB = end.peakMemoryKB;
    }
    result.WasEnded = end.by != Taskmill_RunEnd::By::Itself;
    switch (end.how) {
    case Taskmill_RunEnd::How::Exit:
        break;
    case Taskmill_RunEnd::How::Signal:
        result.How = KilnUtil_RunEnd::Kind::Crash;
        break;
    case Taskmill_RunEnd::How::NotStarted:
        result.How = KilnUtil_RunEnd::Kind::NotStarted;
        result.Reason = qt_error_string(end.code);
        result.IsForLack = Taskmill_IsLack(end.code);
        return result;
    }
    if (end.by == Taskmill_RunEnd::By::System)
        result.Reason = u"the system has ended this job, as when it is shut down or the user logs out"_s;
    else if (end.droppedBytes > 0)
        result.Reason =
            u"%1 bytes of output were left out here: there was no room on the disk"_s.arg(end.droppedBytes);
    return result;
}

void KilnUtil_KeptRun::Connect(const KilnUtil_RunOrder &order, bool waits, int &error)
{
    Taskmill_RunOrder runOrder = KilnUtil_KeptRunOrder(order);
    m_inputPath = runOrder.inputPath;
    m_outputPath = runOrder.outputPath;
    runOrder.runID = m_runID;
    runOrder.waits = waits;
    if (m_keepers)
        m_connection = m_keepers->StartRun(std::move(runOrder), error);
    m_isFromThisNursery = m_connection.IsOpen() && !m_connection.HadOtherRun();
}

bool KilnUtil_KeptRun::Prepare(const KilnUtil_RunOrder &order)
{
    m_state = State::Prepared;
    int error = 0;
    if (Taskmill_Nursery::RunsMayWait())
        Connect(order, true, error);
    return m_connection.IsOpen();
}

bool KilnUtil_KeptRun::Go()
{
    if (m_state != State::Prepared || !m_connection.Go())
        return false;
    m_state = State::Running;
    Listen();
    return true;
}

void KilnUtil_KeptRun::LoseNursery()
{
    m_isFromThisNursery = false;
    if (m_state == State::Prepared)
        m_connection = {};
}

bool KilnUtil_KeptRun::Start(const KilnUtil_RunOrder &order)
{
    int error = 0;
    Connect(order, false, error);
    if (m_connection.IsOpen()) {
        Listen();
        return true;
    }
    m_state = State::Ended;
    if (!Taskmill_IsLack(error))
        return false;
    m_end = {.How = KilnUtil_RunEnd::Kind::NotStarted, .Reason = qt_error_string(error), .IsForLack = true};
    QTimer::singleShot(0, this, &KilnUtil_ProcessRun::EndedSignal);
    return true;
}

void KilnUtil_KeptRun::Listen()
{
    m_notifier = std::make_unique<KilnUtil_HandleNotifier>(m_connection.Handle());
    connect(m_notifier.get(), &KilnUtil_HandleNotifier::ReadySignal, this, &KilnUtil_KeptRun::ReadSlot);
}

void KilnUtil_KeptRun::ReadSlot()
{
    // When hundreds of runs end at once, this turn of the event loop stays short: reports that are not read
    // now are signalled again.
    if (m_keepers && !m_keepers->IsTurnShort())
        return;
    while (m_connection.IsOpen() && TakeReport(m_connection.Receive())) {
    }
}

bool KilnUtil_KeptRun::TakeReport(const Taskmill_RunReport &report)
{
    using Kind = Taskmill_RunReport::Kind;
    // The notifier watches a handle that is closed now, and may be at work further up the stack.
    if (!m_connection.IsOpen() && m_notifier) {
        m_notifier->Disable();
        m_notifier.release()->deleteLater();
    }
    switch (report.kind) {
    case Kind::None:
        return false;
    case Kind::Started:
        m_processID = report.processID;
        return true;
    case Kind::Output:
        return true;
    case Kind::Remains:
        Q_EMIT RemainsSignal(QList<qint64>{report.remaining.begin(), report.remaining.end()});
        return true;
    case Kind::Ended: {
        if (m_keepers && report.isKeeperFree)
            m_keepers->TakeFreeKeeper(m_connection.TakeFreeKeeper());
        // It is made with the first byte.
        if (report.end.outputBytes == 0 && report.end.droppedBytes == 0)
            m_output.SetHasNoFile();
        KilnUtil_RunEnd end = EndOf(report.end);
        if (end.How == KilnUtil_RunEnd::Kind::NotStarted) {
            end.IsForLack = end.IsForLack || report.failedFile == Taskmill_JournalAsFailedFile;
            end.Reason = ReasonOfFailedStart(report, end.IsForLack);
        }
        Finish(std::move(end));
        return true;
    }
    case Kind::Lost:
        m_state = State::Lost;
        if (m_keepers && !m_isSwept)
            m_keepers->AwaitSweep(*this, m_isFromThisNursery);
        else
            TakeSwept();
        return true;
    }
    return false;
}

QString KilnUtil_KeptRun::ReasonOfFailedStart(const Taskmill_RunReport &report, bool isForLack) const
{
    const QString file = QString::fromStdString(report.failedFile);
    QString reason = qt_error_string(report.end.code);
    if (file.isEmpty())
        return reason;
    if (report.failedFile == Taskmill_JournalAsFailedFile)
        return u"the start cannot be recorded: "_s + reason;
    if (isForLack)
        return u"%1: %2"_s.arg(file, reason);
    if (report.failedFile == m_inputPath)
        return u"%1 cannot be read"_s.arg(file);
    if (report.failedFile == m_outputPath)
        return u"%1 cannot be written"_s.arg(file);
    return u"%1: %2"_s.arg(file, reason);
}

void KilnUtil_KeptRun::TakeSwept()
{
    // The news comes on another connection, so perhaps before this one shows that the run is lost.
    m_isSwept = true;
    if (m_state != State::Lost)
        return;
    // Its keeper may have been ended between recording the end and reporting it.
    if (auto end = m_keepers ? m_keepers->RecordedEnd(m_runID) : std::nullopt) {
        Finish(std::move(*end));
        return;
    }
    Finish({.How = KilnUtil_RunEnd::Kind::Unknown,
            .Reason = u"the program that kept this job was ended, and so was the job: how far it had come is "
                      "not known"_s});
}

void KilnUtil_KeptRun::Finish(KilnUtil_RunEnd end)
{
    m_state = State::Ended;
    m_output.SetEnded();
    m_end = std::move(end);
    Q_EMIT EndedSignal();
}

void KilnUtil_KeptRun::BeginKill(int graceMs)
{
    m_connection.Kill(graceMs);
}

bool KilnUtil_KeptRun::WaitForEnd(int waitMs)
{
    const QDeadlineTimer deadline{waitMs};
    while (IsRunning()) {
        const auto left = static_cast<int>(deadline.remainingTime());
        if (left <= 0)
            return false;
        if (m_connection.IsOpen())
            TakeReport(m_connection.Receive(left));
        else if (!m_keepers || !m_keepers->WaitForSweep(left))
            return false;
    }
    return true;
}

void KilnUtil_KeptRun::LetGoOn()
{
    m_notifier.reset();
    m_connection = {};
    m_state = State::Ended;
}

void KilnUtil_KeptRun::SetOwner(const std::string &owner)
{
    // It has its order already.
    if (m_state == State::Prepared)
        m_connection = {};
    if (m_connection.IsOpen())
        m_connection.SetOwner(owner);
}
