// SPDX-License-Identifier: MIT
#include "ctl/submitoptions.h"

#include "ctl/filename.h"
#include "ctl/managercommands.h"
#include "ctl/options.h"
#include "ctl/output.h"
#include "ctl/platform.h"
#include "wire/protocol.h"
#include "wire/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <system_error>

namespace {
/// An option whose value goes into the request as it stands.
struct TextOption
{
    std::string_view name;
    std::string_view key;
    std::string_view description;
};

constexpr std::array textOptions{
    TextOption{"type", "jobtypename", "Name of the job type; without it the file's extension decides."},
    TextOption{"name", "jobname", "Name of the job instead of the file's name."},
};

/// What the job takes, in place of what its input says.
struct NumberOption
{
    std::string_view name;
    std::string_view key;
    std::int64_t most;
    std::string_view description;
};

constexpr std::array numberOptions{
    NumberOption{"cores", "jobcores", Taskmill_WireMostCores,
                 "Cores that the job takes, where its input says something else."},
    NumberOption{"memory", "jobmemory", Taskmill_WireMostMemoryMB,
                 "Memory that the job takes, in MB of 2^20 bytes, the same."},
};

struct FileOption
{
    std::string_view name;
    std::string_view key;
    bool isRead;    ///< must exist
    bool isWritten; ///< must not be shared by several jobs
    std::string_view description;
};

constexpr std::array fileOptions{
    FileOption{"input2", "jobinputfile2", true, false, "Second input file."},
    FileOption{"stdin", "jobstandardinputfile", true, false, "File that the job reads as standard input."},
    FileOption{"stdout", "jobstandardoutputfile", false, true, "File that receives the standard output."},
    FileOption{"output", "joboutputfile", false, true, "Output file."},
    FileOption{"chk", "jobchkfile", false, false, "Checkpoint file."},
    FileOption{"chk1", "jobchkfile1", false, false, "Second checkpoint file."},
};

constexpr double mostSeconds = 1e9; // some thirty years

std::string LowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

void ReplaceAll(std::string &text, std::string_view old, std::string_view replacement)
{
    for (std::size_t at = text.find(old); at != std::string::npos;
         at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
}

/// Fills the options; each step says in m_error what is wrong.
class Reader
{
public:
    explicit Reader(const Taskmill_CtlOptions &given)
        : m_given{given}
    {
    }

    [[nodiscard]] bool Read()
    {
        m_options.Wait = m_given.IsSet("wait");
        m_options.Json = m_given.IsSet("json");
        m_options.Raw = m_given.IsSet("raw");
        m_options.Result = m_given.IsSet("result");
        m_options.Confirm = m_given.IsSet("confirm");
        return ReadTimeout() && ReadInputFiles() && ReadTexts() && ReadNumbers() && ReadQueue() &&
               ReadFiles() && ReadPlaceholders();
    }

    Taskmill_SubmitOptions m_options;
    std::string m_error;

private:
    bool Fail(const std::string &error)
    {
        m_error = error;
        return false;
    }

    bool AddLine(std::string_view key, const std::string &value)
    {
        if (Taskmill_HasLineBreak(value))
            return Fail("a line feed cannot be sent: " + value);
        if (!Taskmill_IsUtf8(value))
            return Fail("this is not UTF-8 and cannot be sent: " + value);
        m_options.Lines.append(key).append("=").append(value).append("\n");
        return true;
    }

    bool CheckPath(const std::string &given, const std::string &path)
    {
        const std::string problem = Taskmill_ProblemOfFileName(given, path);
        return problem.empty() || Fail(problem);
    }

    bool CheckReadable(const std::string &given, const std::string &path)
    {
        std::error_code error;
        const auto status = std::filesystem::status(Taskmill_PathOf(path), error);
        if (!std::filesystem::exists(status))
            return Fail("the file does not exist: " + given);
        if (std::filesystem::is_directory(status))
            return Fail("this is a directory, not a file: " + given);
        return Taskmill_CtlPlatform::IsReadable(path) || Fail("the file is not readable: " + given);
    }

    bool ReadTimeout()
    {
        if (!m_given.IsSet("timeout"))
            return true;
        const std::string text = m_given.Value("timeout");
        double seconds = 0;
        const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        // Also what is no number at all fails the comparisons.
        if (error != std::errc{} || stop != text.data() + text.size() ||
            !(seconds >= 0 && seconds <= mostSeconds))
            return Fail("--timeout needs a number of seconds: " + text);
        m_options.Timeout =
            std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>{seconds});
        return true;
    }

    bool ReadInputFiles()
    {
        for (const std::string &given : m_given.Positional()) {
            const std::string path = Taskmill_AbsolutePath(given);
            if (!CheckPath(given, path) || !CheckReadable(given, path))
                return false;
            m_options.Files.push_back({.Given = given, .Path = path});
        }
        return true;
    }

    bool ReadTexts()
    {
        const std::string type = m_given.Value("type");
        if (!m_given.IsSet("type"))
            m_options.Lines += "jobtypename=Auto\n";
        else if (type.empty())
            return Fail("--type needs a name");
        else if (LowerCase(type) != "auto")
            m_options.JobType = type;
        if (!m_options.JobType.empty())
            m_options.Lines.append(Taskmill_WireExactJobType).append("\n");
        for (const TextOption &option : textOptions) {
            if (m_given.IsSet(option.name) && !AddLine(option.key, m_given.Value(option.name)))
                return false;
        }
        if (m_options.Confirm)
            m_options.Lines += "confirmaction=yes\n";
        return true;
    }

    bool ReadNumbers()
    {
        for (const NumberOption &option : numberOptions) {
            if (!m_given.IsSet(option.name))
                continue;
            const std::string text = m_given.Value(option.name);
            std::int64_t number = 0;
            const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            if (error != std::errc{} || stop != text.data() + text.size() || number < 1 ||
                number > option.most)
                return Fail("--" + std::string{option.name} + " needs a number from 1 to " +
                            std::to_string(option.most) + ": " + text);
            if (!AddLine(option.key, text))
                return false;
        }
        return true;
    }

    bool ReadQueue()
    {
        if (!m_given.IsSet("queue"))
            return true;
        const std::string queue = m_given.Value("queue");
        const std::string word = LowerCase(queue);
        if (word != "auto" && std::ranges::find(Taskmill_WireQueues, word) == Taskmill_WireQueues.end())
            return Fail("--queue needs long, short, queueless (or none) or auto");
        return AddLine("jobqueue", queue);
    }

    bool ReadFiles()
    {
        for (const FileOption &option : fileOptions) {
            if (!m_given.IsSet(option.name))
                continue;
            if (option.isWritten && m_options.Files.size() > 1)
                return Fail("--" + std::string{option.name} +
                            " would be written by several jobs; submit one file at a time");
            const std::string given = m_given.Value(option.name);
            const std::string path = Taskmill_AbsolutePath(given);
            if (!CheckPath(given, path) || (option.isRead && !CheckReadable(given, path)) ||
                !AddLine(option.key, path))
                return false;
        }
        return true;
    }

    bool ReadPlaceholders()
    {
        for (std::string pair : m_given.Values("set")) {
            const std::size_t equals = pair.find('=');
            if (!pair.starts_with('@') || equals == std::string::npos || equals < 2 ||
                Taskmill_HasLineBreak(std::string_view{pair}.substr(0, equals)))
                return Fail("--set needs @NAME=VALUE: " + pair);
            ReplaceAll(pair, "\r\n", "\n");
            ReplaceAll(pair, "\n", "_;_");
            if (!AddLine(pair.substr(0, equals), pair.substr(equals + 1)))
                return false;
        }
        return true;
    }

    const Taskmill_CtlOptions &m_given;
};
} // namespace

