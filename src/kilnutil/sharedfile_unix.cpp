// SPDX-License-Identifier: MIT
#include "kilnutil/sharedfile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KilnUtil_SharedFile {
namespace {
std::optional<Status> FromStat(const struct stat &data)
{
    if (!S_ISREG(data.st_mode))
        return std::nullopt;
    constexpr qint64 nanosecondsPerSecond = 1'000'000'000;
    return Status{.device = data.st_dev,
                  .number = data.st_ino,
                  .size = data.st_size,
                  .modified = data.st_mtim.tv_sec * nanosecondsPerSecond + data.st_mtim.tv_nsec};
}

std::optional<Status> StatusOfDescriptor(int descriptor)
{
    struct stat data = {};
    return fstat(descriptor, &data) == 0 ? FromStat(data) : std::nullopt;
}
} // namespace

bool Open(QFile &file, const QString &path)
{
    // Without O_NONBLOCK the opening of a pipe waits until somebody writes to it.
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return false;
    if (StatusOfDescriptor(descriptor) &&
        file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        return true;
    close(descriptor);
    return false;
}

std::optional<Status> StatusOf(const QString &path)
{
    struct stat data = {};
    return stat(QFile::encodeName(path).constData(), &data) == 0 ? FromStat(data) : std::nullopt;
}

std::optional<Status> StatusOf(const QFile &file)
{
    return StatusOfDescriptor(file.handle());
}
} // namespace KilnUtil_SharedFile
