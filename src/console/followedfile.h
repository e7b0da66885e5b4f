// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>

class KilnUtil_FileSource;
struct Taskmill_JobRecord;

/// The file that a job writes, from the moment on at which its program has begun it.
class Taskmill_FollowedFile
{
public:
    /// How much of what was written before is read, in bytes.
    static constexpr qint64 MostAtFirst = 4096;

    explicit Taskmill_FollowedFile(const Taskmill_JobRecord &job);
    ~Taskmill_FollowedFile();
    Q_DISABLE_COPY_MOVE(Taskmill_FollowedFile)

    /// Looks for it; true when it has just been found.
    bool Find();
    [[nodiscard]] bool IsFound() const { return m_source != nullptr; }
    [[nodiscard]] QString Path() const { return m_path; }
    /// What is new in it.
    [[nodiscard]] QByteArray Take();

private:
    [[nodiscard]] bool IsOfThisRun(const QString &path) const;

    const QStringList m_paths;
    const QDateTime m_earliest;
    QString m_path;
    std::unique_ptr<KilnUtil_FileSource> m_source;
    qint64 m_offset = 0;
};
