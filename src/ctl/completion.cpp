// SPDX-License-Identifier: MIT
#include "ctl/completion.h"

#include "ctl/commandhelp.h"
#include "ctl/jsonline.h"
#include "ctl/managerfinder.h"
#include "ctl/managerlink.h"
#include "options/slurmoptiontable.h"
#include "options/startoptiontable.h"
#include "wire/protocol.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace {
using Words = std::vector<std::string>;

/// Nobody waits longer for a shell.
constexpr int patienceMs = 1000;

/// What a name in the tables stands for, where that is one of a few words.
struct Choices
{
    std::string_view name;
    std::string_view words; ///< separated by blanks
};
constexpr std::array choices{
    Choices{"QUEUE", "long short"},         Choices{"LIST", "long short queueless finished all"},
    Choices{"WHERE", "up down top bottom"}, Choices{"WHICH", "low normal"},
    Choices{"HOURS", "22:00-06:00 off"},
};
/// The same of options.
constexpr std::array optionChoices{Choices{"QUEUE", "long short queueless none"}};

constexpr std::string_view waitingLists = "long short queueless";
constexpr std::string_view allLists = "long short queueless finished";

Words Split(std::string_view text, char separator)
{
    Words parts;
    std::istringstream stream{std::string{text}};
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

class Completer
{
public:
    explicit Completer(Words words)
        : m_words{std::move(words)}
    {
        if (m_words.empty())
            m_words.emplace_back();
        m_current = m_words.back();
        m_words.pop_back();
    }

    std::string CompleteManager()
    {
        m_files = "projects";
        for (const Taskmill_StartOption &option : Taskmill_StartOptionTable)
            AddStartOption(option);
        return Text();
    }

    std::string CompleteSlurm()
    {
        m_files = "files";
        const auto needsValue = [this](const Taskmill_SlurmOption &option) {
            return !option.Value.empty() && !m_words.empty() &&
                   m_words.back() == "--" + std::string{option.Name};
        };
        const bool isProgram = std::ranges::find(m_words, "--") != m_words.end();
        if (isProgram || std::ranges::any_of(Taskmill_SlurmOptionTable, needsValue))
            return Text();
        for (const Taskmill_SlurmOption &option : Taskmill_SlurmOptionTable)
            Add("--" + std::string{option.Name}, option.Purpose);
        return Text();
    }

    std::string CompleteClient()
    {
        JoinEquals();
        const Taskmill_CtlCommand *command = Find();
        if (!command || (m_words.size() == WordsOf(*command) && IsBegunByOthers(*command)))
            AddCommands();
        if (command)
            CompleteCommand(*command);
        return Text();
    }

private:
    static std::size_t WordsOf(const Taskmill_CtlCommand &command) { return Split(command.Name, ' ').size(); }

    void Add(std::string_view word, std::string_view meaning = {})
    {
        if (!word.starts_with(m_current) || word.find('\n') != word.npos)
            return;
        m_text.append(word);
        if (!meaning.empty())
            m_text.append("\t").append(meaning);
        m_text += '\n';
    }

    void AddAll(std::string_view words, std::string_view prefix = {})
    {
        for (const std::string &word : Split(words, ' '))
            Add(std::string{prefix} + word);
    }

    [[nodiscard]] std::string Text() const
    {
        // The line feed at its end is the printer's.
        std::string text = std::string{m_files} + '\n' + m_text;
        text.pop_back();
        return text;
    }

    void AddStartOption(const Taskmill_StartOption &option)
    {
        const std::string name{option.Name};
        if (option.Value.empty())
            Add(name, option.Purpose);
        else if (option.Value.find('|') == option.Value.npos)
            Add(name + '=', option.Purpose);
        for (const std::string &value : Split(option.Value, '|')) {
            if (option.Value.find('|') != option.Value.npos)
                Add(std::string{name}.append("=").append(value), option.Purpose);
        }
    }

    /// Some shells make words of their own of the sign that joins an option and its value.
    void JoinEquals()
    {
        std::erase(m_words, "=");
        if (m_current == "=")
            m_current.clear();
    }

    /// The longest one that the words name.
    [[nodiscard]] const Taskmill_CtlCommand *Find() const
    {
        const Taskmill_CtlCommand *found = nullptr;
        for (const Taskmill_CtlCommand &command : Taskmill_CtlCommands) {
            const Words name = Split(command.Name, ' ');
            if (name.size() <= m_words.size() && std::equal(name.begin(), name.end(), m_words.begin()) &&
                (!found || found->Name.size() < command.Name.size()))
                found = &command;
        }
        return found;
    }

    /// Whether the name of another command goes on behind its own.
    static bool IsBegunByOthers(const Taskmill_CtlCommand &command)
    {
        return std::ranges::any_of(Taskmill_CtlCommands, [&command](const Taskmill_CtlCommand &other) {
            return other.Name.starts_with(std::string{command.Name} + ' ');
        });
    }

    void AddCommands()
    {
        for (const Taskmill_CtlCommand &command : Taskmill_CtlCommands) {
            const Words name = Split(command.Name, ' ');
            if (m_words.size() < name.size() && std::equal(m_words.begin(), m_words.end(), name.begin()))
                AddOnce(name[m_words.size()], name.size() == m_words.size() + 1 ? command.Purpose : "");
        }
        if (m_words.empty()) {
            Add("--help", "Show the commands.");
            Add("--version", "Show the version.");
        }
    }

    /// Two commands of two words may have the same first one.
    void AddOnce(const std::string &word, std::string_view meaning)
    {
        if (std::ranges::find(m_offered, word) == m_offered.end())
            Add(word, meaning);
        m_offered.push_back(word);
    }

    void CompleteCommand(const Taskmill_CtlCommand &command)
    {
        const std::vector<Taskmill_CtlOption> options = Taskmill_OptionsOf(command);
        Words given{m_words.begin() + static_cast<Words::difference_type>(WordsOf(command)), m_words.end()};
        const auto takesValue = [&options](const std::string &word) {
            const auto option = std::ranges::find(
                options, word.starts_with("--") ? word.substr(2) : std::string{}, &Taskmill_CtlOption::Name);
            return option == options.end() || option->Value.empty() ? nullptr : &*option;
        };
        if (const auto *option = given.empty() ? nullptr : takesValue(given.back()))
            return CompleteValue(*option, command, {});
        if (const std::size_t equals = m_current.find('='); equals != m_current.npos) {
            if (const auto *option = takesValue(m_current.substr(0, equals)))
                CompleteValue(*option, command, m_current.substr(0, equals + 1));
            return;
        }
        if (m_current.starts_with('-')) {
            for (const Taskmill_CtlOption &option : options)
                Add("--" + option.Name, option.Description);
            return;
        }
        Words arguments;
        for (std::size_t at = 0; at < given.size(); ++at) {
            if (takesValue(given[at]))
                ++at;
            else if (!given[at].starts_with('-'))
                arguments.push_back(given[at]);
        }
        CompleteArgument(command, arguments);
    }

    void CompleteValue(const Taskmill_CtlOption &option, const Taskmill_CtlCommand &command,
                       const std::string &prefix)
    {
        if (option.Value == "FILE" || option.Value == "PATH")
            m_files = option.Name == "project" ? "projects" : "files";
        else if (option.Name == "type")
            AddTypes(prefix);
        else if (option.Name == "after")
            AddJobs(allLists, prefix);
        for (const Choices &choice : optionChoices) {
            if (choice.name == option.Value)
                AddAll(choice.words, prefix);
        }
        if (option.Name == "queue" && command.Name == "submit")
            Add(prefix + "auto");
    }

    /// The argument that comes behind those that are there.
    void CompleteArgument(const Taskmill_CtlCommand &command, const Words &before)
    {
        const std::size_t position = before.size();
        const Words arguments = Split(command.Arguments, ' ');
        for (std::size_t at = 0; at < arguments.size(); ++at) {
            const auto isRepeatedAt = [&arguments](std::size_t place) {
                return arguments[place].find("...") != std::string::npos;
            };
            const bool isRepeated = isRepeatedAt(at);
            const bool isBehindRepeated = at > 0 && isRepeatedAt(at - 1);
            if (at == position || (isRepeated && position > at) || (isBehindRepeated && position >= at))
                CompleteArgument(command, arguments[at], before);
        }
    }

    void CompleteArgument(const Taskmill_CtlCommand &command, std::string argument, const Words &before)
    {
        std::erase_if(argument, [](char c) { return c == '[' || c == ']' || c == '.'; });
        const bool isOnFiles = argument == "FILE" || argument == "INPUT";
        if (isOnFiles || command.Name == "project create")
            m_files = command.IsOnProjects || command.Name == "save" ? "projects" : "files";
        // Of a limit it is no job.
        if (argument == "N" && command.Name != "limit")
            AddJobs(command.Name == "job" || command.Name == "show" ? allLists : waitingLists, {},
                    command.Name == "kill" ? "Running" : "");
        for (const Choices &choice : choices) {
            if (choice.name == argument)
                AddAll(choice.words);
        }
        if (argument == "LIMIT")
            AddLimits(before);
    }

    /// Those of a budget, each with its number behind it.
    void AddLimits(const Words &before)
    {
        if (before.empty())
            Add("off");
        if (before.size() % 2 != 0)
            return;
        for (const std::string_view limit : {"cores", "memory"}) {
            if (std::ranges::find(before, limit) == before.end())
                Add(limit);
        }
    }

    /// The lines of JSON that the manager answers; none when there is none.
    Words Ask(const std::string &lines)
    {
        if (m_hasNoManager)
            return {};
        Taskmill_CtlOptions options{Taskmill_ManagerOptions()};
        Words chosen;
        for (const std::string &word : m_words) {
            if (word == "--gui" || word == "--console" || word.starts_with("--port="))
                chosen.push_back(word);
        }
        const auto manager = options.Read(chosen) && Taskmill_CheckManagerOptions(options)
                                 ? Taskmill_FindManager(options, Taskmill_ManagerChoice::ConsoleFirst)
                                 : std::nullopt;
        const auto answer =
            manager ? Taskmill_AnswerOf(*manager, lines + std::string{Taskmill_WireAnswersJson} + '\n',
                                        patienceMs)
                    : std::nullopt;
        m_hasNoManager = !answer;
        return answer ? Split(*answer, '\n') : Words{};
    }

    void AddTypes(const std::string &prefix)
    {
        for (const std::string &line : Ask("action=listjobtypes\n")) {
            const std::string name = Taskmill_JsonField(line, "name");
            if (!name.empty())
                Add(prefix + name, Taskmill_JsonField(line, "executablepath"));
        }
    }

    /// With a status, only jobs that have it.
    void AddJobs(std::string_view lists, const std::string &prefix, std::string_view status = {})
    {
        for (const std::string &list : Split(lists, ' ')) {
            for (const std::string &line :
                 Ask("action=listjobs\n" + std::string{Taskmill_WireJobList} + list + '\n')) {
                const std::string number = Taskmill_JsonField(line, "id");
                const std::string state = Taskmill_JsonField(line, "status");
                if (!number.empty() && (status.empty() || status == state))
                    Add(prefix + number, Taskmill_JsonField(line, "name") + " (" + state + ')');
            }
        }
    }

    Words m_words;
    std::string m_current;
    std::string m_text;
    std::string_view m_files = "words";
    Words m_offered;
    bool m_hasNoManager = false;
};
} // namespace

std::string Taskmill_Completions(const std::vector<std::string> &words)
{
    const std::string program = words.empty() ? std::string{} : words.front();
    const std::string name = program.substr(program.find_last_of("/\\") + 1);
    Completer completer{words.empty() ? words : Words{words.begin() + 1, words.end()}};
    if (name == "taskmill-slurm")
        return completer.CompleteSlurm();
    return name == "taskmill" ? completer.CompleteManager() : completer.CompleteClient();
}
