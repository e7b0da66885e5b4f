#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <memory>

class QProcess;

/// The other side of a terminal in which a program runs: what it writes appears here, what is typed here it
/// reads.
class PseudoTerminal : public QObject
{
    Q_OBJECT

public:
    PseudoTerminal();
    ~PseudoTerminal() override;
    Q_DISABLE_COPY_MOVE(PseudoTerminal)

    /// To be called before the process is started: it gets the terminal as its input, output and controlling
    /// terminal, leading a session of its own.
    void Attach(QProcess &process) const;
    void Type(const QByteArray &bytes) const;
    /// As when the user closes the window.
    void HangUp();
    /// Whether keys are echoed, lines collected and Ctrl+C is a signal, as a program finds and must leave it.
    [[nodiscard]] bool IsInItsNormalMode() const;

Q_SIGNALS:
    void OutputSignal(const QByteArray &bytes);

private:
    void ReadSlot();

    int m_master = -1;
    int m_slave = -1; ///< kept open, so that the mode can be asked when the program has ended
    std::unique_ptr<QSocketNotifier> m_notifier;
};
