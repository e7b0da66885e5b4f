// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class Taskmill_JobTypeList;
class Taskmill_ProcessWorker;
enum class Taskmill_Kill;

/// The half of the running-processes tab that needs no window: the processes of this computer, as last read,
/// all of them or only those whose program is the executable of a known job type.
class Taskmill_RunningJobs : public QObject
{
    Q_OBJECT

public:
    /// Both outlive this.
    Taskmill_RunningJobs(Taskmill_ProcessInspector &inspector, Taskmill_JobTypeList &jobTypes);
    ~Taskmill_RunningJobs() override;
    Q_DISABLE_COPY_MOVE(Taskmill_RunningJobs)

    [[nodiscard]] const QList<Taskmill_ProcessRecord> &Processes() const { return m_processes; }

    [[nodiscard]] bool OnlyShowsKnownJobTypes() const { return m_onlyKnown; }
    /// Takes effect with the next reading.
    void SetOnlyShowKnownJobTypes(bool onlyKnown) { m_onlyKnown = onlyKnown; }

    /// What reads the processes that are to be shown now. It takes its time, may be called on any thread
    /// while this lives, and is given up where the system lets it once an interruption of that thread is
    /// requested.
    using Reading = std::function<QList<Taskmill_ProcessRecord>()>;
    [[nodiscard]] Reading PrepareReading() const;
    /// Takes the processes over and returns the listing of them that the console prints; with a width, made
    /// to fit a terminal of so many columns.
    [[nodiscard]] QString ListingText(const QList<Taskmill_ProcessRecord> &processes, int width = 0);

    /// Reads the processes afresh on another thread; RefreshedSignal() says when it is done. While a reading
    /// is under way, one more follows it, however often this is called. Nothing follows them on its own.
    void RefreshInBackground();
    /// Ends what is asked for on that thread. A refresh in the background that is asked for later shows what
    /// is left.
    void KillInBackground(const Taskmill_ProcessRecord &process, Taskmill_Kill kill);
    /// Whether a reading in the background is under way.
    [[nodiscard]] bool IsReading() const { return m_reading; }

Q_SIGNALS:
    /// Processes() has been read in the background. When IsReading(), another reading has begun.
    void RefreshedSignal();

private Q_SLOTS:
    void ListedSlot(const QList<Taskmill_ProcessRecord> &processes);

private:
    void StartReading();
    [[nodiscard]] Taskmill_ProcessWorker &Worker();
    [[nodiscard]] std::optional<QStringList> ExecutablesToShow() const;

    Taskmill_ProcessInspector &m_inspector;
    Taskmill_JobTypeList &m_jobTypes;
    QList<Taskmill_ProcessRecord> m_processes;
    std::unique_ptr<Taskmill_ProcessWorker> m_worker; ///< made when it is first needed
    bool m_onlyKnown = true;
    bool m_reading = false;
    bool m_readAgain = false;
};
