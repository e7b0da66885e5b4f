// SPDX-License-Identifier: MIT
#include "wire/systemlack.h"

#include <algorithm>

bool Taskmill_IsLack(int error)
{
    const std::span<const int> errors = Taskmill_LackErrors();
    return std::ranges::find(errors, error) != errors.end();
}
