// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/ctlrun.h"

#include <QProcess>

#include <functional>
#include <memory>

struct PseudoTerminal;

/// How a run of the manager came to its end.
struct ManagerEnd
{
    int status = -1; ///< -1 when it did not end by itself
    int signal = 0;  ///< that ended it
    bool operator==(const ManagerEnd &) const = default;
};

/// One run of the real manager, with settings, home directory and ports of its own and, unless it is started
/// on a desktop, without a display. Ended when this is destroyed.
class ManagerProcess
{
public:
    enum class Input
    {
        Pipe,
        Terminal,
        NullDevice
    };

    /// The directory, which must exist, takes the settings and becomes the current and the home directory.
    explicit ManagerProcess(QString directory, Input input = Input::Pipe);
    ~ManagerProcess();
    Q_DISABLE_COPY_MOVE(ManagerProcess)

    /// Starts the manager and waits until its port answers and it has shown its first prompt; or its window,
    /// without a prompt, on the desktop that these variables (NAME=VALUE) name. False when it does not.
    [[nodiscard]] bool Start(const QStringList &arguments, const QStringList &desktop = {});
    /// Starts it without waiting, on these ports.
    void Launch(const QStringList &arguments, quint16 consolePort, quint16 guiPort);
    /// Two ports that were free a moment ago.
    [[nodiscard]] static std::pair<quint16, quint16> FreePorts();

    [[nodiscard]] quint16 Port() const { return m_desktop.isEmpty() ? m_consolePort : m_guiPort; }
    [[nodiscard]] int ProcessID() const { return static_cast<int>(m_process->processId()); }

    /// Sends bytes to standard input as they are.
    void Type(const QByteArray &bytes);
    void CloseInput() { m_process->closeWriteChannel(); }
    /// Waits until the text has been written to standard output, and takes everything up to its end. False,
    /// with a warning that shows what came instead, when it does not come.
    [[nodiscard]] bool Expect(const QByteArray &text);
    /// Types a line and waits for the text.
    [[nodiscard]] bool Ask(const QByteArray &line, const QByteArray &text);
    /// Types a line that leads back to the prompt; returns what was written before that.
    QByteArray Command(const QByteArray &line);

    /// On Windows there is none, and the manager is ended by force.
    void Signal(int signal) const;
    /// These are not on Windows, nor is a terminal for the input.
    /// As when the user closes the terminal's window.
    void HangUp();
    /// Whether keys are echoed, lines collected and Ctrl+C is a signal, as a program finds and must leave it.
    [[nodiscard]] bool IsTerminalInItsNormalMode() const;
    /// Waits for the end.
    [[nodiscard]] ManagerEnd End();
    /// Types "quit" and the answers, and waits for the end.
    [[nodiscard]] ManagerEnd Quit(const QByteArrayList &answers = {"yes", "no"});
    /// What it wrote to standard error.
    [[nodiscard]] QByteArray Errors() const;
    /// What it wrote up to its first prompt.
    [[nodiscard]] QByteArray Greeting() const { return m_greeting; }
    /// What it wrote to standard output that was not taken yet.
    [[nodiscard]] QByteArray Output() const { return m_output; }

    /// In which programs find this manager and its key.
    [[nodiscard]] QProcessEnvironment ClientEnvironment() const;
    /// Runs the client against this manager.
    [[nodiscard]] CtlResult Ctl(const QStringList &arguments) const;
    /// Sends one request for a job and returns the manager's answer. The job's end is notified to the port
    /// unless it is 0.
    [[nodiscard]] QByteArray Submit(const QString &jobType, const QString &inputFile,
                                    const QString &queue = {}, quint16 notificationPort = 0) const;

private:
    [[nodiscard]] bool Answers() const;
    /// Takes its place on Windows: under Wine a QProcess at times learns no more of what comes through a
    /// pipe.
    [[nodiscard]] QString OutputFile() const { return m_directory + QStringLiteral("/stdout"); }
    void TakeOutput();
    /// False when it takes too long.
    [[nodiscard]] bool WaitFor(const std::function<bool()> &isThere);
    [[nodiscard]] bool HasEnded() const { return m_process->state() == QProcess::NotRunning; }
    /// Gives the process what it is to read from, before it is started.
    void PrepareInput();

    const QString m_directory;
    const Input m_input;
    std::shared_ptr<PseudoTerminal> m_terminal;
    std::unique_ptr<QProcess> m_process;
    QStringList m_desktop;
    quint16 m_consolePort = 0;
    quint16 m_guiPort = 0;
    QByteArray m_greeting;
    QByteArray m_output;
    qint64 m_taken = 0; ///< of the file
};
