// SPDX-License-Identifier: MIT
#include "ctl/commandhelp.h"
#include "options/slurmoptiontable.h"
#include "options/startoptiontable.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

// The pages are in the language of mdoc(7). Their templates hold what only a person can write; a line that is
// a word between at signs stands for a table.

namespace {
/// As a text line of mdoc: each sentence begins a line, and nothing is taken for a macro or an escape.
std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        const bool beginsLine = escaped.empty() || escaped.back() == '\n';
        if (character == '\\')
            escaped += "\\e";
        else if (beginsLine && (character == '.' || character == '\''))
            escaped.append("\\&") += character;
        else if (character == ' ' && at > 0 && text[at - 1] == '.')
            escaped += '\n';
        else
            escaped += character;
    }
    return escaped;
}

/// One argument of a macro, which blanks do not part.
std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char character : text)
        quoted += character == '"' ? "\\(dq" : std::string{character};
    return quoted + '"';
}

/// The arguments of a command behind its name: words in angle brackets or square ones.
std::string Arguments(std::string_view arguments)
{
    std::string text;
    std::istringstream words{std::string{arguments}};
    for (std::string word; words >> word;) {
        const bool isOptional = word.starts_with('[') && word.ends_with(']');
        if (isOptional)
            word = word.substr(1, word.size() - 2);
        const bool isRepeated = word.ends_with("...");
        if (isRepeated)
            word.resize(word.size() - 3);
        const bool isName = std::ranges::all_of(word, [](char c) { return std::isupper(c) != 0; });
        text.append(isOptional ? " Op" : "").append(isName ? " Ar " : " Cm ").append(Quoted(word));
        text += isRepeated ? " ..." : "";
    }
    return text;
}

std::string OptionItem(const Taskmill_CtlOption &option)
{
    std::string item = option.Name == "help" ? ".It Fl h , Fl -help" : ".It Fl -" + option.Name;
    if (!option.Value.empty())
        item += " Ar " + Quoted(option.Value);
    return item + '\n' + Escaped(option.Description) + '\n';
}

std::string Commands()
{
    std::string text;
    for (const Taskmill_CtlCommand &command : Taskmill_CtlCommands) {
        text.append(".Ss ").append(command.Name).append("\n.Nm\n.Cm ").append(Quoted(command.Name));
        text.append("\n.Op Ar options\n");
        if (const std::string arguments = Arguments(command.Arguments); !arguments.empty())
            text.append(".").append(arguments.substr(1)).append("\n");
        text.append(".Pp\n").append(Escaped(command.Purpose)).append("\n.Bl -tag -width Ds\n");
        for (const Taskmill_CtlOption &option : Taskmill_OptionsOf(command))
            text += OptionItem(option);
        text += ".El\n";
    }
    return text;
}

std::string StartOptions()
{
    std::string text = ".Bl -tag -width Ds\n";
    for (const Taskmill_StartOption &option : Taskmill_StartOptionTable) {
        text.append(".It Fl ").append(option.Name.substr(1));
        if (!option.Value.empty())
            text.append("= Ns Ar ").append(Quoted(option.Value));
        text.append("\n").append(Escaped(option.Purpose)).append("\n");
    }
    return text + ".El\n";
}

std::string SlurmOptions()
{
    std::string text = ".Bl -tag -width Ds\n";
    for (const Taskmill_SlurmOption &option : Taskmill_SlurmOptionTable) {
        text.append(".It Fl -").append(option.Name);
        if (!option.Value.empty())
            text.append(" Ar ").append(Quoted(option.Value));
        text.append("\n").append(Escaped(option.Purpose)).append("\n");
    }
    return text + ".El\n";
}

/// The lines of a number and a meaning below the heading of the exit statuses.
std::string ExitStatus()
{
    std::istringstream lines{std::string{Taskmill_CtlExitStatusText}};
    std::string heading;
    std::getline(lines, heading);
    std::string text = "When several apply, the largest counts.\n.Bl -tag -width Ds\n";
    int number = 0;
    for (std::string meaning; lines >> number && std::getline(lines >> std::ws, meaning);)
        text += ".It " + std::to_string(number) + '\n' + Escaped(meaning) + '\n';
    return text + ".El\n";
}

/// Lines of text of the width that is usual in such pages; what is to stand as it is stays.
std::string Wrapped(const std::string &page)
{
    constexpr std::size_t widest = 80;
    std::string wrapped;
    std::istringstream lines{page};
    bool isLiteral = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(".Bd -literal") || line.starts_with(".Ed"))
            isLiteral = line.starts_with(".Bd");
        while (!isLiteral && !line.starts_with('.') && line.size() > widest) {
            const std::size_t blank = line.rfind(' ', widest);
            if (blank == std::string::npos)
                break;
            wrapped += line.substr(0, blank) + '\n';
            line.erase(0, blank + 1);
        }
        wrapped += line + '\n';
    }
    return wrapped;
}

std::string Page(std::istream &source)
{
    std::string page;
    for (std::string line; std::getline(source, line);) {
        if (line == "@COMMANDS@")
            page += Commands();
        else if (line == "@START_OPTIONS@")
            page += StartOptions();
        else if (line == "@SLURM_OPTIONS@")
            page += SlurmOptions();
        else if (line == "@EXIT_STATUS@")
            page += ExitStatus();
        else
            page += line + '\n';
    }
    return Wrapped(page);
}
} // namespace

/// taskmill-pages TEMPLATE PAGE
int main(int argc, char **argv)
{
    if (argc != 3) {
        std::cerr << "Usage: taskmill-pages TEMPLATE PAGE\n";
        return 2;
    }
    std::ifstream source{argv[1]};
    std::ofstream target{argv[2]};
    if (!source || !(target << Page(source)) || !target.flush()) {
        std::cerr << "taskmill-pages: " << argv[2] << " cannot be made of " << argv[1] << '\n';
        return 1;
    }
    return 0;
}
