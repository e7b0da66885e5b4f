// SPDX-License-Identifier: MIT
#include "ctl/managercommands.h"

#include "ctl/filename.h"
#include "ctl/managerfinder.h"
#include "ctl/managerlink.h"
#include "ctl/output.h"
#include "ctl/platform.h"
#include "wire/protocol.h"
#include "wire/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>

namespace {
using Options = Taskmill_CtlOptions;

/// The lines of a request; nothing, with a message, when the arguments are wrong.
using Lines = std::optional<std::string>;

struct Command
{
    std::string_view name;
    std::string_view action;
    std::string_view options; ///< names, separated by blanks
    Lines (*lines)(const Options &options);
};

Lines WrongUsage(const std::string &text)
{
    Taskmill_PrintError(text);
    return std::nullopt;
}

/// The line of a number within these bounds.
Lines NumberLine(std::string_view key, const std::string &text, int least, const std::string &what,
                 std::int64_t most = std::numeric_limits<int>::max())
{
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || stop != text.data() + text.size() || number < least || number > most)
        return WrongUsage(what + " must be a number from " + std::to_string(least) + " to " +
                          std::to_string(most) + ": " + text);
    return std::string{key} + std::to_string(number) + '\n';
}

Lines WordLine(std::string_view key, const std::string &word, const std::vector<std::string> &words)
{
    if (std::ranges::find(words, word) != words.end())
        return std::string{key} + word + '\n';
    std::string known;
    for (const std::string &one : words)
        known += (known.empty() ? "" : ", ") + one;
    return WrongUsage("not one of " + known + ": " + word);
}

Lines JobLine(const Options &options)
{
    return Taskmill_JobNumberLine(options.Positional().front());
}

Lines QueueLine(const Options &options)
{
    return WordLine(Taskmill_WireQueueName, options.Positional().front(), {"long", "short"});
}

Lines ListLines(const Options &options)
{
    std::string lines;
    if (!options.Positional().empty() && options.Positional().front() != "all") {
        Lines list = WordLine(Taskmill_WireJobList, options.Positional().front(),
                              {"long", "short", "queueless", "finished", "all"});
        if (!list)
            return list;
        lines += *list;
    }
    if (options.IsSet("since")) {
        Lines since = NumberLine(Taskmill_WireJobsSince, options.Value("since"), 0, "--since");
        if (!since)
            return since;
        lines += *since;
    }
    return lines;
}

Lines RemoveLines(const Options &options)
{
    Lines lines = JobLine(options);
    if (lines && options.IsSet("running"))
        lines->append(Taskmill_WireTakesRunning).append("\n");
    return lines;
}

/// The line of the numbers; the last so many arguments are something else.
Lines JobsLine(const Options &options, std::size_t others)
{
    std::string line{Taskmill_WireJobNumbers};
    for (std::size_t place = 0; place + others < options.Positional().size(); ++place) {
        Lines job = Taskmill_JobNumberLine(options.Positional()[place]);
        if (!job)
            return job;
        line.append(place == 0 ? "" : ",").append(options.Positional()[place]);
    }
    return line + '\n';
}

Lines MoveLines(const Options &options)
{
    const Lines move =
        WordLine(Taskmill_WireMove, options.Positional().back(), {"up", "down", "top", "bottom"});
    const Lines jobs = move ? JobsLine(options, 1) : move;
    return jobs ? Lines{*jobs + *move} : jobs;
}

Lines HoldLines(const Options &options)
{
    const Lines conditions = Taskmill_ConditionLines(options);
    const Lines jobs = conditions ? JobsLine(options, 0) : conditions;
    return jobs ? Lines{*jobs + *conditions} : jobs;
}

Lines ReleaseLines(const Options &options)
{
    return JobsLine(options, 0);
}

Lines PauseLines(const Options &options)
{
    Lines lines = QueueLine(options);
    if (lines && options.IsSet("when-ended"))
        lines->append(Taskmill_WirePauseLater).append("\n");
    return lines;
}

