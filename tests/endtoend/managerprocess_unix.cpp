#include "endtoend/managerprocess.h"
#include "endtoend/pseudoterminal.h"

#include <csignal>

void ManagerProcess::PrepareInput()
{
    if (m_input == Input::Terminal) {
        m_terminal = std::make_shared<PseudoTerminal>();
        m_terminal->Attach(*m_process);
        QObject::connect(m_terminal.get(), &PseudoTerminal::OutputSignal, m_process.get(),
                         [this](const QByteArray &bytes) { m_output += bytes; });
    } else if (m_input == Input::NullDevice) {
        m_process->setStandardInputFile(QProcess::nullDevice());
    }
}

void ManagerProcess::Type(const QByteArray &bytes)
{
    if (m_terminal)
        m_terminal->Type(bytes);
    else
        m_process->write(bytes);
}

void ManagerProcess::Signal(int signal) const
{
    kill(ProcessID(), signal);
}
