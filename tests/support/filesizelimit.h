// SPDX-License-Identifier: MIT
#pragma once

/// While it lives, no file that this program writes may grow, as on a full disk: each writing fails. Only
/// where systems have such a limit.
class FileSizeLimit
{
public:
    FileSizeLimit();
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    unsigned long long m_before = 0;
};
