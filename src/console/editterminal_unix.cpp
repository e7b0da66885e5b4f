// SPDX-License-Identifier: MIT
#include "console/editterminal_unix.h"

#include <cstdio>

#include <histedit.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int linesRemembered = 500;

/// The longest text that all words begin with.
QString CommonBeginning(const QStringList &words)
{
    QString common = words.first();
    for (const QString &word : words) {
        qsizetype equal = 0;
        while (equal < qMin(common.size(), word.size()) && common[equal] == word[equal])
            ++equal;
        common.truncate(equal);
    }
    return common;
}

termios TerminalMode()
{
    termios mode{};
    tcgetattr(STDIN_FILENO, &mode);
    return mode;
}

/// A stream whose bytes go to the output, so that the editor can be interrupted too where it writes.
std::FILE *StreamTo(Taskmill_InterruptibleOutput &output)
{
    cookie_io_functions_t functions{};
    functions.write = [](void *cookie, const char *bytes, size_t size) {
        const auto count = static_cast<ssize_t>(size);
        static_cast<Taskmill_InterruptibleOutput *>(cookie)->Write(QByteArrayView{bytes, count});
        return count;
    };
    return fopencookie(&output, "w", functions);
}
} // namespace

Taskmill_EditTerminal::Taskmill_EditTerminal()
    : m_modeBefore{TerminalMode()}
    , m_input{STDIN_FILENO}
    , m_output{STDOUT_FILENO,
               [this] {
                   CallWakeHook();
               }}
    , m_interruptKey{[this] {
        m_output.BreakOff();
    }}
    , m_editorsOutput{StreamTo(m_output)}
    , m_edit{el_init_fd("taskmill", stdin, m_editorsOutput, stderr, STDIN_FILENO, STDOUT_FILENO,
                        STDERR_FILENO)}
    , m_history{history_winit()}
{
    HistEventW event{};
    history_w(m_history, &event, H_SETSIZE, linesRemembered);
    history_w(m_history, &event, H_SETUNIQUE, 1);
    if (m_edit)
        SetUpEditor();
}

Taskmill_EditTerminal::~Taskmill_EditTerminal()
{
    history_wend(m_history);
    if (m_edit)
        el_end(m_edit);
    if (m_editorsOutput)
        std::fclose(m_editorsOutput);
}

void Taskmill_EditTerminal::SetUpEditor()
{
    el_wset(m_edit, EL_CLIENTDATA, this);
    el_wset(m_edit, EL_SIGNAL, 0);
    el_wset(m_edit, EL_EDITOR, L"emacs");
    el_wset(m_edit, EL_HIST, history_w, m_history);
    el_wset(m_edit, EL_PROMPT_ESC, Prompt, L'\1');
    el_wset(m_edit, EL_GETCFN, ReadCharacter);
    // At the prompt the interrupt key clears the line: a slip must not end calculations of days.
    el_wset(m_edit, EL_SETTY, L"-d", L"-isig", nullptr);
    el_wset(m_edit, EL_ADDFN, L"taskmill-complete", L"Complete the word", Complete);
    el_wset(m_edit, EL_ADDFN, L"taskmill-discard-line", L"Discard the line", DiscardLine);
    el_wset(m_edit, EL_BIND, L"^I", L"taskmill-complete", nullptr);
    el_wset(m_edit, EL_BIND, L"^C", L"taskmill-discard-line", nullptr);
    el_wset(m_edit, EL_BIND, L"^R", L"em-inc-search-prev", nullptr);
    el_wset(m_edit, EL_BIND, L"\033[1;5C", L"em-next-word", nullptr);
    el_wset(m_edit, EL_BIND, L"\033[1;5D", L"ed-prev-word", nullptr);
    el_wset(m_edit, EL_BIND, L"\033[3~", L"ed-delete-next-char", nullptr);
    // The end-of-input key is not an end either.
    el_wset(m_edit, EL_BIND, L"^D", L"ed-delete-next-char", nullptr);
}

Taskmill_EditTerminal &Taskmill_EditTerminal::Of(editline *edit)
{
    void *data = nullptr;
    el_wget(edit, EL_CLIENTDATA, &data);
    return *static_cast<Taskmill_EditTerminal *>(data);
}

wchar_t *Taskmill_EditTerminal::Prompt(editline *edit)
{
    return Of(edit).m_prompt.data();
}

