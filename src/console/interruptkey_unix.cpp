// SPDX-License-Identifier: MIT
#include "console/interruptkey_unix.h"

#include <atomic>
#include <csignal>

namespace {
std::function<void()> pressed;
std::atomic<bool> isTaken{false};
struct sigaction before
{
};

void HandleSignal(int signal, siginfo_t *information, void *)
{
    // A SIGINT of the terminal comes from the kernel, that of a program from its user.
    if (information->si_code == SI_KERNEL)
        pressed();
    else if (before.sa_handler != SIG_DFL)
        before.sa_handler(signal);
    else {
        sigaction(signal, &before, nullptr);
        raise(signal);
    }
}
} // namespace

Taskmill_InterruptKey::Taskmill_InterruptKey(std::function<void()> onPress)
{
    sigaction(SIGINT, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    pressed = std::move(onPress);
    struct sigaction action
    {
    };
    action.sa_sigaction = HandleSignal;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    isTaken = sigaction(SIGINT, &action, nullptr) == 0;
}

void Taskmill_InterruptKey::Release()
{
    if (isTaken.exchange(false))
        sigaction(SIGINT, &before, nullptr);
}
