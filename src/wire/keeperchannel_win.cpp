// SPDX-License-Identifier: MIT
#include "wire/keeperchannel.h"

#include "wire/keeperpipe_win.h"
#include "wire/ownersecurity_win.h"
#include "wire/runrecord.h"
#include "wire/systemtext_win.h"

#include <array>
#include <memory>

#include <windows.h>

namespace {
/// More than the system takes as arguments and environment of a program.
constexpr std::size_t longestMessage = 16UL * 1024 * 1024;
constexpr DWORD bufferSize = 64 * 1024;

/// What a handle stands for: a pipe, and what is being waited for there. The system writes into it meanwhile,
/// so it stays where it is.
struct Pipe
{
    HANDLE file = INVALID_HANDLE_VALUE;
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr); ///< something has come
    OVERLAPPED reading{};
    std::array<char, bufferSize> bytes{};
    std::string message; ///< the first parts of one that is not whole yet
    bool isWaiting = false;
    bool hasEnded = false;
    std::string listensAs; ///< empty when it does not

    explicit Pipe(HANDLE handle)
        : file{handle}
    {
    }
    ~Pipe()
    {
        if (isWaiting) {
            DWORD count = 0;
            CancelIoEx(file, &reading);
            GetOverlappedResult(file, &reading, &count, TRUE);
        }
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
        CloseHandle(event);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    void Begin()
    {
        reading = {};
        reading.hEvent = event;
        ResetEvent(event);
    }
    /// The event comes at once when something waits already.
    void Read()
    {
        Begin();
        const bool isDone = ReadFile(file, bytes.data(), bufferSize, nullptr, &reading) != 0;
        TakeState(isDone || GetLastError() == ERROR_MORE_DATA || GetLastError() == ERROR_IO_PENDING);
    }
    void WaitForConnection()
    {
        if (file == INVALID_HANDLE_VALUE)
            return;
        Begin();
        const bool isDone = ConnectNamedPipe(file, &reading) != 0;
        const DWORD error = isDone ? ERROR_SUCCESS : GetLastError();
        isWaiting = error == ERROR_IO_PENDING;
        hasEnded = !isWaiting && error != ERROR_SUCCESS && error != ERROR_PIPE_CONNECTED;
        // A client has connected already, before the waiting began.
        if (!isWaiting)
            SetEvent(event);
    }

private:
    void TakeState(bool isUnderWay)
    {
        isWaiting = isUnderWay;
        hasEnded = !isUnderWay;
        if (hasEnded)
            SetEvent(event);
    }
};

Pipe &PipeOf(Taskmill_KeeperChannel::Handle handle)
{
    return *reinterpret_cast<Pipe *>(handle);
}

std::wstring NameOf(const std::string &name)
{
    return L"\\\\.\\pipe\\taskmill-" + Taskmill_WideText(name);
}

/// One end, which other users can neither open nor make before.
HANDLE MakePipe(const std::string &name, bool isFirst)
{
    Taskmill_OwnerSecurity security;
    return security.Get()
               ? CreateNamedPipeW(NameOf(name).c_str(),
                                  PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED |
                                      (isFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0),
                                  PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT |
                                      PIPE_REJECT_REMOTE_CLIENTS,
                                  PIPE_UNLIMITED_INSTANCES, bufferSize, bufferSize, 0, security.Get())
               : INVALID_HANDLE_VALUE;
}

/// The other end. Whoever is there learns who this is, but cannot act in its name.
HANDLE OpenPipe(const std::string &name)
{
    const HANDLE pipe =
        CreateFileW(NameOf(name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                    FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr);
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (pipe != INVALID_HANDLE_VALUE && !SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr)) {
        CloseHandle(pipe);
        return INVALID_HANDLE_VALUE;
    }
    return pipe;
}

Taskmill_KeeperChannel ChannelOf(HANDLE file)
{
    if (file == INVALID_HANDLE_VALUE)
        return {};
    auto pipe = std::make_unique<Pipe>(file);
    pipe->Read();
    return Taskmill_KeeperChannel{reinterpret_cast<Taskmill_KeeperChannel::Handle>(pipe.release())};
}

Taskmill_KeeperChannel ListenerOf(HANDLE file, const std::string &runID)
{
    if (file == INVALID_HANDLE_VALUE)
        return {};
    auto pipe = std::make_unique<Pipe>(file);
    pipe->listensAs = runID;
    pipe->WaitForConnection();
    return Taskmill_KeeperChannel{reinterpret_cast<Taskmill_KeeperChannel::Handle>(pipe.release())};
}
} // namespace

void Taskmill_KeeperChannel::Close()
{
    if (IsOpen())
        delete reinterpret_cast<Pipe *>(Release());
}

