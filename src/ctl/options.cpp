// SPDX-License-Identifier: MIT
#include "ctl/options.h"

#include <algorithm>
#include <sstream>

namespace {
constexpr std::size_t widestLine = 79;

std::string TitleOf(const Taskmill_CtlOption &option)
{
    const std::string title = (option.Name == "help" ? "-h, --" : "--") + option.Name;
    return option.Value.empty() ? title : title + " <" + option.Value + '>';
}

/// The words in lines that begin at the column, where the first one stands already.
std::string Wrapped(const std::string &words, std::size_t column)
{
    std::string text;
    std::size_t width = column;
    std::istringstream stream{words};
    for (std::string word; stream >> word;) {
        if (width > column && width + 1 + word.size() > widestLine) {
            text += '\n' + std::string(column, ' ');
            width = column;
        } else if (width > column) {
            text += ' ';
            ++width;
        }
        text += word;
        width += word.size();
    }
    return text;
}
} // namespace

Taskmill_CtlOptions::Taskmill_CtlOptions(std::vector<Taskmill_CtlOption> known)
    : m_known{std::move(known)}
{
}

const Taskmill_CtlOption *Taskmill_CtlOptions::Find(std::string_view name) const
{
    const auto option = std::ranges::find(m_known, name, &Taskmill_CtlOption::Name);
    return option == m_known.end() ? nullptr : &*option;
}

bool Taskmill_CtlOptions::Fail(const std::string &error)
{
    // The first fault is the one to be mended first.
    if (m_error.empty())
        m_error = error;
    return false;
}

bool Taskmill_CtlOptions::Read(const std::vector<std::string> &arguments)
{
    bool optionsMayFollow = true;
    for (std::size_t position = 0; position < arguments.size(); ++position) {
        const std::string &argument = arguments[position];
        // No option is a number: what is wrong with it says who takes it.
        const bool isNumber = argument.size() > 1 && argument[1] >= '0' && argument[1] <= '9';
        if (!optionsMayFollow || argument == "-" || !argument.starts_with('-') || isNumber)
            m_positional.push_back(argument);
        else if (argument == "--")
            optionsMayFollow = false;
        else if (argument == "-h")
            m_values["help"].emplace_back();
        else if (!argument.starts_with("--"))
            Fail("Unknown option '" + argument.substr(1, 1) + "'.");
        else
            ReadOption(std::string_view{argument}.substr(2), arguments, position);
    }
    return m_error.empty();
}

/// `position` is that of the option, and moves on to that of its value.
bool Taskmill_CtlOptions::ReadOption(std::string_view text, const std::vector<std::string> &arguments,
                                     std::size_t &position)
{
    const std::size_t equals = text.find('=');
    const std::string name{text.substr(0, equals)};
    const bool hasValue = equals != std::string_view::npos;
    const Taskmill_CtlOption *option = Find(name);
    if (!option)
        return Fail("Unknown option '" + name + "'.");
    if (option->Value.empty() && hasValue)
        return Fail("Unexpected value after '--" + name + "'.");
    if (!option->Value.empty() && !hasValue && ++position == arguments.size())
        return Fail("Missing value after '--" + name + "'.");
    std::string value;
    if (hasValue)
        value = text.substr(equals + 1);
    else if (!option->Value.empty())
        value = arguments[position];
    m_values[name].push_back(std::move(value));
    return true;
}

std::string Taskmill_CtlOptions::Value(std::string_view name) const
{
    const auto values = m_values.find(name);
    return values == m_values.end() ? std::string{} : values->second.back();
}

std::vector<std::string> Taskmill_CtlOptions::Values(std::string_view name) const
{
    const auto values = m_values.find(name);
    return values == m_values.end() ? std::vector<std::string>{} : values->second;
}

std::string Taskmill_CtlOptions::HelpText() const
{
    std::size_t widest = 0;
    for (const Taskmill_CtlOption &option : m_known)
        widest = std::max(widest, TitleOf(option).size());
    std::string text = "Options:\n";
    for (const Taskmill_CtlOption &option : m_known) {
        std::string line = "  " + TitleOf(option);
        line.resize(widest + 4, ' ');
        text += line + Wrapped(option.Description, line.size()) + '\n';
    }
    return text;
}
