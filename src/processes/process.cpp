// SPDX-License-Identifier: MIT
#include "processes/process.h"

#include "kilnutil/logging.h"
#include "processes/directrun.h"
#include "processes/runkeepers.h"

#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A pipe with a name is opened only when somebody opens its other end.
bool MayBlockWhenOpened(const QString &path)
{
    const QFileInfo file{path};
    return !path.isEmpty() && path != QProcess::nullDevice() && file.exists() && !file.isFile() &&
           !file.isDir();
}
} // namespace

KilnUtil_Process::KilnUtil_Process(QObject *parent, const QString &title)
    : QObject{parent}
{
    m_order.GraceMs = DefaultGraceMs;
    SetTitle(title);
}

KilnUtil_Process::~KilnUtil_Process()
{
    if (!m_run)
        return;
    // The end of the process is waited for here; nobody listens any more.
    m_run->disconnect(this);
    if (m_run->IsRunning()) {
        m_run->BeginKill(m_order.GraceMs);
        m_run->WaitForEnd(m_order.GraceMs + KillWaitMs);
    }
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
    m_order.Program = program;
}

void KilnUtil_Process::SetArgumentText(const QString &arguments)
{
    m_order.Argument = arguments;
}

void KilnUtil_Process::SetEnvironment(const QProcessEnvironment &environment)
{
    m_order.Environment = environment;
}

void KilnUtil_Process::SetWorkingDirectory(const QString &directory)
{
    m_order.Directory = directory;
}

void KilnUtil_Process::SetStandardInputFilePath(const QString &path)
{
    m_order.InputPath = path;
}

void KilnUtil_Process::SetStandardOutputFilePath(const QString &path)
{
    m_order.OutputPath = path;
}

void KilnUtil_Process::SetLowPriority(bool isLow)
{
    m_order.HasLowPriority = isLow;
}

void KilnUtil_Process::Say(const QString &text)
{
    if (m_run)
        m_run->Output().Append(text.toUtf8());
}

void KilnUtil_Process::SetGrace(int graceMs)
{
    m_order.GraceMs = graceMs;
}

void KilnUtil_Process::SetKeeper(KilnUtil_RunKeepers &keepers, const QString &runID)
{
    m_keepers = &keepers;
    m_runID = runID;
}

void KilnUtil_Process::Use(std::unique_ptr<KilnUtil_ProcessRun> run)
{
    m_run = std::move(run);
    connect(m_run.get(), &KilnUtil_ProcessRun::EndedSignal, this, &KilnUtil_Process::EndSlot);
    connect(m_run.get(), &KilnUtil_ProcessRun::RemainsSignal, this, &KilnUtil_Process::RemainsSignal);
}

bool KilnUtil_Process::Prepare()
{
    if (!m_keepers || MayBlockWhenOpened(m_order.InputPath) || MayBlockWhenOpened(m_order.OutputPath))
        return false;
    Use(m_keepers->NewRun(m_runID));
    m_isPrepared = m_run->Prepare(m_order);
    if (!m_isPrepared)
        m_run.reset();
    return m_isPrepared;
}

void KilnUtil_Process::Start()
{
    // A keeper looks at the files once more.
    if (std::exchange(m_isPrepared, false) && m_run->Go())
        return;
    for (const QString &path : {m_order.InputPath, m_order.OutputPath}) {
        if (MayBlockWhenOpened(path)) {
            FailToStart(u"%1 is not a regular file"_s.arg(path));
            return;
        }
    }
    if (m_keepers) {
        Use(m_keepers->NewRun(m_runID));
        if (m_run->Start(m_order))
            return;
        qCWarning(Taskmill_ProcessesLog, "%ls is run without a keeper: it ends with this program",
                  qUtf16Printable(m_order.Program));
    }
    Use(std::make_unique<KilnUtil_DirectRun>());
    static_cast<void>(m_run->Start(m_order));
}

void KilnUtil_Process::TakeOver(std::unique_ptr<KilnUtil_ProcessRun> run)
{
    Use(std::move(run));
}

qint64 KilnUtil_Process::ProcessID() const
{
    return m_run ? m_run->ProcessID() : 0;
}

bool KilnUtil_Process::WasKilled() const
{
    return m_killed || m_end.WasEnded;
}

bool KilnUtil_Process::HasCrashed() const
{
    return m_end.How == KilnUtil_RunEnd::Kind::Crash || m_end.How == KilnUtil_RunEnd::Kind::Unknown;
}

int KilnUtil_Process::ExitCode() const
{
    return m_end.How == KilnUtil_RunEnd::Kind::NotStarted ? ExitCodeOfFailedStart : m_end.Code;
}

const KilnUtil_ProcessOutput &KilnUtil_Process::Output() const
{
    static const KilnUtil_OutputBuffer nothing;
    if (m_run)
        return m_run->Output();
    return nothing;
}

void KilnUtil_Process::DeleteWhenEnded()
{
    if (!m_run || !m_run->IsRunning())
        deleteLater();
    else
        connect(m_run.get(), &KilnUtil_ProcessRun::EndedSignal, this, &QObject::deleteLater);
}

void KilnUtil_Process::BeginKill()
{
    m_killed = true;
    if (!m_ended && m_run && m_run->IsRunning())
        m_run->BeginKill(m_order.GraceMs);
}

void KilnUtil_Process::KillSlot()
{
    BeginKill();
    if (m_ended)
        return;
    if (m_run && m_run->IsRunning())
        m_run->WaitForEnd(m_order.GraceMs + KillWaitMs);
    EndSlot();
}

void KilnUtil_Process::KillDescendants()
{
    if (m_run)
        m_run->KillDescendants();
}

void KilnUtil_Process::LetGoOn()
{
    if (!IsKept())
        return;
    m_run->disconnect(this);
    m_ended = true;
    m_run->LetGoOn();
}

void KilnUtil_Process::FailToStart(const QString &reason)
{
    Use(std::make_unique<KilnUtil_DirectRun>());
    m_end.How = KilnUtil_RunEnd::Kind::NotStarted;
    m_end.Reason = reason;
    QTimer::singleShot(0, this, &KilnUtil_Process::EndSlot);
}

void KilnUtil_Process::EndSlot()
{
    if (m_ended)
        return;
    m_ended = true;
    using Kind = KilnUtil_RunEnd::Kind;
    if (m_end.How != Kind::NotStarted)
        m_end = m_run->End();
    if (m_end.How == Kind::NotStarted)
        m_run->Output().Append(u"Failed to start %1: %2\n"_s.arg(m_order.Program, m_end.Reason).toUtf8());
    else if (!m_end.Reason.isEmpty())
        m_run->Output().Append(u"\n[... %1 ...]\n"_s.arg(m_end.Reason).toUtf8());
    Q_EMIT FinishedSignal(m_end.How == Kind::Exit);
}
