// SPDX-License-Identifier: MIT
#include "keeper/keepersystem_win.h"
#include "wire/bootid.h"
#include "wire/keeperpipe_win.h"
#include "wire/runjournals.h"

#include <cstdio>
#include <cstdlib>

namespace {
HANDLE systemEnd = nullptr;
HANDLE recorded = nullptr;

/// Runs on a thread of the system's own.
BOOL WINAPI HandleConsoleEvent(DWORD event)
{
    // What is meant for the program does not end its keeper.
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)
        return TRUE;
    // The system ends this process when this returns; until then it grants some seconds.
    SetEvent(systemEnd);
    WaitForSingleObject(recorded, INFINITE);
    return TRUE;
}

HANDLE HandleOf(const char *number)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(std::strtoll(number, nullptr, 10)));
}

/// None when the manager is gone, or all are to end: nothing was started then.
std::optional<Taskmill_KeeperMessage> WaitFor(const Taskmill_KeeperChannel &manager, HANDLE end,
                                              std::string_view word)
{
    const HANDLE waits[] = {end, systemEnd, reinterpret_cast<HANDLE>(manager.Get())};
    std::optional<Taskmill_KeeperMessage> message;
    while (WaitForMultipleObjects(3, waits, FALSE, INFINITE) == WAIT_OBJECT_0 + 2) {
        if (manager.Receive(message) == Taskmill_KeeperChannel::State::Ended)
            break;
        if (message && message->Word() == word)
            return message;
    }
    return std::nullopt;
}

int KeepRun(Taskmill_KeeperChannel manager, HANDLE end, const std::string &journal)
{
    auto order = WaitFor(manager, end, Taskmill_StartWord);
    if (!order)
        return 0;
    Taskmill_Keeper::System system;
    system.lock = std::make_unique<Taskmill_RunLock>(".", order->Value("run"));
    system.journal = std::make_unique<Taskmill_OpenJournal>("journal/" + journal);
    const bool isReady = system.lock->IsHeld() && system.journal->IsOpen();
    manager.Send(Taskmill_KeeperMessage{isReady ? Taskmill_LockedWord : Taskmill_RefusedWord});
    // The keeper holds the lock of the run, but has not started it: when the manager ends now, the run was
    // never started.
    if (!isReady || !WaitFor(manager, end, Taskmill_GoWord))
        return 0;
    order->Add("boot", Taskmill_BootID());
    system.end = end;
    system.systemEnd = systemEnd;
    system.recorded = recorded;
    Taskmill_Keeper{std::move(*order), std::move(manager), std::move(system)}.Run();
    return 0;
}
} // namespace

/// taskmill-keeper CONNECTION END JOURNAL [tidy], two handles and a name, in the folder of the runs.
int main(int argc, char **argv)
{
    Taskmill_KeeperChannel manager =
        argc >= 4 ? Taskmill_KeeperChannelOf(reinterpret_cast<std::intptr_t>(HandleOf(argv[1])))
                  : Taskmill_KeeperChannel{};
    if (!manager.IsOpen()) {
        std::fputs("This program is started by Taskmill.\n", stderr);
        return 2;
    }
    systemEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    recorded = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(HandleConsoleEvent, TRUE);
    Taskmill_KeeperMessage ready{Taskmill_ReadyWord};
    ready.Add("pid", static_cast<long long>(GetCurrentProcessId()));
    if (!manager.Send(ready))
        return 1;
    if (argc > 4)
        Taskmill_RunJournals{"."}.Tidy();
    return KeepRun(std::move(manager), HandleOf(argv[2]), argv[3]);
}
