// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processrun.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

/// What has become of a run of which only the number is known.
struct KilnUtil_FoundRun
{
    enum class Place
    {
        Here,       ///< run: it goes on, or has ended; its end comes by its signal
        NotStarted, ///< whoever was to start it ended before, or its result was taken long since
        Elsewhere,  ///< it belongs to whom Owner names, who may still want it
    };

    Place Where = Place::NotStarted;
    std::unique_ptr<KilnUtil_ProcessRun> Run;
    qint64 StartMs = 0; ///< since 1970
    QString Owner;      ///< empty when nobody knows
};

/// Runs programs in such a way that they go on when this program ends, and finds them again.
class KilnUtil_RunKeepers : public QObject
{
    Q_OBJECT

public:
    /// Starts what is needed for that. Nothing where it cannot be had: the log says why. The folder is the
    /// keepers' own; it is made.
    [[nodiscard]] static std::unique_ptr<KilnUtil_RunKeepers> Make(const QString &program,
                                                                   const QString &folder);
    /// The name of the program.
    [[nodiscard]] static QString ProgramName();
    /// Their folder in one of the folders of this computer.
    [[nodiscard]] static QString FolderIn(const QString &machineFolder)
    {
        return machineFolder + QStringLiteral("/runs");
    }
    /// OutputOf() where there are no keepers at the moment.
    [[nodiscard]] static KilnUtil_StoredOutput OutputIn(const QString &folder, const QString &runID);

    /// The number of a run to come, to be stored before it is started: whoever knows it finds the run.
    [[nodiscard]] virtual QString NewRunID() const = 0;
    [[nodiscard]] virtual std::unique_ptr<KilnUtil_ProcessRun> NewRun(const QString &runID) = 0;

    /// Whom the runs belong to, those that are connected with this program too: a word that stays the same
    /// when it is started again, and a text for others. Both without blanks and colons.
    virtual void SetOwner(const QString &identity, const QString &text,
                          const std::function<bool(const QString &ownerText)> &mayTake) = 0;
    /// Looks for a run and takes it over. One that belongs to somebody of the same identity but with another
    /// text is taken over only when `mayTake` of that text says so.
    [[nodiscard]] virtual KilnUtil_FoundRun Find(const QString &runID) = 0;

    /// Reads what a keeper has stored of the output of that run, until its result is forgotten, on any
    /// thread, and also when this object is gone.
    [[nodiscard]] virtual std::function<KilnUtil_StoredOutput()> OutputOf(const QString &runID) const = 0;
    /// Reads the same piece by piece, in the same way.
    [[nodiscard]] virtual KilnUtil_PrintedReader ReaderOf(const QString &runID) const = 0;
    /// The result of that run is stored where it belongs, or will be with ForgetResults(): nobody needs what
    /// the keeper has stored.
    virtual void TakeResult(const QString &runID) = 0;
    /// Removes what keepers have stored of the results that were taken.
    virtual void ForgetResults() = 0;
    /// Has that done some time after TakeResult() each time, where what is stored stays without further ado.
    virtual void SetForgetsByItself(bool forgets) = 0;
    /// Where results are stored: what was stored last, and whether all up to there is on the disk. Until it
    /// is, no result is forgotten.
    struct Storage
    {
        std::function<qint64()> LastChange;
        std::function<bool(qint64 change)> IsStored;
    };
    virtual void SetStorage(Storage storage) = 0;

    /// Asks all runs of this program to end, as when the system is shut down, without waiting. Also off the
    /// main thread, and when no such object is there.
    static void EndRunsAtOnce();
    /// EndRunsAtOnce() does nothing from now on.
    static void SpareRuns();
};
