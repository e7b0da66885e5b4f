// SPDX-License-Identifier: MIT
#include "wire/procstat_linux.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {
/// The fields of a stat line from number 3 on.
class StatFields
{
public:
    explicit StatFields(std::string_view text)
        : m_at{text.data()}
        , m_end{text.data() + text.size()}
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

Taskmill_ProcStat Taskmill_ReadProcStat(int processID)
{
    Taskmill_ProcStat stat;
    std::array<char, 64> path;
    std::snprintf(path.data(), path.size(), "/proc/%d/stat", processID);
    const int file = open(path.data(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return stat;
    // It is shorter by far, and one read takes all of it.
    std::array<char, 4096> bytes;
    const ssize_t size = read(file, bytes.data(), bytes.size());
    close(file);
    const std::string_view text{bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    // The name between the parentheses may itself hold blanks and parentheses.
    const std::size_t begin = text.find('(');
    const std::size_t end = text.rfind(')');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin)
        return stat;

    stat.comm = text.substr(begin + 1, end - begin - 1);
    StatFields fields{text.substr(end + 1)};
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

std::vector<int> Taskmill_NumbersIn(const char *folder)
{
    std::vector<int> numbers;
    DIR *directory = opendir(folder);
    if (!directory)
        return numbers;
    while (const dirent *entry = readdir(directory)) {
        int number = 0;
        const char *end = entry->d_name + std::strlen(entry->d_name);
        if (std::from_chars(entry->d_name, end, number).ptr == end && number > 0)
            numbers.push_back(number);
    }
    closedir(directory);
    return numbers;
}
