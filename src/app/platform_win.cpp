// SPDX-License-Identifier: MIT
#include "app/platform.h"

#include "processes/processtree.h"
#include "processes/runkeepers.h"

#include <QCoreApplication>

#include <array>
#include <atomic>
#include <cstdio>

#include <io.h>
#include <windows.h>

namespace {
std::function<void(bool interrupted)> quitCall;
std::atomic<bool> eventSeen{false};
std::atomic<bool> isClosing{false};
std::atomic<bool> isStopped{false};

bool EndsTheProgram(DWORD event)
{
    return event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT;
}

/// Whether the jobs of keepers end with a program that is to end at once.
bool EndsJobs(DWORD event)
{
    const QByteArray wanted = qgetenv("TASKMILL_END_JOBS");
    return wanted == "1" || (wanted != "0" && event == CTRL_C_EVENT);
}

/// Runs on a thread of the system's own, which meanwhile holds what is needed to remove the handler and to
/// leave the console.
BOOL WINAPI HandleConsoleEvent(DWORD event)
{
    if (EndsTheProgram(event))
        isClosing = true;
    if (isStopped)
        return FALSE;
    if (eventSeen.exchange(true)) {
        if (EndsJobs(event))
            KilnUtil_RunKeepers::EndRunsAtOnce();
        KilnUtil_ProcessTree::KillRegisteredChildren();
        return FALSE;
    }
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [event] { quitCall(event == CTRL_C_EVENT); }, Qt::QueuedConnection);
    // The system ends the program when this returns; until then it grants some seconds.
    if (EndsTheProgram(event))
        Sleep(INFINITE);
    return TRUE;
}

bool IsConsole(HANDLE handle)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

/// Whether the stream was redirected to a file, a pipe or the null device, which then is left alone.
bool IsRedirected(HANDLE handle)
{
    return handle && handle != INVALID_HANDLE_VALUE && GetFileType(handle) != FILE_TYPE_UNKNOWN &&
           !IsConsole(handle);
}

/// Puts redirected streams back that a new console has taken the place of.
class RedirectedStreams
{
public:
    RedirectedStreams()
    {
        for (Stream &stream : m_streams)
            stream.handle = GetStdHandle(stream.which);
    }
    ~RedirectedStreams()
    {
        for (const Stream &stream : m_streams) {
            if (IsRedirected(stream.handle))
                SetStdHandle(stream.which, stream.handle);
        }
    }
    Q_DISABLE_COPY_MOVE(RedirectedStreams)

private:
    struct Stream
    {
        DWORD which = 0;
        HANDLE handle = nullptr;
    };
    std::array<Stream, 3> m_streams{
        {{.which = STD_INPUT_HANDLE}, {.which = STD_OUTPUT_HANDLE}, {.which = STD_ERROR_HANDLE}}};
};

void Reconnect(DWORD which, FILE *stream, const char *name, const char *mode)
{
    if (!IsRedirected(GetStdHandle(which))) {
        // The secure variant would not share the console with the other streams and programs. The run-time
        // library of a program without a console does not give the system the new handle.
        if (std::freopen(name, mode, stream))
            SetStdHandle(which, reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))));
    }
    std::setvbuf(stream, nullptr, _IONBF, 0);
}
} // namespace

void Taskmill_Platform::PrepareStandardStreams() {}

QString Taskmill_Platform::ExecutablePath()
{
    std::array<wchar_t, 32768> path{};
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
}

QByteArray Taskmill_Platform::PlatformsToTry(const QStringList &)
{
    return {};
}

bool Taskmill_Platform::HasDisplay(const QStringList &)
{
    return true;
}

bool Taskmill_Platform::AttachToParentConsole()
{
    const RedirectedStreams streams;
    // Access is denied to whoever has a console already, which serves.
    return AttachConsole(ATTACH_PARENT_PROCESS) || GetLastError() == ERROR_ACCESS_DENIED;
}

bool Taskmill_Platform::OpenConsole()
{
    const RedirectedStreams streams;
    return AllocConsole() != 0;
}

void Taskmill_Platform::ReconnectStreams()
{
    // A console returns its mode only to a handle that may read from it.
    Reconnect(STD_OUTPUT_HANDLE, stdout, "CONOUT$", "w+");
    Reconnect(STD_INPUT_HANDLE, stdin, "CONIN$", "r");
    Reconnect(STD_ERROR_HANDLE, stderr, "CONOUT$", "w+");
    // Otherwise Qt's warnings go to the debugger when standard error is redirected. The jobs do not
    // inherit this: their environment was taken before.
    qputenv("QT_FORCE_STDERR_LOGGING", "1");
}

void Taskmill_Platform::ReleaseConsole()
{
    if (!isClosing)
        FreeConsole();
}

void Taskmill_Platform::EndAtOnce(int status)
{
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
}

void Taskmill_Platform::CallOnTermination(const std::function<void(bool interrupted)> &quit)
{
    quitCall = quit;
    SetConsoleCtrlHandler(HandleConsoleEvent, TRUE);
}

void Taskmill_Platform::StopCallingOnTermination()
{
    // The handler stays: it may be waiting for the end of the program.
    isStopped = true;
}
