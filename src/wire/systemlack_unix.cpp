// SPDX-License-Identifier: MIT
#include "wire/systemlack.h"

#include <array>
#include <cerrno>

std::span<const int> Taskmill_LackErrors()
{
    static constexpr std::array errors{EAGAIN, ENOMEM, EMFILE, ENFILE, ENOSPC, EDQUOT, ENOBUFS, ETOOMANYREFS};
    return errors;
}
