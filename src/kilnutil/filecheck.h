// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/filethread.h"

#include <QStringList>

/// Finds out which files are there, for a window that must not wait for a drive that does not answer. The
/// answer is given at once where it comes within some milliseconds, as it does as a rule, else from the event
/// loop.
class KilnUtil_FileCheck final : public QObject
{
    Q_OBJECT

public:
    using Check = bool (*)(const QString &path);
    using Take = std::function<void(const QStringList &found)>;

    explicit KilnUtil_FileCheck(QObject *parent);

    /// The one that belongs to the owner, made when it is first needed.
    [[nodiscard]] static KilnUtil_FileCheck &Of(QObject &owner);

    /// Gives those of the paths that pass the check. Nothing that was asked for before is given any more.
    void Find(const QStringList &paths, Check check, const Take &take);
    /// Whether something that was asked for is still to be given.
    [[nodiscard]] bool IsBusy() const { return m_thread.IsBusy(); }

    /// Checks: empty paths, and those that no system has, pass none.
    [[nodiscard]] static bool Exists(const QString &path);
    [[nodiscard]] static bool IsFile(const QString &path);
    [[nodiscard]] static bool IsFolder(const QString &path);

private:
    KilnUtil_FileThread m_thread;
};
