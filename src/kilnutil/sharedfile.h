// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <optional>

class QFile;
class QString;

/// What differs between systems in reading a file that other programs write, rename and delete meanwhile.
namespace KilnUtil_SharedFile {
struct Status
{
    quint64 device = 0; ///< device and number together distinguish one file from another
    quint64 number = 0;
    qint64 size = 0;     ///< bytes
    qint64 modified = 0; ///< only good for comparing with an earlier value

    [[nodiscard]] bool IsSameFile(const Status &other) const
    {
        return device == other.device && number == other.number;
    }
};

/// Opens a regular file for reading, without hindering others from deleting or renaming it. Anything else,
/// such as a pipe, fails at once.
[[nodiscard]] bool Open(QFile &file, const QString &path);

/// Nothing when there is no regular file at the path.
[[nodiscard]] std::optional<Status> StatusOf(const QString &path);
/// Of a file that Open() has opened, even when its name is gone.
[[nodiscard]] std::optional<Status> StatusOf(const QFile &file);
} // namespace KilnUtil_SharedFile
