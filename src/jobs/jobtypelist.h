// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"

#include <QObject>
#include <QStringList>

class Taskmill_JobStore;

/// The application's job types in order, mirrored in the job database while one is open. The first match wins
/// wherever the list is searched.
class Taskmill_JobTypeList : public QObject
{
    Q_OBJECT

public:
    /// The store outlives the list.
    explicit Taskmill_JobTypeList(Taskmill_JobStore &store, QObject *parent = nullptr);

    /// Appends a copy and inserts the record into the open store, which writes its key into `jobType` only;
    /// then the list is read back from the store and the views are notified.
    void Add(Taskmill_JobType &jobType);
    /// Add(), checked: returns why the store did not take the job type as it is, in a sentence for the user;
    /// empty when it did.
    [[nodiscard]] QString TryToAdd(Taskmill_JobType jobType);
    /// The same for a stored job type that has been changed; the list has it after Refresh().
    [[nodiscard]] QString TryToUpdate(const Taskmill_JobType &jobType);
    /// Removes every equal entry, and its row from the open store. A row that cannot be removed stays in the
    /// list, which is reported to the user, as in RemoveAll().
    void Remove(const Taskmill_JobType &jobType);
    /// Removes every entry, and its row from the open store.
    void RemoveAll();
    /// Empties the list; the store keeps its rows.
    void Clear();
    /// Replaces the list by the records of the open store; leaves it when none is open. The views are
    /// notified when that changed the list, so they may call it while they refresh.
    void Refresh();

    /// Whether there is a store to be read and changed.
    [[nodiscard]] bool IsStoreOpen() const;
    [[nodiscard]] QList<Taskmill_JobType> GetAll() const;
    [[nodiscard]] QStringList Names() const;

    /// Adds the default type of every program that is installed.
    void AddDefaults();

Q_SIGNALS:
    /// The views of the job types are to be filled anew.
    void JobTypesChangedSignal();

private:
    bool ReadBack();
    [[nodiscard]] QString CompareWithStored(const Taskmill_JobType &jobType);
    void DeleteRow(const Taskmill_JobType &jobType, QStringList &kept);
    void ReportKept(const QStringList &names);

    Taskmill_JobStore &m_store;
    QList<Taskmill_JobType> m_jobTypes;
};