std::vector<Taskmill_CtlOption> Taskmill_SubmitOptions::Options()
{
    std::vector<Taskmill_CtlOption> options;
    options.reserve(textOptions.size() + numberOptions.size() + fileOptions.size() + 10);
    for (const TextOption &option : textOptions)
        options.push_back({std::string{option.name}, "NAME", std::string{option.description}});
    options.push_back({"queue", "QUEUE", "Queue of the job: long, short, queueless (or none) or auto."});
    for (const NumberOption &option : numberOptions)
        options.push_back({std::string{option.name}, "N", std::string{option.description}});
    for (const FileOption &option : fileOptions)
        options.push_back({std::string{option.name}, "FILE", std::string{option.description}});
    options.push_back({"set", "@NAME=VALUE",
                       "Value of a placeholder of the job type, such as @NPROCS=4. May be repeated."});
    options.push_back(Taskmill_NotBeforeOption());
    options.push_back(Taskmill_AfterOption());
    options.push_back({"confirm", "", "Let the user of the manager's window confirm the job."});
    options.push_back({"wait", "", "Wait until the jobs have ended and print how each of them has."});
    options.push_back({"result", "", "With --wait, print what the calculation of each job came to, too."});
    options.push_back({"timeout", "SECONDS", "Wait no longer than this for answers and ends of jobs."});
    options.push_back({"raw", "", "With --wait, print the manager's own lines on the end of each job."});
    options.push_back({"json", "", "Print one JSON object a line."});
    return options;
}

std::optional<Taskmill_SubmitOptions> Taskmill_SubmitOptions::Read(const Taskmill_CtlOptions &options)
{
    const std::optional<std::string> conditions = Taskmill_ConditionLines(options);
    if (!conditions)
        return std::nullopt;
    Reader reader{options};
    if (reader.Read()) {
        reader.m_options.Lines += *conditions;
        return std::move(reader.m_options);
    }
    Taskmill_PrintError(reader.m_error);
    return std::nullopt;
}
