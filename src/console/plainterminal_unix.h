// SPDX-License-Identifier: MIT
#pragma once

#include "console/consoleterminal.h"
#include "console/interruptibleinput_unix.h"
#include "console/interruptibleoutput_unix.h"

/// Reads lines as they come, without editing.
class Taskmill_PlainTerminal final : public Taskmill_ConsoleTerminal
{
public:
    Taskmill_PlainTerminal(int inputDescriptor, int outputDescriptor);

    std::optional<QString> ReadLine(const QString &prompt) override;
    void Print(const QString &text) override;
    void Post(const QString &text) override;
    void Interrupt() override;

private:
    Taskmill_InterruptibleInput m_input;
    Taskmill_InterruptibleOutput m_output;
};
