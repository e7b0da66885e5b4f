// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processrun.h"
#include "wire/runconnection.h"

/// As a keeper of this system wants it, without the number and the owner of the run.
[[nodiscard]] Taskmill_RunOrder KilnUtil_KeptRunOrder(const KilnUtil_RunOrder &order);
