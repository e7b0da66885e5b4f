// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace Bench {
/// Nanoseconds of the clock that all processes share.
[[nodiscard]] qint64 Now();

/// Starts a program, waits for its end and returns its exit status; its output is dropped.
int Run(const QList<QByteArray> &command);

/// A real manager with an empty project whose job type "Veltra" runs bench_job in the long queue and whose
/// job type "Formchk" runs /bin/true, and the directory in which its jobs work.
class Manager
{
public:
    enum class Mode
    {
        Console,
        Window
    };

    /// Waits until it listens. With `project` it opens that file, and its queues are paused.
    explicit Manager(Mode mode, const QString &project = {});
    ~Manager();
    Q_DISABLE_COPY_MOVE(Manager)

    [[nodiscard]] quint16 Port() const { return m_port; }
    [[nodiscard]] double StartMilliSeconds() const { return m_startMs; }
    /// The path of an input file, which exists; see bench_job.
    [[nodiscard]] QByteArray File(const char *name) const;
    /// Lets the job of gate.dat end.
    void OpenGate() const;
    /// Types a command at the console.
    void Type(const QByteArray &command);

    /// The request of a job; with a port, its client is notified of the end there.
    [[nodiscard]] static QByteArray Request(const QByteArray &file, quint16 notificationPort = 0);
    /// The same of a job that runs /bin/true.
    [[nodiscard]] QByteArray TrueRequest(quint16 notificationPort = 0) const;
    /// Sends the request over a connection of its own; with `answer`, waits until it is accepted.
    void Submit(const QByteArray &request, bool answer) const;

    [[nodiscard]] double ResidentMegabytes() const;
    /// Clock ticks of processor time, and how often it was woken up.
    struct Work
    {
        long Ticks = 0;
        long WakeUps = 0;
    };
    [[nodiscard]] Work WorkSoFar() const;

private:
    [[nodiscard]] QByteArray Status(const char *file) const;

    QTemporaryDir m_directory;
    quint16 m_port = 0;
    QProcess m_process;
    double m_startMs = 0;
};

/// Takes notifications as they come.
class NotificationSink
{
public:
    NotificationSink();
    ~NotificationSink();
    Q_DISABLE_COPY_MOVE(NotificationSink)

    [[nodiscard]] quint16 Port() const { return m_port; }
    /// When each of the next notifications came.
    [[nodiscard]] QList<qint64> Take(int count) const;

private:
    int m_socket = -1;
    quint16 m_port = 0;
};
} // namespace Bench
