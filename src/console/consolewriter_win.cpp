// SPDX-License-Identifier: MIT
#include "console/consolewriter_win.h"

#include "console/consoleterminal.h"
#include "console/postedtext.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <windows.h>

using namespace std::chrono_literals;

namespace {
constexpr auto longestEnd = 500ms;
constexpr auto cancelRound = 5ms;
constexpr int cancelRounds = 100;
} // namespace

struct Taskmill_ConsoleWriter::State
{
    Taskmill_PostedText posted;
    std::mutex mutex; ///< guards what follows; never held during a write
    std::condition_variable changed;
    QString text;
    bool isWriting = false;
    bool isInterrupted = false;
    bool hasToEnd = false;
    bool hasEnded = false;
    HANDLE thread = nullptr;
};

Taskmill_ConsoleWriter::Taskmill_ConsoleWriter()
    : m_state{std::make_shared<State>()}
{
    std::thread{[state = m_state] {
        Run(*state);
    }}.detach();
}

Taskmill_ConsoleWriter::~Taskmill_ConsoleWriter()
{
    std::unique_lock lock{m_state->mutex};
    m_state->hasToEnd = true;
    m_state->changed.notify_all();
    const auto hasEnded = [this] {
        return m_state->hasEnded;
    };
    bool ended = m_state->changed.wait_for(lock, longestEnd, hasEnded);
    // A console that shows a selection cannot be interrupted; the program ends all the same.
    for (int round = 0; !ended && round < cancelRounds; ++round) {
        CancelSynchronousIo(m_state->thread);
        ended = m_state->changed.wait_for(lock, cancelRound, hasEnded);
    }
}

void Taskmill_ConsoleWriter::Run(State &state)
{
    std::unique_lock lock{state.mutex};
    state.thread = OpenThread(THREAD_TERMINATE, FALSE, GetCurrentThreadId());
    for (;;) {
        state.changed.wait(
            lock, [&state] { return state.hasToEnd || !state.posted.IsEmpty() || !state.text.isEmpty(); });
        const QString text = state.posted.Take() + std::exchange(state.text, {});
        if (text.isEmpty())
            break;
        state.isWriting = true;
        lock.unlock();
        Taskmill_WriteToStandardOutput(text);
        lock.lock();
        state.isWriting = false;
        state.changed.notify_all();
    }
    CloseHandle(std::exchange(state.thread, nullptr));
    state.hasEnded = true;
    state.changed.notify_all();
}

void Taskmill_ConsoleWriter::Post(const QString &text)
{
    const std::scoped_lock lock{m_state->mutex};
    m_state->posted.Add(text);
    m_state->changed.notify_all();
}

void Taskmill_ConsoleWriter::Write(const QString &text)
{
    std::unique_lock lock{m_state->mutex};
    m_state->text += text;
    m_state->changed.notify_all();
    m_state->changed.wait(
        lock, [this] { return m_state->isInterrupted || (m_state->text.isEmpty() && !m_state->isWriting); });
}

void Taskmill_ConsoleWriter::Interrupt()
{
    const std::scoped_lock lock{m_state->mutex};
    m_state->isInterrupted = true;
    m_state->changed.notify_all();
}
