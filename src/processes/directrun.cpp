// SPDX-License-Identifier: MIT
#include "processes/directrun.h"

#include "processes/processtree.h"
#include "wire/systemlack.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Qt has the system's reason as a text alone, and not always.
bool IsForLack(const QString &reason)
{
    return !QFile{QProcess::nullDevice()}.open(QIODevice::ReadOnly) ||
           std::ranges::any_of(Taskmill_LackErrors(),
                               [&reason](int error) { return reason.endsWith(qt_error_string(error)); });
}
} // namespace

KilnUtil_DirectRun::KilnUtil_DirectRun()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    connect(&m_process, &QProcess::started, this, &KilnUtil_DirectRun::StartedSlot);
    connect(&m_process, &QProcess::errorOccurred, this, &KilnUtil_DirectRun::ErrorOccurredSlot);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &KilnUtil_DirectRun::ReadOutputSlot);
    connect(&m_process, &QProcess::finished, this, &KilnUtil_DirectRun::FinishedSlot);
}

KilnUtil_DirectRun::~KilnUtil_DirectRun()
{
    // The end of the process is waited for here; nobody listens any more.
    m_process.disconnect(this);
    if (IsRunning()) {
        constexpr int waitMs = 5000;
        BeginKill(0);
        m_process.waitForFinished(waitMs);
    }
    if (m_registeredID != 0)
        KilnUtil_ProcessTree::UnregisterChild(m_registeredID);
}

bool KilnUtil_DirectRun::Start(const KilnUtil_RunOrder &order)
{
    m_inputPath = order.InputPath;
    m_outputPath = order.OutputPath;
    m_process.setProgram(order.Program);
    m_process.setProcessEnvironment(order.Environment);
    m_process.setWorkingDirectory(order.Directory);
    if (!m_inputPath.isEmpty())
        m_process.setStandardInputFile(m_inputPath);
    if (!m_outputPath.isEmpty())
        m_process.setStandardOutputFile(m_outputPath, QIODevice::Truncate);
    KilnUtil_ProcessTree::PrepareChild(m_process, order.Argument, order.HasLowPriority);
    m_process.start();
    // The process is known from here on, before the event loop learns that it has started.
    StartedSlot();
    return true;
}

void KilnUtil_DirectRun::StartedSlot()
{
    if (m_registeredID != 0 || m_process.processId() <= 0)
        return;
    m_registeredID = m_process.processId();
    KilnUtil_ProcessTree::RegisterChild(m_registeredID);
}

void KilnUtil_DirectRun::BeginKill(int)
{
    if (!IsRunning())
        return;
    KilnUtil_ProcessTree::KillProcessTree(m_process.processId());
    m_process.kill();
}

bool KilnUtil_DirectRun::WaitForEnd(int waitMs)
{
    return !IsRunning() || m_process.waitForFinished(waitMs);
}

void KilnUtil_DirectRun::KillDescendants()
{
    KilnUtil_ProcessTree::KillDescendants(m_process.processId());
}

void KilnUtil_DirectRun::ErrorOccurredSlot(QProcess::ProcessError error)
{
    // A failed start has no finished() and may be reported twice, and from within start().
    if (error != QProcess::FailedToStart || m_hasEnded)
        return;
    m_hasEnded = true;
    m_end.How = KilnUtil_RunEnd::Kind::NotStarted;
    m_end.IsForLack = IsForLack(m_process.errorString());
    m_end.Reason = m_end.IsForLack ? m_process.errorString() : ReasonOfFailedStart();
    QMetaObject::invokeMethod(this, &KilnUtil_ProcessRun::EndedSignal, Qt::QueuedConnection);
}

/// Qt does not name the file that input or output was to go through.
QString KilnUtil_DirectRun::ReasonOfFailedStart() const
{
    if (!m_inputPath.isEmpty() && !QFileInfo{m_inputPath}.isReadable())
        return u"%1 cannot be read"_s.arg(m_inputPath);
    const QFileInfo output{m_outputPath};
    const bool canWrite = output.exists() ? output.isWritable() : QFileInfo{output.path()}.isWritable();
    if (!m_outputPath.isEmpty() && !canWrite)
        return u"%1 cannot be written"_s.arg(m_outputPath);
    return m_process.errorString();
}

void KilnUtil_DirectRun::ReadOutputSlot()
{
    if (!m_outputPath.isEmpty())
        return;
    const QByteArray bytes = m_process.readAllStandardOutput();
    if (!bytes.isEmpty())
        m_output.Append(bytes);
}

void KilnUtil_DirectRun::FinishedSlot()
{
    if (std::exchange(m_hasEnded, true))
        return;
    ReadOutputSlot();
    if (m_registeredID != 0)
        KilnUtil_ProcessTree::UnregisterChild(std::exchange(m_registeredID, 0));
    using Kind = KilnUtil_RunEnd::Kind;
    m_end.How = m_process.exitStatus() == QProcess::CrashExit ? Kind::Crash : Kind::Exit;
    m_end.Code = m_process.exitCode();
    Q_EMIT EndedSignal();
}
