#include "support/filesizelimit.h"

FileSizeLimit::FileSizeLimit() = default;
FileSizeLimit::~FileSizeLimit() = default;
