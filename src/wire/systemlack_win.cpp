// SPDX-License-Identifier: MIT
#include "wire/systemlack.h"

#include <array>

#include <windows.h>

std::span<const int> Taskmill_LackErrors()
{
    static constexpr std::array<int, 10> errors{ERROR_TOO_MANY_OPEN_FILES, ERROR_NOT_ENOUGH_MEMORY,
                                                ERROR_OUTOFMEMORY,         ERROR_HANDLE_DISK_FULL,
                                                ERROR_DISK_FULL,           ERROR_MAX_THRDS_REACHED,
                                                ERROR_NO_SYSTEM_RESOURCES, ERROR_COMMITMENT_LIMIT,
                                                ERROR_NOT_ENOUGH_QUOTA,    ERROR_DISK_QUOTA_EXCEEDED};
    return errors;
}
