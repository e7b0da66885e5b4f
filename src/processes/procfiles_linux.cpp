// SPDX-License-Identifier: MIT
#include "processes/procfiles_linux.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
/// Name of a file of a process, such as /proc/17/stat, without touching the heap.
class ProcPath
{
public:
    ProcPath(int processID, const char *file)
    {
        std::snprintf(m_text, sizeof m_text, "/proc/%d/%s", processID, file);
    }
    [[nodiscard]] const char *Text() const { return m_text; }

private:
    char m_text[48];
};
} // namespace

QByteArray Taskmill_ReadProcFile(int processID, const char *name)
{
    QByteArray content;
    const int file = open(ProcPath{processID, name}.Text(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return content;
    std::array<char, 4096> chunk;
    ssize_t count = 0;
    do {
        count = read(file, chunk.data(), chunk.size());
        content.append(chunk.data(), std::max<ssize_t>(count, 0));
        // A short read is the end here; asking once more costs as much as the first time.
    } while (count == static_cast<ssize_t>(chunk.size()));
    close(file);
    return content;
}

QByteArray Taskmill_ReadProcLink(int processID, const char *name)
{
    std::array<char, 4096> target;
    const ssize_t length = readlink(ProcPath{processID, name}.Text(), target.data(), target.size());
    return length > 0 ? QByteArray{target.data(), length} : QByteArray{};
}
