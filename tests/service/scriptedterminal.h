#pragma once

#include "service/consoleterminal.h"

#include <QStringList>

#include <condition_variable>
#include <mutex>
#include <utility>

/// Gives the lines that it is fed and records what is printed, prompts included. When there are no more lines
/// it waits for one or, told so, ends the reading.
class ScriptedTerminal final : public Taskmill_ConsoleTerminal
{
public:
    /// What is done when the lines are used up.
    enum class AtEnd
    {
        Wait,
        Interrupt
    };

    ScriptedTerminal(AtEnd atEnd, const QStringList &lines)
        : m_atEnd{atEnd}
        , m_lines{lines}
    {
    }

    void Feed(const QString &line)
    {
        const std::scoped_lock lock{m_mutex};
        m_lines.append(line);
        m_changed.notify_all();
    }
    /// Blocks, without an event loop, until all lines are taken.
    void WaitUntilTaken()
    {
        std::unique_lock lock{m_mutex};
        m_changed.wait(lock, [this] { return m_lines.isEmpty(); });
    }
    [[nodiscard]] QString Output()
    {
        const std::scoped_lock lock{m_mutex};
        return m_output;
    }
    /// The prompts whose answers are remembered.
    [[nodiscard]] QStringList RememberedPrompts()
    {
        const std::scoped_lock lock{m_mutex};
        return m_rememberedPrompts;
    }
    /// What the Tab key offers at the prompt where the lines were used up, each with what stays before it.
    [[nodiscard]] QStringList Complete(const QString &line) const
    {
        Completions completions = m_completerAtEnd(line);
        for (QString &word : completions.words)
            word.prepend(line.first(completions.position));
        return completions.words;
    }

    std::optional<QString> ReadLine(const QString &prompt) override
    {
        std::unique_lock lock{m_mutex};
        if (m_interrupted)
            return std::nullopt;
        m_output += prompt;
        if (m_remembersLines)
            m_rememberedPrompts += prompt;
        if (m_atEnd == AtEnd::Wait)
            m_changed.wait(lock, [this] { return m_interrupted || !m_lines.isEmpty(); });
        if (!m_interrupted && !m_lines.isEmpty()) {
            m_changed.notify_all();
            return m_lines.takeFirst();
        }
        if (!std::exchange(m_interrupted, true))
            m_completerAtEnd = m_completer;
        return std::nullopt;
    }
    void Print(const QString &text) override
    {
        const std::scoped_lock lock{m_mutex};
        m_output += text;
    }
    void Interrupt() override
    {
        const std::scoped_lock lock{m_mutex};
        m_interrupted = true;
        m_changed.notify_all();
    }

private:
    const AtEnd m_atEnd;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    QStringList m_lines;
    QString m_output;
    QStringList m_rememberedPrompts;
    Completer m_completerAtEnd;
    bool m_interrupted = false;
};
