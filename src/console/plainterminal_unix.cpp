// SPDX-License-Identifier: MIT
#include "console/plainterminal_unix.h"

Taskmill_PlainTerminal::Taskmill_PlainTerminal(int inputDescriptor, int outputDescriptor)
    : m_input{inputDescriptor}
    , m_output{outputDescriptor, [this] {
                   CallWakeHook();
               }}
{
}

std::optional<QString> Taskmill_PlainTerminal::ReadLine(const QString &prompt)
{
    Print(prompt);
    QByteArray line;
    while (!m_input.IsInterrupted()) {
        m_output.WritePosted();
        const std::optional<char> byte = m_input.ReadByte();
        if (!byte)
            CallWakeHook();
        else if (*byte == '\n')
            return QString::fromLocal8Bit(line);
        else if (line.size() < MaxLineBytes)
            line += *byte;
    }
    return std::nullopt;
}

void Taskmill_PlainTerminal::Print(const QString &text)
{
    m_output.WritePosted();
    m_output.WriteOfCommand(text.toLocal8Bit());
}

void Taskmill_PlainTerminal::Post(const QString &text)
{
    m_output.Post(text);
    m_input.Wake();
}

void Taskmill_PlainTerminal::Interrupt()
{
    m_input.Interrupt();
    m_output.Interrupt();
}
