// SPDX-License-Identifier: MIT
#include "wire/keeperpipe_win.h"
#include "wire/nursery.h"
#include "wire/openjournal_win.h"
#include "wire/runjournals.h"
#include "wire/runlocks.h"
#include "wire/startup_win.h"
#include "wire/systemtext_win.h"

#include <deque>

#include <windows.h>

namespace {
using Handle = Taskmill_KeeperChannel::Handle;

/// An order is answered in a fraction of a millisecond, unless a keeper has to be loaded first.
constexpr int orderWaitMs = 20'000;

HANDLE SystemHandle(Handle handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

std::string Number(HANDLE handle)
{
    return std::to_string(reinterpret_cast<Handle>(handle));
}

/// The next message, whatever comes before; nothing when it does not come.
std::optional<Taskmill_KeeperMessage> Await(const Taskmill_KeeperChannel &channel, std::string_view word)
{
    std::optional<Taskmill_KeeperMessage> message;
    while (channel.ReceiveWithin(orderWaitMs, message) == Taskmill_KeeperChannel::State::Open && message) {
        if (message->Word() == word || message->Word() == Taskmill_RefusedWord)
            return message;
    }
    return std::nullopt;
}
} // namespace

struct Taskmill_Nursery::System
{
    System(const std::string &keeper, const std::string &folder)
        : program{Taskmill_WideText(keeper)}
        , runFolder{Taskmill_WideText(folder)}
        , journalName{Taskmill_NewRunID()}
        , journal{folder + "/journal/" + journalName}
    {
    }
    ~System() { CloseHandle(swept); }
    System(const System &) = delete;
    System &operator=(const System &) = delete;

    /// Has a keeper wait for an order, the first one after it has tidied up. Not open when it cannot be
    /// started.
    [[nodiscard]] Taskmill_KeeperChannel StartKeeper(long long &processID, bool isFirst = false) const;

    std::wstring program;
    std::wstring runFolder;
    std::string journalName;
    Taskmill_OpenJournal journal; ///< kept open, so that it is in use
    /// Set, it ends all keepers. Never closed: whoever ends them knows it by its number.
    HANDLE end = Taskmill_InheritableEvent();
    HANDLE swept = CreateEventW(nullptr, TRUE, FALSE, nullptr); ///< sweptRuns has some
    std::deque<std::string> sweptRuns;
};

Taskmill_KeeperChannel Taskmill_Nursery::System::StartKeeper(long long &processID, bool isFirst) const
{
    auto [own, its] = Taskmill_MakeKeeperPipe();
    if (!own.IsOpen())
        return {};
    const HANDLE pipe = SystemHandle(its);
    Taskmill_InheritedHandles inherited{{pipe, end}};
    std::wstring command =
        L'"' + program + L"\" " +
        Taskmill_WideText(Number(pipe) + ' ' + Number(end) + ' ' + journalName + (isFirst ? " tidy" : ""));
    PROCESS_INFORMATION process{};
    // Without a window, but with a console, which its program shares with it. Not in the job object that this
    // program is in: the run is to go on when that ends, where that is allowed.
    constexpr DWORD flags = CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT;
    const auto start = [&](DWORD more) {
        return CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, flags | more, nullptr,
                              runFolder.c_str(), inherited.StartupInfo(), &process) != 0;
    };
    const bool isStarted = inherited.AreValid() && (start(CREATE_BREAKAWAY_FROM_JOB) || start(0));
    CloseHandle(pipe);
    if (!isStarted)
        return {};
    processID = process.dwProcessId;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return std::move(own);
}

std::optional<Taskmill_Nursery> Taskmill_Nursery::Start(const std::string &program,
                                                        const std::string &runFolder, int waitMs)
{
    if (!Taskmill_RunJournals::MakeFolders(runFolder))
        return std::nullopt;
    Taskmill_Nursery nursery;
    {
        // Whoever tidies up takes a journal for an old one while nobody has it open.
        const Taskmill_ClaimLock tidying{runFolder};
        nursery.m_system = std::make_shared<System>(program, runFolder);
    }
    nursery.m_runFolder = runFolder;
    if (!nursery.m_system->journal.IsOpen())
        return std::nullopt;
    nursery.m_channel = nursery.m_system->StartKeeper(nursery.m_processID, true);
    std::optional<Taskmill_KeeperMessage> answer;
    if (!nursery.m_channel.IsOpen() ||
        nursery.m_channel.ReceiveWithin(waitMs, answer) == Taskmill_KeeperChannel::State::Ended || !answer)
        return std::nullopt;
    return nursery;
}

Taskmill_KeeperChannel::Handle Taskmill_Nursery::Handle() const
{
    return reinterpret_cast<Taskmill_KeeperChannel::Handle>(m_system->swept);
}

bool Taskmill_Nursery::IsOpen() const
{
    return m_system != nullptr;
}

long long Taskmill_Nursery::EndWord() const
{
    return reinterpret_cast<Taskmill_KeeperChannel::Handle>(m_system->end);
}

void Taskmill_Nursery::EndAll(long long word)
{
    if (word != 0)
        SetEvent(SystemHandle(static_cast<Taskmill_KeeperChannel::Handle>(word)));
}

Taskmill_RunConnection Taskmill_Nursery::StartRun(const Taskmill_RunOrder &order, int *error)
{
    // The keeper that waited may have been ended meanwhile.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!m_channel.IsOpen())
            m_channel = m_system->StartKeeper(m_processID);
        if (!m_channel.IsOpen() && error)
            *error = static_cast<int>(GetLastError());
        Taskmill_KeeperChannel channel = std::move(m_channel);
        if (!channel.IsOpen() || !channel.Send(order.ToMessage(), {}, orderWaitMs))
            continue;
        const auto answer = Await(channel, Taskmill_LockedWord);
        if (!answer)
            continue;
        // From here on it is found by its lock, so that whoever looks for it does not start it again.
        if (answer->Word() != Taskmill_LockedWord ||
            !channel.Send(Taskmill_KeeperMessage{Taskmill_GoWord}, {}, orderWaitMs))
            return {};
        // Loads the keeper of the next run now, while nobody waits for it.
        m_channel = m_system->StartKeeper(m_processID);
        return Taskmill_RunConnection{std::move(channel)};
    }
    return {};
}

bool Taskmill_Nursery::RunsMayWait()
{
    // A keeper waits for its order there.
    return false;
}

bool Taskmill_Nursery::SweepsUnasked()
{
    return false;
}

// The system ends what a keeper leaves, before anybody can ask.
bool Taskmill_Nursery::Sweep(const std::string &runID) const
{
    m_system->sweptRuns.push_back(runID);
    SetEvent(m_system->swept);
    return true;
}

std::optional<std::string> Taskmill_Nursery::ReceiveSwept(int waitMs)
{
    WaitForSingleObject(m_system->swept, static_cast<DWORD>(waitMs));
    if (m_system->sweptRuns.empty())
        return std::nullopt;
    std::string runID = std::move(m_system->sweptRuns.front());
    m_system->sweptRuns.pop_front();
    if (m_system->sweptRuns.empty())
        ResetEvent(m_system->swept);
    return runID;
}
