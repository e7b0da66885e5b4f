// SPDX-License-Identifier: MIT
#include "processes/process.h"

#include "processes/processtree.h"

#include <QFileInfo>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A pipe with a name is opened only when somebody opens its other end, and Qt opens files itself.
bool MayBlockWhenOpened(const QString &path)
{
    const QFileInfo file{path};
    return !path.isEmpty() && path != QProcess::nullDevice() && file.exists() && !file.isFile() &&
           !file.isDir();
}
} // namespace

KilnUtil_Process::KilnUtil_Process(QObject *parent, const QString &title)
    : QProcess{parent}
{
    SetTitle(title);
    setProcessChannelMode(QProcess::MergedChannels);
    connect(this, &QProcess::started, this, &KilnUtil_Process::StartedSlot);
    connect(this, &QProcess::errorOccurred, this, &KilnUtil_Process::ErrorOccurredSlot);
    connect(this, &QProcess::readyReadStandardOutput, this, &KilnUtil_Process::ReadOutputSlot);
    connect(this, &QProcess::finished, this, &KilnUtil_Process::EndSlot);
}

KilnUtil_Process::~KilnUtil_Process()
{
    // The end of the process is waited for here; nobody listens any more.
    disconnect(this, nullptr, this, nullptr);
    EndProcess();
    if (m_registeredID != 0)
        KilnUtil_ProcessTree::UnregisterChild(m_registeredID);
}

QProcessEnvironment KilnUtil_Process::StartEnvironment()
{
    static const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    return environment;
}

void KilnUtil_Process::SetTitle(const QString &title)
{
    setObjectName(title);
}

void KilnUtil_Process::SetProgramText(const QString &program)
{
    setProgram(program);
}

QString KilnUtil_Process::Program() const
{
    return program();
}

void KilnUtil_Process::SetArgumentText(const QString &arguments)
{
    m_argumentText = arguments;
}

void KilnUtil_Process::SetStandardInputFilePath(const QString &path)
{
    setStandardInputFile(path);
    m_standardInputPath = path;
}

void KilnUtil_Process::SetStandardOutputFilePath(const QString &path)
{
    setStandardOutputFile(path, QIODevice::Truncate);
    m_standardOutputPath = path;
}

void KilnUtil_Process::Start()
{
    for (const QString &path : {m_standardInputPath, m_standardOutputPath}) {
        if (MayBlockWhenOpened(path)) {
            FailToStart(u"%1 is not a regular file"_s.arg(path));
            return;
        }
    }
    KilnUtil_ProcessTree::PrepareChild(*this, m_argumentText);
    start();
    // The process is known from here on, before the event loop learns that it has started.
    StartedSlot();
}

void KilnUtil_Process::StartedSlot()
{
    if (m_registeredID != 0 || processId() <= 0)
        return;
    m_registeredID = processId();
    KilnUtil_ProcessTree::RegisterChild(m_registeredID);
}

qint64 KilnUtil_Process::ProcessID() const
{
    return processId();
}

bool KilnUtil_Process::HasCrashed() const
{
    return !m_failedToStart && exitStatus() == QProcess::CrashExit;
}

int KilnUtil_Process::ExitCode() const
{
    return m_failedToStart ? ExitCodeOfFailedStart : exitCode();
}

void KilnUtil_Process::DeleteWhenEnded()
{
    if (state() == QProcess::NotRunning)
        deleteLater();
    else
        connect(this, &QProcess::finished, this, &QObject::deleteLater);
}

void KilnUtil_Process::KillSlot()
{
    m_killed = true;
    if (m_ended)
        return;
    EndProcess();
    EndSlot();
}

void KilnUtil_Process::EndProcess()
{
    if (state() == QProcess::NotRunning)
        return;
    KilnUtil_ProcessTree::KillProcessTree(processId());
    kill();
    waitForFinished(KillWaitMs);
}

void KilnUtil_Process::KillDescendants()
{
    KilnUtil_ProcessTree::KillDescendants(processId());
}

void KilnUtil_Process::ErrorOccurredSlot(QProcess::ProcessError error)
{
    // A failed start has no finished() and may be reported twice, and from within start().
    if (error != QProcess::FailedToStart || m_failedToStart)
        return;
    FailToStart(ReasonOfFailedStart());
}

/// Qt does not name the file that input or output was to go through.
QString KilnUtil_Process::ReasonOfFailedStart() const
{
    if (!m_standardInputPath.isEmpty() && !QFileInfo{m_standardInputPath}.isReadable())
        return u"%1 cannot be read"_s.arg(m_standardInputPath);
    const QFileInfo output{m_standardOutputPath};
    const bool canWrite = output.exists() ? output.isWritable() : QFileInfo{output.path()}.isWritable();
    if (!m_standardOutputPath.isEmpty() && !canWrite)
        return u"%1 cannot be written"_s.arg(m_standardOutputPath);
    return errorString();
}

void KilnUtil_Process::FailToStart(const QString &reason)
{
    m_failedToStart = true;
    m_output.Append(u"Failed to start %1: %2\n"_s.arg(program(), reason).toUtf8());
    QTimer::singleShot(0, this, &KilnUtil_Process::EndSlot);
}

void KilnUtil_Process::ReadOutputSlot()
{
    if (!m_standardOutputPath.isEmpty())
        return;
    const QByteArray bytes = readAllStandardOutput();
    if (bytes.isEmpty())
        return;
    m_output.Append(bytes);
    Q_EMIT OutputSignal();
}

void KilnUtil_Process::EndSlot()
{
    if (m_ended)
        return;
    m_ended = true;
    if (!m_failedToStart)
        ReadOutputSlot();
    if (m_registeredID != 0)
        KilnUtil_ProcessTree::UnregisterChild(std::exchange(m_registeredID, 0));
    Q_EMIT FinishedSignal(!m_failedToStart && exitStatus() == QProcess::NormalExit);
}