Lines QuietLines(const Options &options)
{
    const std::string &hours = options.Positional().front();
    if (hours.find_first_not_of("0123456789:-of") != std::string::npos)
        return WrongUsage("quiet hours are two times, such as 22:00-06:30, or off: " + hours);
    return std::string{Taskmill_WireQuietHours} + hours + '\n';
}

Lines PriorityLines(const Options &options)
{
    return WordLine(Taskmill_WireJobPriority, options.Positional().front(), {"low", "normal"});
}

Lines LimitLines(const Options &options)
{
    const Lines queue = QueueLine(options);
    const Lines limit =
        queue ? NumberLine(Taskmill_WireQueueLimit, options.Positional()[1], 1, "a limit") : std::nullopt;
    return limit ? Lines{*queue + *limit} : std::nullopt;
}

/// The manager reads it; that it cannot be read is said here, too, as wrong usage.
Lines BudgetLines(const Options &options)
{
    const std::vector<std::string> &words = options.Positional();
    if (words.empty())
        return std::string{};
    std::string text;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const bool isNumber = at % 2 == 1;
        Lines line = isNumber ? NumberLine({}, words[at], 1, "a budget's " + words[at - 1],
                                           words[at - 1] == "memory" ? Taskmill_WireMostMemoryMB
                                                                     : Taskmill_WireMostCores)
                              : WordLine({}, words[at], {"off", "cores", "memory"});
        if (!line)
            return line;
        text += (text.empty() ? "" : " ") + words[at];
    }
    if (words.size() % 2 != (words.front() == "off" ? 1U : 0U))
        return WrongUsage("a budget is off, cores N, memory M or both: " + text);
    return std::string{Taskmill_WireBudget} + text + '\n';
}

Lines SaveLines(const Options &options)
{
    std::string lines;
    if (!options.Positional().empty()) {
        const std::string &name = options.Positional().front();
        const std::string file = Taskmill_AbsolutePath(name);
        if (const std::string problem = Taskmill_ProblemOfFileName(name, file); !problem.empty())
            return WrongUsage(problem);
        lines.append(Taskmill_WireSaveFile).append(file).append("\n");
    }
    if (options.IsSet("force"))
        lines.append(Taskmill_WireReplaces).append("\n");
    return lines;
}

Lines QuitLines(const Options &options)
{
    std::string lines;
    if (options.IsSet("force"))
        lines.append(Taskmill_WireReplaces).append("\n");
    if (options.IsSet("keep"))
        lines.append(Taskmill_WireKeepsJobs).append("\n");
    return lines;
}

Lines NoLines(const Options & /*options*/)
{
    return std::string{};
}

constexpr std::array commands{
    Command{"list", "listjobs", "since", ListLines},
    Command{"job", "showjob", "", JobLine},
    Command{"kill", "killjob", "", JobLine},
    Command{"remove", "removejob", "running", RemoveLines},
    Command{"move", "movejob", "", MoveLines},
    Command{"hold", "holdjob", "not-before after", HoldLines},
    Command{"release", "releasejob", "", ReleaseLines},
    Command{"pause", "pausequeue", "when-ended", PauseLines},
    Command{"estimate", "estimatequeue", "", QueueLine},
    Command{"quiet", "setquiethours", "", QuietLines},
    Command{"priority", "setpriority", "", PriorityLines},
    Command{"unpause", "unpausequeue", "", QueueLine},
    Command{"limit", "limitqueue", "", LimitLines},
    Command{"budget", "budget", "", BudgetLines},
    Command{"save", "saveproject", "force", SaveLines},
    Command{"types", "listjobtypes", "project", NoLines},
    Command{"quit", "quit", "force keep", QuitLines},
};

const Command *Find(std::string_view name)
{
    const auto found = std::ranges::find(commands, name, &Command::name);
    return found == commands.end() ? nullptr : &*found;
}
} // namespace

bool Taskmill_IsManagerCommand(std::string_view name)
{
    return Find(name) != nullptr;
}

