// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

/// The two streams of the console. Reading and printing is for the console's thread, which may have to wait
/// for the user; everybody else posts.
class Taskmill_ConsoleTerminal
{
public:
    /// A longer line is cut to this many bytes, and its rest is dropped.
    static constexpr int MaxLineBytes = 1039;

    /// Gives the words that may stand at the end of the line so far, each as the whole rest of the line from
    /// the position on which it is to replace.
    struct Completions
    {
        qsizetype position = 0;
        QStringList words;
    };
    using Completer = std::function<Completions(const QString &line)>;

    virtual ~Taskmill_ConsoleTerminal() = default;

    /// Prints the prompt and waits for a line, which is returned without its line feed. The end of the input
    /// is not an end: it waits for more. Nothing once Interrupt() was called.
    virtual std::optional<QString> ReadLine(const QString &prompt) = 0;

    /// Writes what was posted and then the text, in the local encoding, and waits until somebody has taken
    /// it. Nothing more is written once the user has broken off the command.
    virtual void Print(const QString &text) = 0;

    /// From any thread, without waiting: has the text written as soon as may be. A line that is being edited
    /// is put back behind it. Text beyond some megabytes that nobody reads is dropped, and a line says so.
    virtual void Post(const QString &text) = 0;

    /// Whether a user types the lines, who can be asked something, and not a program or a file.
    [[nodiscard]] virtual bool IsInteractive() const { return false; }

    /// Whether the user has broken off the command since its line was read.
    [[nodiscard]] virtual bool IsBrokenOff() { return false; }
    /// The key with which he does so; empty where there is none.
    [[nodiscard]] virtual QString BreakOffKey() const { return {}; }

    /// How many characters fit in a line; 0 when there is no such bound.
    [[nodiscard]] virtual int Columns() const { return 0; }

    /// From any thread: ends the waiting, and every later one.
    virtual void Interrupt() = 0;
    /// Whether ReadLine() waits on after Interrupt(), since the system cannot end its waiting.
    [[nodiscard]] virtual bool IsStillReading() const { return false; }

    /// Used by the Tab key where lines can be edited.
    void SetCompleter(Completer completer) { m_completer = std::move(completer); }
    /// Called on the reading thread when something other than input ends its waiting, for a thread that has
    /// to look after more than the console.
    void SetWakeHook(std::function<void()> hook) { m_wakeHook = std::move(hook); }
    /// Lines read while this is set are offered again by the arrow keys.
    void SetRemembersLines(bool remembers) { m_remembersLines = remembers; }

protected:
    void CallWakeHook() const
    {
        if (m_wakeHook)
            m_wakeHook();
    }

    Completer m_completer;
    std::function<void()> m_wakeHook;
    bool m_remembersLines = false;
};

/// Standard input and output: with line editing and history where both are a terminal, plain otherwise.
[[nodiscard]] std::unique_ptr<Taskmill_ConsoleTerminal> Taskmill_MakeConsoleTerminal();

/// Writes the bytes of the text in the local encoding to standard output at once, never as a format.
void Taskmill_WriteToStandardOutput(const QString &text);
