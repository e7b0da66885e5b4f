// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class KilnUtil_RunKeepers;
class Taskmill_Database;

/// The project file that such an owner's text stands for; empty for a project that was never saved.
[[nodiscard]] QString Taskmill_PathOfRunOwner(const QString &text);

/// Whose the runs of keepers are: those of the open project, by an identity that the project stores and its
/// file, by which a copy of the project is told from the project.
class Taskmill_ProjectRuns
{
public:
    /// The keepers outlive this; nullptr where there are none, and nothing is done then.
    explicit Taskmill_ProjectRuns(KilnUtil_RunKeepers *keepers)
        : m_keepers{keepers}
    {
    }

    /// Gives the project an identity when it has none. The path is empty for one that was never saved.
    void BelongTo(Taskmill_Database &database, const QString &path);
    /// The project is that file from now on.
    void MoveTo(const QString &path) const;
    /// Whether what is stored in the open database stays, also when this program is killed.
    void SetDurable(bool isDurable) const;
    /// What the user must know when the jobs since the last save are lost: what of them still runs.
    [[nodiscard]] QString LostJobsNotice(int firstNumber) const;
    /// What ended is stored where it stays, or not wanted: the keepers' own results are forgotten.
    void ForgetResults() const;

private:
    KilnUtil_RunKeepers *m_keepers;
    QString m_identity;
};
