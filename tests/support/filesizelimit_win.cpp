// SPDX-License-Identifier: MIT
#include "support/filesizelimit.h"

FileSizeLimit::FileSizeLimit() = default;
FileSizeLimit::~FileSizeLimit() = default;
