// SPDX-License-Identifier: MIT
#pragma once

#include <QSaveFile>

class KilnUtil_TextSource;

/// Copies a source into a file in small steps, so that a window stays alive meanwhile. Only a complete copy
/// replaces a file that was there; an abandoned one leaves nothing behind.
class KilnUtil_TextSaver
{
public:
    enum class Result
    {
        Saving,
        Saved,
        Failed
    };

    /// The source belongs to the caller and must stay; what is appended during the copying is left out.
    KilnUtil_TextSaver(KilnUtil_TextSource &source, const QString &path);

    /// Copies the next block; the first step also opens the file.
    Result Step();

    [[nodiscard]] QString Path() const { return m_file.fileName(); }
    /// Why it has failed.
    [[nodiscard]] QString ErrorText() const;
    /// 0 to 100.
    [[nodiscard]] int Percent() const;

private:
    KilnUtil_TextSource &m_source;
    QSaveFile m_file;
    qint64 m_begin;
    qint64 m_place;
    qint64 m_end;
    bool m_sourceFailed = false;
};
