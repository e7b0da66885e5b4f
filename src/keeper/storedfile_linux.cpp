// SPDX-License-Identifier: MIT
#include "keeper/storedfile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

Taskmill_StoredFile::~Taskmill_StoredFile()
{
    if (m_file != noFile)
        close(static_cast<int>(m_file));
}

bool Taskmill_StoredFile::Open(const std::string &path)
{
    constexpr mode_t ownerOnly = 0600;
    if (m_file == noFile)
        m_file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, ownerOnly);
    if (m_file == noFile)
        m_error = errno;
    return m_file != noFile;
}

std::size_t Taskmill_StoredFile::WriteAt(long long place, std::string_view bytes)
{
    const ssize_t count = pwrite(static_cast<int>(m_file), bytes.data(), bytes.size(), place);
    if (count > 0)
        return static_cast<std::size_t>(count);
    m_error = count < 0 ? errno : ENOSPC;
    return 0;
}

void Taskmill_StoredFile::Truncate(long long size)
{
    if (ftruncate(static_cast<int>(m_file), size) != 0)
        m_error = errno;
}

std::string Taskmill_StoredFile::ErrorText() const
{
    return std::strerror(m_error);
}
