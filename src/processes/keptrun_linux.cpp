// SPDX-License-Identifier: MIT
#include "processes/keptrun_linux.h"

#include "kilnutil/openfileslimit.h"
#include "kilnutil/stringutil.h"
#include "processes/runkeepers_linux.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <cstring>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
std::string PathText(const QString &path)
{
    return path.isEmpty() ? std::string{}
                          : QFile::encodeName(QFileInfo{path}.absoluteFilePath()).toStdString();
}

std::string ProgramPath(const QString &program)
{
    const QString found = program.contains(u'/') ? QString{} : QStandardPaths::findExecutable(program);
    return PathText(found.isEmpty() ? program : found);
}

Taskmill_RunOrder OrderOf(const KilnUtil_RunOrder &order)
{
    Taskmill_RunOrder runOrder;
    runOrder.program = ProgramPath(order.Program);
    for (const QString &argument : KilnUtil_String::MakeStringList(order.Argument, true))
        runOrder.arguments.push_back(argument.toLocal8Bit().toStdString());
    for (const QString &variable : order.Environment.toStringList())
        runOrder.environment.push_back(variable.toLocal8Bit().toStdString());
    runOrder.directory = PathText(order.Directory.isEmpty() ? QDir::currentPath() : order.Directory);
    if (order.InputPath != QProcess::nullDevice())
        runOrder.inputPath = PathText(order.InputPath);
    runOrder.outputPath = PathText(order.OutputPath);
    runOrder.graceMs = order.GraceMs;
    runOrder.openFiles = KilnUtil_OpenFilesLimitAtStart();
    return runOrder;
}
} // namespace

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_LinuxRunKeepers &keepers, const std::string &runID)
    : m_keepers{&keepers}
    , m_runID{runID}
    , m_output{Taskmill_RunOutput{keepers.Folder(), runID}}
{
    keepers.Add(*this);
}

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_LinuxRunKeepers &keepers, const std::string &runID,
                                   Taskmill_RunConnection connection)
    : KilnUtil_KeptRun{keepers, runID}
{
    m_isFromThisNursery = false;
    m_connection = std::move(connection);
    Listen();
}

KilnUtil_KeptRun::KilnUtil_KeptRun(KilnUtil_LinuxRunKeepers &keepers, const std::string &runID,
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
    result.WasEnded = end.by != Taskmill_RunEnd::By::Itself;
    switch (end.how) {
    case Taskmill_RunEnd::How::Exit:
        break;
    case Taskmill_RunEnd::How::Signal:
        result.How = KilnUtil_RunEnd::Kind::Crash;
        break;
    case Taskmill_RunEnd::How::NotStarted:
        result.How = KilnUtil_RunEnd::Kind::NotStarted;
        result.Reason = QString::fromLocal8Bit(std::strerror(end.code));
        return result;
    }
    if (end.by == Taskmill_RunEnd::By::System)
        result.Reason = u"the system has ended this job, as when it is shut down or the user logs out"_s;
    else if (end.droppedBytes > 0)
        result.Reason =
            u"%1 bytes of output were left out here: there was no room on the disk"_s.arg(end.droppedBytes);
    return result;
}

bool KilnUtil_KeptRun::Start(const KilnUtil_RunOrder &order)
{
    Taskmill_RunOrder runOrder = OrderOf(order);
    m_inputPath = runOrder.inputPath;
    m_outputPath = runOrder.outputPath;
    runOrder.runID = m_runID;
    if (m_keepers)
        m_connection = m_keepers->StartRun(std::move(runOrder));
    if (!m_connection.IsOpen()) {
        m_state = State::Ended;
        return false;
    }
    Listen();
    return true;
}

void KilnUtil_KeptRun::Listen()
{
    m_notifier = std::make_unique<QSocketNotifier>(m_connection.Handle(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &KilnUtil_KeptRun::ReadSlot);
}

void KilnUtil_KeptRun::ReadSlot()
{
    // Hundreds may end at once: the rest is announced again in the next turn.
    if (m_keepers && !m_keepers->IsTurnShort())
        return;
    while (m_connection.IsOpen() && TakeReport(m_connection.Receive())) {
    }
}

bool KilnUtil_KeptRun::TakeReport(const Taskmill_RunReport &report)
{
    using Kind = Taskmill_RunReport::Kind;
    // It watches a handle that is closed now, and may be at work further up the stack.
    if (!m_connection.IsOpen() && m_notifier) {
        m_notifier->setEnabled(false);
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
        KilnUtil_RunEnd end = EndOf(report.end);
        if (end.How == KilnUtil_RunEnd::Kind::NotStarted)
            end.Reason = ReasonOfFailedStart(report);
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

QString KilnUtil_KeptRun::ReasonOfFailedStart(const Taskmill_RunReport &report) const
{
    const QString file = QFile::decodeName(QByteArray::fromStdString(report.failedFile));
    const QString reason = QString::fromLocal8Bit(std::strerror(report.end.code));
    if (file.isEmpty())
        return reason;
    if (report.failedFile == m_inputPath)
        return u"%1 cannot be read"_s.arg(file);
    if (report.failedFile == m_outputPath)
        return u"%1 cannot be written"_s.arg(file);
    return u"%1: %2"_s.arg(file, reason);
}

void KilnUtil_KeptRun::TakeSwept()
{
    // It comes on another connection, so perhaps before the run is known to be lost.
    m_isSwept = true;
    if (m_state != State::Lost)
        return;
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

void KilnUtil_KeptRun::SetOwner(const std::string &owner) const
{
    if (m_connection.IsOpen())
        m_connection.SetOwner(owner);
}
