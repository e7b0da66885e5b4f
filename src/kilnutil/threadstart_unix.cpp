// SPDX-License-Identifier: MIT
#include "kilnutil/threadstart.h"

#include <array>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace {
/// A thread's event dispatcher takes one or two.
class KeptFiles
{
public:
    void Keep()
    {
        for (int &file : m_files) {
            if (file < 0)
                file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        }
    }

    void LetGo()
    {
        for (int &file : m_files) {
            if (file >= 0)
                close(file);
            file = -1;
        }
    }

private:
    std::array<int, 3> m_files{-1, -1, -1};
};

std::mutex filesMutex;
KeptFiles files;
} // namespace

void KilnUtil_KeepFilesForThreads()
{
    const std::lock_guard lock{filesMutex};
    files.Keep();
}

void KilnUtil_StartThread(QThread &thread, QThread::Priority priority)
{
    const std::lock_guard lock{filesMutex};
    files.LetGo();
    thread.start(priority);
    // Its dispatcher is made by the thread itself.
    while (thread.isRunning() && !thread.eventDispatcher())
        QThread::yieldCurrentThread();
    files.Keep();
}
