// SPDX-License-Identifier: MIT
#include "console/console.h"

#include "console/consoleshell.h"
#include "console/consoleworker.h"
#include "kilnutil/logging.h"
#include "kilnutil/threadstart.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int joinRoundMs = 10;
constexpr int joinMs = 10'000;
constexpr int terminationMs = 1000;
} // namespace

Taskmill_Console::Taskmill_Console(QString banner, bool noEventLoop, Taskmill_ConsoleContext context,
                                   std::unique_ptr<Taskmill_ConsoleTerminal> terminal)
    : m_banner{std::move(banner)}
    , m_noEventLoop{noEventLoop}
    , m_actions{std::move(context)}
    , m_terminal{std::move(terminal)}
{
    m_thread.setObjectName(u"console"_s);
}

Taskmill_Console::~Taskmill_Console()
{
    if (!End())
        m_thread.wait();
}

bool Taskmill_Console::End()
{
    QuitSlot();
    // The worker may be waiting for this thread to carry out a call.
    const QDeadlineTimer deadline{joinMs};
    while (m_thread.isRunning() && !m_thread.wait(joinRoundMs) && !m_terminal->IsStillReading() &&
           !deadline.hasExpired())
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    if (!m_thread.isRunning())
        return true;
    // The program ends now, and nothing that this thread could still do is wanted.
    qCWarning(Taskmill_ConsoleLog, "The console does not end by itself");
    m_thread.terminate();
    return m_thread.wait(terminationMs);
}

void Taskmill_Console::RunSlot()
{
    Taskmill_ConsoleShell::MinimiseConsoleWindow();
    m_terminal->Post(m_banner + u"\n\n"_s);
    const QStringList notices = m_actions.Notices();
    for (const QString &notice : notices)
        m_terminal->Post(u"<Taskmill> "_s + notice + u"\n\n"_s);

    auto worker = std::make_unique<Taskmill_Console_Worker>(*this);
    connect(worker.get(), &Taskmill_Console_Worker::QuitSignal, this, &Taskmill_Console::QuitSlot);
    QCoreApplication::processEvents();
    if (m_noEventLoop) {
        m_terminal->SetWakeHook([] { QCoreApplication::processEvents(); });
        worker->InteractUntilInterrupted();
        return;
    }
    Taskmill_Console_Worker *threadWorker = worker.release();
    threadWorker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, threadWorker, &QObject::deleteLater);
    KilnUtil_StartThread(m_thread);
    QTimer::singleShot(0, threadWorker, &Taskmill_Console_Worker::InteractSlot);
}

void Taskmill_Console::TakeNoMoreCommands()
{
    m_quitting = true;
}

void Taskmill_Console::QuitSlot()
{
    TakeNoMoreCommands();
    m_terminal->Interrupt();
    m_thread.requestInterruption();
    m_thread.quit();
    // Without an event loop the program may end before the terminal does.
    if (m_noEventLoop)
        m_terminal->Print({});
}
