// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QTimer>

/// Removes the rows of finished jobs that are off the list from the open database: little by little, as many
/// would hold up the event loop, and all that come together as one change of the project.
class Taskmill_FinishedRowRemoval final : public QObject
{
    Q_OBJECT

public:
    Taskmill_FinishedRowRemoval();

    /// Removes the first of these rows at once and the others in later turns of the event loop. Rows that
    /// cannot be removed are reported and stay.
    void Add(const QList<qint64> &keys);
    [[nodiscard]] bool IsAtWork() const { return !m_keys.isEmpty(); }
    /// Removes at once what is still to be removed.
    void Finish();
    /// Does without the rest, because the database is closed or is another one.
    void Forget();

private:
    void RemoveSome(int longestMs);
    void ReportKeptRows() const;

    QList<qint64> m_keys;    ///< in rising order
    bool m_isCounted = true; ///< as one change of the project
    QTimer m_timer;
};
