// SPDX-License-Identifier: MIT
#pragma once

#include "console/consoleterminal.h"
#include "console/interruptibleinput_unix.h"
#include "console/interruptibleoutput_unix.h"
#include "console/interruptkey_unix.h"

#include <cstdio>
#include <cwchar>

#include <termios.h>

struct editline;
struct historyW;

/// Lines of a terminal that can be edited, with history and completion, by libedit.
class Taskmill_EditTerminal final : public Taskmill_ConsoleTerminal
{
public:
    Taskmill_EditTerminal();
    ~Taskmill_EditTerminal() override;
    Q_DISABLE_COPY_MOVE(Taskmill_EditTerminal)

    std::optional<QString> ReadLine(const QString &prompt) override;
    void Print(const QString &text) override;
    void Post(const QString &text) override;
    [[nodiscard]] bool IsBrokenOff() override { return m_output.IsBrokenOff(); }
    [[nodiscard]] QString BreakOffKey() const override { return QStringLiteral("Ctrl+C"); }
    [[nodiscard]] bool IsInteractive() const override { return true; }
    [[nodiscard]] int Columns() const override;
    void Interrupt() override;

private:
    // libedit calls these with the terminal as its client data.
    static int ReadCharacter(editline *edit, wchar_t *character);
    static wchar_t *Prompt(editline *edit);
    static unsigned char Complete(editline *edit, int key);
    static unsigned char DiscardLine(editline *edit, int key);
    static Taskmill_EditTerminal &Of(editline *edit);

    [[nodiscard]] std::optional<wchar_t> NextCharacter();
    void PrintPosted(editline *edit);
    void SetUpEditor();
    void RememberLine(const std::wstring &line);
    [[nodiscard]] QString LineToCursor() const;
    void Insert(const QString &text);
    unsigned char CompleteLine();
    /// Writes behind what the editor has written.
    void Show(const QString &text);

    const termios m_modeBefore;
    Taskmill_InterruptibleInput m_input;
    Taskmill_InterruptibleOutput m_output;
    Taskmill_InterruptKey m_interruptKey; ///< breaks off commands
    std::FILE *const m_editorsOutput;     ///< leads to m_output
    editline *m_edit = nullptr;
    historyW *m_history = nullptr;
    std::wstring m_prompt;
    std::mbstate_t m_characterState{}; ///< of a character of several bytes that is not complete yet
};
