// SPDX-License-Identifier: MIT
#include "slurm/arguments.h"

#include "options/slurmoptiontable.h"

#include <algorithm>
#include <array>
#include <span>

namespace {
using Arguments = Taskmill_SlurmArguments;

/// What an option of that name does.
struct Taker
{
    std::string_view name;
    bool (*take)(Arguments &arguments, const std::string &value);
};

template <std::string Arguments::*member>
bool TakeText(Arguments &arguments, const std::string &value)
{
    arguments.*member = value;
    return !value.empty();
}

template <std::string Arguments::*member>
bool TakeNumber(Arguments &arguments, const std::string &value)
{
    arguments.*member = value;
    return value == Arguments::OfInput || Arguments::IsNumber(value);
}

template <std::vector<std::string> Arguments::*member>
bool TakeOneMore(Arguments &arguments, const std::string &value)
{
    (arguments.*member).push_back(value);
    return !value.empty();
}

/// ssh would take it for an option.
bool TakeHost(Arguments &arguments, const std::string &value)
{
    arguments.host = value;
    return !value.empty() && !value.starts_with('-');
}

bool TakeScratch(Arguments &arguments, const std::string &value)
{
    arguments.scratch = value;
    return value.starts_with('/');
}

bool TakeSbatch(Arguments &arguments, const std::string &value)
{
    const std::optional<std::vector<std::string>> words = Taskmill_SplitWords(value);
    if (words)
        arguments.sbatchOptions.insert(arguments.sbatchOptions.end(), words->begin(), words->end());
    return words.has_value();
}

/// One word that is handed on as it is: what ToList() makes of the option above.
bool TakeSbatchWord(Arguments &arguments, const std::string &value)
{
    arguments.sbatchOptions.push_back(value);
    return true;
}

template <Arguments::Task task>
bool TakeFolder(Arguments &arguments, const std::string &value)
{
    arguments.task = task;
    arguments.folder = value;
    return !value.empty();
}

template <Arguments::Task task>
bool TakeTask(Arguments &arguments, const std::string &)
{
    arguments.task = task;
    return true;
}

/// What ToList() writes besides, and nobody else.
constexpr std::string_view sbatchWord = "sbatch-word";

constexpr std::array takers{
    Taker{"host", &TakeHost},
    Taker{"scratch", &TakeScratch},
    Taker{"copy", &TakeOneMore<&Arguments::copies>},
    Taker{"partition", &TakeText<&Arguments::partition>},
    Taker{"cores", &TakeNumber<&Arguments::cores>},
    Taker{"memory", &TakeNumber<&Arguments::memory>},
    Taker{"time", &TakeText<&Arguments::time>},
    Taker{"sbatch", &TakeSbatch},
    Taker{"prepare", &TakeOneMore<&Arguments::prepareLines>},
    Taker{"resume", &TakeFolder<Arguments::Task::Resume>},
    Taker{"cancel", &TakeFolder<Arguments::Task::Cancel>},
    Taker{"cancellations", &TakeTask<Arguments::Task::RepeatCancellations>},
    Taker{"check", &TakeTask<Arguments::Task::Check>},
    Taker{"help", &TakeTask<Arguments::Task::Help>},
    Taker{"version", &TakeTask<Arguments::Task::Version>},
    Taker{sbatchWord, &TakeSbatchWord},
};
static_assert(takers.size() == Taskmill_SlurmOptionTable.size() + 1);
static_assert(std::ranges::equal(Taskmill_SlurmOptionTable, std::span{takers}.first(takers.size() - 1), {},
                                 &Taskmill_SlurmOption::Name, &Taker::name));

bool HasValue(std::string_view name)
{
    const auto option = std::ranges::find(Taskmill_SlurmOptionTable, name, &Taskmill_SlurmOption::Name);
    return option == Taskmill_SlurmOptionTable.end() || !option->Value.empty();
}

/// `position` is that of the option, and moves on to that of its value.
std::string TakeOption(Arguments &result, const std::vector<std::string> &arguments, std::size_t &position)
{
    const std::string &argument = arguments[position];
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const auto taker = std::ranges::find_if(
        takers, [&name](const Taker &one) { return name == "--" + std::string{one.name}; });
    if (taker == takers.end())
        return "unknown option " + name;
    const bool hasValue = HasValue(taker->name);
    if (!hasValue && equals != std::string::npos)
        return name + " takes no value";
    if (hasValue && equals == std::string::npos && ++position == arguments.size())
        return name + " needs a value";
    std::string value;
    if (hasValue)
        value = equals == std::string::npos ? arguments[position] : argument.substr(equals + 1);
    return taker->take(result, value) ? std::string{} : "\"" + value + "\" is no value of " + name;
}
} // namespace

