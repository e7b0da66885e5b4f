// SPDX-License-Identifier: MIT
#include "processes/procfiles_linux.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <dirent.h>
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

/// The fields of a stat line from number 3 on.
class StatFields
{
public:
    explicit StatFields(QByteArrayView text)
        : m_at{text.begin()}
        , m_end{text.end()}
    {
    }

    char Character()
    {
        SkipBlanks();
        return m_at < m_end ? *m_at++ : '\0';
    }

    template <typename Number>
    void Read(Number &number)
    {
        SkipBlanks();
        m_at = std::from_chars(m_at, m_end, number).ptr;
    }

    void Skip(int count)
    {
        for (; count > 0; --count) {
            SkipBlanks();
            while (m_at < m_end && *m_at != ' ')
                ++m_at;
        }
    }

private:
    void SkipBlanks()
    {
        while (m_at < m_end && *m_at == ' ')
            ++m_at;
    }

    const char *m_at;
    const char *m_end;
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

Taskmill_ProcStat Taskmill_ReadProcStat(int processID)
{
    const QByteArray text = Taskmill_ReadProcFile(processID, "stat");
    Taskmill_ProcStat stat;
    // The name between the parentheses may itself hold blanks and parentheses.
    const qsizetype begin = text.indexOf('(');
    const qsizetype end = text.lastIndexOf(')');
    if (begin < 0 || end < begin)
        return stat;

    stat.comm = text.mid(begin + 1, end - begin - 1);
    StatFields fields{QByteArrayView{text}.sliced(end + 1)};
    stat.state = fields.Character(); // 3
    fields.Read(stat.parent);
    fields.Read(stat.group);
    fields.Read(stat.session);
    fields.Skip(2);
    fields.Read(stat.flags); // 9
    fields.Skip(4);
    fields.Read(stat.userTicks); // 14
    fields.Read(stat.kernelTicks);
    fields.Skip(2);
    fields.Read(stat.priority); // 18
    fields.Skip(1);
    fields.Read(stat.threads); // 20
    fields.Skip(1);
    fields.Read(stat.startTicks); // 22
    fields.Read(stat.virtualSize);
    fields.Read(stat.residentPages);
    return stat;
}

std::vector<int> Taskmill_ListProcesses()
{
    std::vector<int> processIDs;
    DIR *directory = opendir("/proc");
    if (!directory)
        return processIDs;
    while (const dirent *entry = readdir(directory)) {
        int processID = 0;
        const char *end = entry->d_name + std::strlen(entry->d_name);
        if (std::from_chars(entry->d_name, end, processID).ptr == end && processID > 0)
            processIDs.push_back(processID);
    }
    closedir(directory);
    return processIDs;
}
