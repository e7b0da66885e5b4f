#pragma once

#include "service/consoleterminal.h"
#include "service/consoleterminal_plain.h"

#include <mutex>

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
    void Interrupt() override;

private:
    // libedit calls these with the terminal as its client data.
    static int ReadCharacter(editline *edit, wchar_t *character);
    static wchar_t *Prompt(editline *edit);
    static unsigned char Complete(editline *edit, int key);
    static unsigned char DiscardLine(editline *edit, int key);
    static Taskmill_EditTerminal &Of(editline *edit);

    [[nodiscard]] std::optional<wchar_t> NextCharacter();
    void PrintQueued(editline *edit);
    void SetUpEditor();
    void RememberLine(const std::wstring &line);
    [[nodiscard]] QString LineToCursor() const;
    void Insert(const QString &text);
    unsigned char CompleteLine();
    void ShowWords(const QStringList &words);

    Taskmill_InterruptibleInput m_input;
    editline *m_edit = nullptr;
    historyW *m_history = nullptr;
    std::wstring m_prompt;

    std::mutex m_mutex; ///< guards what follows
    bool m_editing = false;
    QString m_queued; ///< printed by the console's thread, between two keys
};
