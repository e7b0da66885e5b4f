// SPDX-License-Identifier: MIT
#pragma once

/// While it lives, this program can open no file beyond that number, without one no further file at all. Only
/// where systems have such a limit.
class OpenFilesLimit
{
public:
    OpenFilesLimit();
    explicit OpenFilesLimit(unsigned long long files);
    ~OpenFilesLimit();
    OpenFilesLimit(const OpenFilesLimit &) = delete;
    OpenFilesLimit &operator=(const OpenFilesLimit &) = delete;

private:
    unsigned long long m_before = 0;
};
