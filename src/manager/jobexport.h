// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSaveFile>
#include <QTimer>

#include <functional>

/// Writes jobs into a file, some in each turn of the event loop, and then ends itself. The file is replaced
/// when all of them are written, or stays as it was, which is reported.
class Taskmill_JobExport final : public QObject
{
    Q_OBJECT

public:
    /// The job of that place; nullptr for one that is no longer there, which is left out.
    using JobAt = std::function<const Taskmill_JobRecord *(qsizetype place)>;

    /// Begins to write so many jobs. Its name says in which form, see Taskmill_ExportDialogue. Belongs to the
    /// parent until it ends; what it is given for a while belongs to that, too.
    static Taskmill_JobExport *Begin(const QString &file, qsizetype count, const JobAt &jobAt,
                                     QObject *parent);

    /// One line: the names of the values in a file of the form CSV, as in JSON, and those of a job. Texts are
    /// quoted where they must be; one that a spreadsheet would take for a formula has an apostrophe before
    /// it.
    [[nodiscard]] static QString CsvHeader();
    [[nodiscard]] static QString CsvLine(const Taskmill_JobRecord &job);

Q_SIGNALS:
    void FinishedSignal(bool isWritten);

private:
    Taskmill_JobExport(const QString &file, qsizetype count, JobAt jobAt, QObject *parent);

    void StepSlot();
    void Write(const Taskmill_JobRecord &job);
    void End();

    QSaveFile m_file;
    const qsizetype m_count;
    const JobAt m_jobAt;
    const bool m_isJson;
    qsizetype m_place = 0;
    bool m_hasWritten = false; ///< a job
    QTimer m_timer;
};
