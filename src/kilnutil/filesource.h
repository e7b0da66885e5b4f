// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/sharedfile.h"
#include "kilnutil/textsource.h"

#include <memory>

class QFile;

/// A file that other programs may write to, truncate, replace or delete while it is shown. It is read in
/// small pieces where it is looked at, so its size does not matter.
class KilnUtil_FileSource final : public KilnUtil_TextSource
{
public:
    explicit KilnUtil_FileSource(const QString &path);
    ~KilnUtil_FileSource() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_FileSource)

    /// False when there is no such regular file or when it may not be read.
    [[nodiscard]] bool Open() override;

    [[nodiscard]] qint64 End() const override { return m_status.size; }
    [[nodiscard]] QByteArray Read(qint64 offset, qint64 count) override;
    /// A deleted file stays readable (where the system allows it) until another one has its name.
    Change Refresh() override;
    [[nodiscard]] QString StateText() const override;

private:
    enum class State
    {
        Normal,
        NameGone,
        Replaced,
        Unreadable,
        WrittenAnew
    };

    [[nodiscard]] Change RefreshOpened();
    [[nodiscard]] Change Reopen();
    [[nodiscard]] QByteArray Marks(qint64 size);
    void Remember(const KilnUtil_SharedFile::Status &status);

    QString m_path;
    std::unique_ptr<QFile> m_file;
    KilnUtil_SharedFile::Status m_status;
    QByteArray m_marks; ///< what stood at the beginning and at the end, to recognise a file written anew
    State m_state = State::Normal;
};
