#pragma once

#include "ctl/ctlrun.h"

#include <QProcess>

#include <memory>

class PseudoTerminal;

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

    /// Starts the manager and waits until it answers and has shown its first prompt. False when it does not.
    [[nodiscard]] bool Start(const QStringList &arguments = {QStringLiteral("-console")});
    /// Starts it with its window on the desktop that these variables (NAME=VALUE) name, and waits until its
    /// port answers. False when it does not.
    [[nodiscard]] bool StartOnDesktop(const QStringList &variables, const QStringList &arguments);
    /// Starts it without waiting, on these ports.
    void Launch(const QStringList &arguments, quint16 consolePort, quint16 guiPort);
    /// Two ports that were free a moment ago.
    [[nodiscard]] static std::pair<quint16, quint16> FreePorts();

    [[nodiscard]] quint16 Port() const { return m_desktop.isEmpty() ? m_consolePort : m_guiPort; }
    /// Whether somebody listens on the port.
    [[nodiscard]] bool Answers() const;
    [[nodiscard]] int ProcessID() const { return static_cast<int>(m_process->processId()); }
    [[nodiscard]] PseudoTerminal &Terminal() { return *m_terminal; }

    /// Sends bytes to standard input as they are.
    void Type(const QByteArray &bytes);
    void CloseInput() { m_process->closeWriteChannel(); }
    /// Waits until the text has been written to standard output, and takes everything up to its end. Empty,
    /// with a warning that shows what came instead, when it does not come.
    QByteArray ReadUntil(const QByteArray &text);
    /// The same, telling only whether it came.
    [[nodiscard]] bool Expect(const QByteArray &text) { return !ReadUntil(text).isEmpty(); }
    /// Types a line that leads back to the prompt; returns what was written before that.
    QByteArray Command(const QByteArray &line);
    /// Types a line and waits for the text.
    [[nodiscard]] bool Ask(const QByteArray &line, const QByteArray &text);

    /// Not on Windows, as a terminal for the input.
    void Signal(int signal) const;
    /// Waits for the end.
    [[nodiscard]] ManagerEnd End();
    /// Types "quit" and the answers, and waits for the end.
    [[nodiscard]] ManagerEnd Quit(const QByteArrayList &answers = {"yes", "no"});
    /// What it wrote to standard error.
    [[nodiscard]] QByteArray Errors() const;
    /// What it wrote to standard output that was not taken yet.
    [[nodiscard]] QByteArray Output() const { return m_output; }

    /// Runs the client against this manager.
    [[nodiscard]] CtlResult Ctl(const QStringList &arguments) const;
    /// Sends one request that asks for an answer; returns the answer.
    [[nodiscard]] QByteArray Request(const QByteArray &lines) const;
    /// Sends one request for a job and returns the manager's answer. The job's end is told to the port unless
    /// it is 0.
    [[nodiscard]] QByteArray Submit(const QString &jobType, const QString &inputFile,
                                    const QString &queue = {}, quint16 notificationPort = 0) const;

private:
    [[nodiscard]] bool HasStarted();
    /// Gives the process what it is to read from, before it is started.
    void PrepareInput();

    const QString m_directory;
    const Input m_input;
    std::shared_ptr<PseudoTerminal> m_terminal;
    std::unique_ptr<QProcess> m_process;
    QStringList m_desktop;
    quint16 m_consolePort = 0;
    quint16 m_guiPort = 0;
    QByteArray m_output;
};