std::optional<Arguments> Taskmill_SlurmArguments::Read(const std::vector<std::string> &arguments,
                                                       std::string &error)
{
    Arguments result;
    std::size_t position = 0;
    for (; position < arguments.size() && arguments[position].starts_with("--"); ++position) {
        if (arguments[position] == "--") {
            ++position;
            break;
        }
        error = TakeOption(result, arguments, position);
        if (!error.empty())
            return std::nullopt;
    }
    result.command.assign(arguments.begin() +
                              static_cast<std::ptrdiff_t>(std::min(position, arguments.size())),
                          arguments.end());
    if (result.task == Task::Submit && result.command.empty())
        error = "there is no program to run";
    return error.empty() ? std::optional{result} : std::nullopt;
}

bool Taskmill_SlurmArguments::IsNumber(std::string_view text)
{
    constexpr std::size_t mostDigits = 9;
    return !text.empty() && text.size() <= mostDigits &&
           std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; }) && text != "0";
}

std::vector<std::string> Taskmill_SlurmArguments::ToList() const
{
    std::vector<std::string> list;
    const auto add = [&list](std::string_view name, const std::string &value) {
        if (!value.empty())
            list.push_back("--" + std::string{name} + '=' + value);
    };
    add("host", host);
    add("scratch", scratch);
    for (const std::string &copy : copies)
        add("copy", copy);
    add("partition", partition);
    add("cores", cores);
    add("memory", memory);
    add("time", time);
    for (const std::string &option : sbatchOptions)
        list.push_back("--" + std::string{sbatchWord} + '=' + option);
    for (const std::string &line : prepareLines)
        add("prepare", line);
    list.emplace_back("--");
    list.insert(list.end(), command.begin(), command.end());
    return list;
}

std::string Taskmill_SlurmArguments::HelpText()
{
    constexpr std::size_t column = 24;
    std::string text =
        "Usage: taskmill-slurm [OPTIONS] -- PROGRAM ARGUMENTS...\n\n"
        "Runs a program as a job of a Slurm cluster, follows it, prints what it prints, and ends as "
        "it ends.\n\nOptions:\n";
    for (const Taskmill_SlurmOption &option : Taskmill_SlurmOptionTable) {
        std::string line = "  --" + std::string{option.Name};
        if (!option.Value.empty())
            line.append(1, ' ').append(option.Value);
        line.resize(std::max(line.size() + 1, column), ' ');
        text.append(line).append(option.Purpose).append(1, '\n');
    }
    return text;
}

std::optional<std::vector<std::string>> Taskmill_SplitWords(std::string_view text)
{
    std::vector<std::string> words;
    char quote = 0;
    bool isInWord = false;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char c = text[position];
        const bool isBlank = c == ' ' || c == '\t' || c == '\n';
        if (isBlank && quote == 0) {
            isInWord = false;
            continue;
        }
        if (!isInWord)
            words.emplace_back();
        isInWord = true;
        if (c == quote)
            quote = 0;
        else if (quote == 0 && (c == '"' || c == '\''))
            quote = c;
        else if (c == '\\' && quote != '\'' && position + 1 < text.size())
            words.back() += text[++position];
        else
            words.back() += c;
    }
    return quote == 0 ? std::optional{words} : std::nullopt;
}