std::vector<Taskmill_CtlOption> Taskmill_ManagerCommandOptions(std::string_view name)
{
    const std::array<Taskmill_CtlOption, 8> known{{
        {"when-ended", "", "Pause it when the jobs that are in it now have ended."},
        Taskmill_NotBeforeOption(),
        Taskmill_AfterOption(),
        {"since", "N", "Only jobs with a number beyond N."},
        {"running", "", "Remove the job also when it runs, which kills it."},
        {"force", "",
         name == "quit" ? "End also when the project was never saved to a file: it is lost then."
                        : "Replace another file that is there, or one that another program has changed."},
        {"keep", "", "Let running jobs go on."},
        {"project", "FILE", "List the job types of this project file; no manager is asked."},
    }};
    std::vector<Taskmill_CtlOption> options;
    const std::string_view own = Find(name) ? Find(name)->options : std::string_view{};
    std::ranges::copy_if(known, std::back_inserter(options), [own](const Taskmill_CtlOption &option) {
        return own.find(option.Name) != own.npos;
    });
    options.push_back({"json", "", "Print JSON."});
    return options;
}

Taskmill_CtlStatus Taskmill_ManagerCommand(std::string_view name, const Taskmill_CtlOptions &options)
{
    const Command *command = Find(name);
    const Lines lines = command->lines(options);
    if (!lines || !Taskmill_CheckManagerOptions(options))
        return Taskmill_CtlStatus::WrongUsage;
    const auto manager = Taskmill_FindManager(options, Taskmill_ManagerChoice::ConsoleFirst);
    if (!manager)
        return Taskmill_CtlStatus::NoManager;
    std::string message = "action=" + std::string{command->action} + '\n' + *lines;
    if (options.IsSet("json"))
        message.append(Taskmill_WireAnswersJson).append("\n");
    else if (const int width = Taskmill_CtlPlatform::TerminalWidth(); width > 0)
        message += std::string{Taskmill_WireAnswerWidth} + std::to_string(width) + '\n';
    const std::optional<std::string> answer = Taskmill_AnswerOf(*manager, message);
    if (!answer)
        return Taskmill_CtlStatus::NoManager;
    if (answer->empty()) {
        Taskmill_PrintError("the manager has gone away without an answer");
        return Taskmill_CtlStatus::NoManager;
    }
    const std::size_t end = std::min(answer->find('\n'), answer->size());
    const std::string first = answer->substr(0, end);
    if (first.starts_with(Taskmill_WireRefused)) {
        Taskmill_PrintError(std::string{name} + " was refused: " +
                            Taskmill_Utf8FromAny(first.substr(Taskmill_WireRefused.size())));
        return Taskmill_CtlStatus::Refused;
    }
    if (!first.starts_with(Taskmill_WireAccepted)) {
        Taskmill_PrintError("the manager's answer cannot be understood");
        return Taskmill_CtlStatus::NoManager;
    }
    Taskmill_CtlPlatform::Write(stdout, answer->substr(std::min(end + 1, answer->size())));
    return Taskmill_CtlStatus::Success;
}

Taskmill_CtlOption Taskmill_NotBeforeOption()
{
    return {"not-before", "TIME",
            "Start no job before: \"2031-12-24 18:30\", 18:30 for the next such time, +90m, +2h or +1d."};
}

Taskmill_CtlOption Taskmill_AfterOption()
{
    return {"after", "N", "Start no job before job N has ended well."};
}

std::optional<std::string> Taskmill_ConditionLines(const Taskmill_CtlOptions &options)
{
    std::string lines;
    if (options.IsSet("not-before")) {
        const std::string time = options.Value("not-before");
        const bool isText = !time.empty() && time.find('\n') == std::string::npos && Taskmill_IsUtf8(time);
        if (!isText)
            return WrongUsage("--not-before needs a time: " + time);
        lines += std::string{Taskmill_WireNotBefore} + time + '\n';
    }
    if (options.IsSet("after")) {
        Lines after = NumberLine(Taskmill_WireAfterJob, options.Value("after"), 1, "--after");
        if (!after)
            return after;
        lines += *after;
    }
    return lines;
}

std::optional<std::string> Taskmill_JobNumberLine(const std::string &number)
{
    return NumberLine(Taskmill_WireJobNumber, number, 1, "the number of a job");
}