Taskmill_KeeperChannel::Handle Taskmill_KeeperChannel::Get() const
{
    return IsOpen() ? reinterpret_cast<Handle>(PipeOf(m_handle).event) : NoHandle;
}

Taskmill_KeeperChannel Taskmill_KeeperChannelOf(Taskmill_KeeperChannel::Handle pipe)
{
    return ChannelOf(reinterpret_cast<HANDLE>(pipe));
}

std::pair<Taskmill_KeeperChannel, Taskmill_KeeperChannel::Handle> Taskmill_MakeKeeperPipe()
{
    const std::string name = Taskmill_NewRunID();
    const HANDLE own = name.empty() ? INVALID_HANDLE_VALUE : MakePipe(name, true);
    const HANDLE other = own == INVALID_HANDLE_VALUE ? own : OpenPipe(name);
    if (other == INVALID_HANDLE_VALUE ||
        !SetHandleInformation(other, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) {
        if (own != INVALID_HANDLE_VALUE)
            CloseHandle(own);
        return {Taskmill_KeeperChannel{}, Taskmill_KeeperChannel::NoHandle};
    }
    return {ChannelOf(own), reinterpret_cast<Taskmill_KeeperChannel::Handle>(other)};
}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Listen(const std::string &, const std::string &runID)
{
    return ListenerOf(MakePipe(runID, false), runID);
}

// The pipe goes with its last end.
void Taskmill_KeeperChannel::StopListening(const std::string &, const std::string &) {}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Connect(const std::string &, const std::string &runID)
{
    return ChannelOf(OpenPipe(runID));
}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Accept() const
{
    Pipe &pipe = PipeOf(m_handle);
    DWORD count = 0;
    if (pipe.isWaiting && !GetOverlappedResult(pipe.file, &pipe.reading, &count, FALSE) &&
        GetLastError() == ERROR_IO_INCOMPLETE)
        return {};
    pipe.isWaiting = false;
    // The next client needs a new end of the pipe.
    const HANDLE file = std::exchange(pipe.file, MakePipe(pipe.listensAs, false));
    pipe.WaitForConnection();
    return ChannelOf(file);
}

bool Taskmill_KeeperChannel::IsListening() const
{
    return IsOpen() && PipeOf(m_handle).file != INVALID_HANDLE_VALUE && !PipeOf(m_handle).hasEnded;
}

bool Taskmill_KeeperChannel::Send(const Taskmill_KeeperMessage &message, const std::vector<int> &,
                                  int waitMs) const
{
    if (!IsOpen() || !PipeOf(m_handle).listensAs.empty())
        return false;
    const std::string &bytes = message.Bytes();
    const HANDLE file = PipeOf(m_handle).file;
    OVERLAPPED writing{};
    writing.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bool isSent = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &writing) != 0;
    if (!isSent && GetLastError() == ERROR_IO_PENDING) {
        DWORD count = 0;
        if (WaitForSingleObject(writing.hEvent, static_cast<DWORD>(waitMs)) != WAIT_OBJECT_0)
            CancelIoEx(file, &writing);
        isSent = GetOverlappedResult(file, &writing, &count, TRUE) && count == bytes.size();
    }
    CloseHandle(writing.hEvent);
    return isSent;
}

Taskmill_KeeperChannel::State Taskmill_KeeperChannel::Receive(std::optional<Taskmill_KeeperMessage> &message,
                                                              std::vector<int> *) const
{
    message.reset();
    Pipe &pipe = PipeOf(m_handle);
    while (!pipe.hasEnded) {
        DWORD count = 0;
        const bool isWhole = GetOverlappedResult(pipe.file, &pipe.reading, &count, FALSE) != 0;
        const DWORD error = isWhole ? ERROR_SUCCESS : GetLastError();
        if (error == ERROR_IO_INCOMPLETE)
            return State::Open;
        pipe.isWaiting = false;
        if (!isWhole && error != ERROR_MORE_DATA) {
            pipe.hasEnded = true;
            break;
        }
        pipe.message.append(pipe.bytes.data(), isWhole ? count : bufferSize);
        if (pipe.message.size() > longestMessage) {
            pipe.hasEnded = true;
            break;
        }
        if (isWhole)
            message = Taskmill_KeeperMessage::FromBytes(std::exchange(pipe.message, {}));
        pipe.Read();
        if (isWhole)
            return State::Open;
    }
    return State::Ended;
}

Taskmill_KeeperChannel::State
Taskmill_KeeperChannel::ReceiveWithin(int waitMs, std::optional<Taskmill_KeeperMessage> &message) const
{
    WaitForSingleObject(PipeOf(m_handle).event, static_cast<DWORD>(waitMs));
    return Receive(message);
}
