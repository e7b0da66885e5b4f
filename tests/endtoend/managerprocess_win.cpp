// SPDX-License-Identifier: MIT
#include "endtoend/managerprocess.h"

void ManagerProcess::PrepareInput()
{
    if (m_input == Input::NullDevice)
        m_process->setStandardInputFile(QProcess::nullDevice());
}

void ManagerProcess::Signal(int) const
{
    m_process->kill();
}

void ManagerProcess::Type(const QByteArray &bytes)
{
    m_process->write(bytes);
}
