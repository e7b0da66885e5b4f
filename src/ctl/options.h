// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// An option of a command; without a value name it is a switch.
struct Taskmill_CtlOption
{
    std::string Name;
    std::string Value; ///< what the help calls its value
    std::string Description;
};

/// The arguments behind a command, as the options of the command let them be read: --name VALUE,
/// --name=VALUE,
/// --switch, -h, and -- before arguments that begin with a dash.
class Taskmill_CtlOptions
{
public:
    explicit Taskmill_CtlOptions(std::vector<Taskmill_CtlOption> known);

    /// False when something is wrong; see ErrorText().
    [[nodiscard]] bool Read(const std::vector<std::string> &arguments);
    [[nodiscard]] const std::string &ErrorText() const { return m_error; }

    [[nodiscard]] bool IsSet(std::string_view name) const { return m_values.contains(name); }
    /// The last one given; empty when the option is not set.
    [[nodiscard]] std::string Value(std::string_view name) const;
    [[nodiscard]] std::vector<std::string> Values(std::string_view name) const;
    [[nodiscard]] const std::vector<std::string> &Positional() const { return m_positional; }

    /// A paragraph that explains the options.
    [[nodiscard]] std::string HelpText() const;

private:
    [[nodiscard]] const Taskmill_CtlOption *Find(std::string_view name) const;
    bool Fail(const std::string &error);
    bool ReadOption(std::string_view text, const std::vector<std::string> &arguments, std::size_t &position);

    const std::vector<Taskmill_CtlOption> m_known;
    std::map<std::string, std::vector<std::string>, std::less<>> m_values;
    std::vector<std::string> m_positional;
    std::string m_error;
};
