// SPDX-License-Identifier: MIT
#include "support/openfileslimit.h"

OpenFilesLimit::OpenFilesLimit() = default;
OpenFilesLimit::OpenFilesLimit(unsigned long long) {}
OpenFilesLimit::~OpenFilesLimit() = default;
