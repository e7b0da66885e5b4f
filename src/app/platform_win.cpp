#include "app/platform.h"

#include "kilnutil/platform.h"

#include <QCoreApplication>

#include <array>
#include <atomic>
#include <cstdio>

#include <windows.h>

namespace {
std::function<void()> quitCall;
std::atomic<bool> signalSeen{false};

/// Runs on a thread of the system's own.
BOOL WINAPI HandleConsoleEvent(DWORD)
{
    if (signalSeen.exchange(true)) {
        KilnUtil_Platform::KillRegisteredChildren();
        return FALSE;
    }
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [] { quitCall(); }, Qt::BlockingQueuedConnection);
    return TRUE;
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
    return AttachConsole(ATTACH_PARENT_PROCESS) != 0;
}

bool Taskmill_Platform::OpenConsole()
{
    return AllocConsole() != 0;
}

void Taskmill_Platform::ReconnectStreams()
{
    const auto reopenUnlessRedirected = [](DWORD handle, FILE *stream, const char *name, const char *mode) {
        if (GetFileType(GetStdHandle(handle)) == FILE_TYPE_UNKNOWN ||
            GetFileType(GetStdHandle(handle)) == FILE_TYPE_CHAR) {
            FILE *reopened = nullptr;
            freopen_s(&reopened, name, mode, stream);
        }
        std::setvbuf(stream, nullptr, _IONBF, 0);
    };
    reopenUnlessRedirected(STD_OUTPUT_HANDLE, stdout, "CONOUT$", "w");
    reopenUnlessRedirected(STD_INPUT_HANDLE, stdin, "CONIN$", "r");
    reopenUnlessRedirected(STD_ERROR_HANDLE, stderr, "CONOUT$", "w");
}

void Taskmill_Platform::ReleaseConsole()
{
    FreeConsole();
}

void Taskmill_Platform::CallOnTermination(const std::function<void()> &quit)
{
    quitCall = quit;
    SetConsoleCtrlHandler(HandleConsoleEvent, TRUE);
}

void Taskmill_Platform::StopCallingOnTermination()
{
    SetConsoleCtrlHandler(HandleConsoleEvent, FALSE);
}