std::optional<QString> Taskmill_EditTerminal::ReadLine(const QString &prompt)
{
    if (!m_edit || m_input.IsInterrupted())
        return std::nullopt;
    if (m_output.Resume())
        m_output.Write("\n");
    // The editor redraws its prompt, which must not hold the line feeds before it.
    const qsizetype lastLine = prompt.lastIndexOf(u'\n') + 1;
    Print(prompt.first(lastLine));
    m_prompt = prompt.sliced(lastLine).toStdWString();
    int count = 0;
    const wchar_t *text = el_wgets(m_edit, &count);
    // The key may have been pressed before it became one of the editor's.
    m_output.Resume();
    if (!text || m_input.IsInterrupted())
        return std::nullopt;
    std::wstring line{text, static_cast<size_t>(qMax(count, 0))};
    if (!line.empty() && line.back() == L'\n')
        line.pop_back();
    if (m_remembersLines)
        RememberLine(line);
    QByteArray bytes = QString::fromStdWString(line).toLocal8Bit();
    bytes.truncate(MaxLineBytes);
    return QString::fromLocal8Bit(bytes);
}

void Taskmill_EditTerminal::RememberLine(const std::wstring &line)
{
    if (line.find_first_not_of(L" \t") == std::wstring::npos)
        return;
    HistEventW event{};
    history_w(m_history, &event, H_ENTER, line.c_str());
}

void Taskmill_EditTerminal::Print(const QString &text)
{
    m_output.WritePosted();
    m_output.WriteOfCommand(text.toLocal8Bit());
}

void Taskmill_EditTerminal::Post(const QString &text)
{
    m_output.Post(text);
    m_input.Wake();
}

void Taskmill_EditTerminal::PrintPosted(editline *edit)
{
    if (!m_output.HasPosted())
        return;
    // It goes above the line that is being edited.
    m_output.Write("\r\033[K");
    m_output.WritePosted();
    el_wset(edit, EL_REFRESH);
}

int Taskmill_EditTerminal::Columns() const
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void Taskmill_EditTerminal::Interrupt()
{
    m_interruptKey.Release();
    m_input.Interrupt();
    m_output.Interrupt();
    // Without an event loop the program ends before the editor has put the mode back.
    tcsetattr(STDIN_FILENO, TCSANOW, &m_modeBefore);
}

void Taskmill_EditTerminal::Show(const QString &text)
{
    std::fflush(m_editorsOutput);
    m_output.Write(text.toLocal8Bit());
}

int Taskmill_EditTerminal::ReadCharacter(editline *edit, wchar_t *character)
{
    Taskmill_EditTerminal &terminal = Of(edit);
    while (!terminal.m_input.IsInterrupted()) {
        std::fflush(terminal.m_editorsOutput);
        if (const std::optional<wchar_t> next = terminal.NextCharacter()) {
            *character = *next;
            return 1;
        }
        terminal.CallWakeHook();
        terminal.PrintPosted(edit);
    }
    return 0;
}

std::optional<wchar_t> Taskmill_EditTerminal::NextCharacter()
{
    for (;;) {
        const std::optional<char> byte = m_input.ReadByte();
        if (!byte)
            return std::nullopt;
        wchar_t character = 0;
        const size_t result = std::mbrtowc(&character, &*byte, 1, &m_characterState);
        if (result == static_cast<size_t>(-2))
            continue;
        // Bytes that are no character of the local encoding are passed over.
        if (result == static_cast<size_t>(-1))
            m_characterState = {};
        else
            return character;
    }
}

unsigned char Taskmill_EditTerminal::DiscardLine(editline *edit, int)
{
    const LineInfoW *line = el_wline(edit);
    const auto length = static_cast<int>(line->lastchar - line->buffer);
    Of(edit).Show(length == 0 ? u"\n(type quit to end Taskmill)\n"_s : u"^C\n"_s);
    el_cursor(edit, static_cast<int>(line->lastchar - line->cursor));
    el_wdeletestr(edit, length);
    return CC_REDISPLAY;
}

QString Taskmill_EditTerminal::LineToCursor() const
{
    const LineInfoW *line = el_wline(m_edit);
    return QString::fromWCharArray(line->buffer, line->cursor - line->buffer);
}

void Taskmill_EditTerminal::Insert(const QString &text)
{
    el_winsertstr(m_edit, text.toStdWString().c_str());
}

unsigned char Taskmill_EditTerminal::Complete(editline *edit, int)
{
    return Of(edit).CompleteLine();
}

unsigned char Taskmill_EditTerminal::CompleteLine()
{
    if (!m_completer)
        return CC_ERROR;
    const QString line = LineToCursor();
    const Completions completions = m_completer(line);
    if (completions.words.isEmpty())
        return CC_ERROR;
    const QString typed = line.sliced(completions.position);
    const QString common = CommonBeginning(completions.words);
    if (common.size() > typed.size()) {
        Insert(common.sliced(typed.size()));
        return CC_REFRESH;
    }
    if (completions.words.size() > 1)
        Show(u'\n' + completions.words.join(u'\n') + u'\n');
    return CC_REDISPLAY;
}
