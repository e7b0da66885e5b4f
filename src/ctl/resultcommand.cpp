// SPDX-License-Identifier: MIT
#include "ctl/resultcommand.h"

#include "ctl/output.h"
#include "ctl/readfile.h"
#include "engines/outputreader.h"
#include "engines/program.h"
#include "wire/utf8.h"

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

namespace {
/// Names and values, in the order in which they are printed.
using Fields = std::vector<std::pair<std::string, std::string>>;

/// The shortest text that is read as the same number; an integer has all its digits.
std::string NumberText(double number)
{
    constexpr double mostExact = 9'007'199'254'740'992; // 2^53
    std::array<char, 32> text{};
    const bool isInteger = number == std::trunc(number) && std::abs(number) <= mostExact;
    const auto end =
        isInteger ? std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed)
                  : std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

std::string MemoryText(double megabytes)
{
    constexpr double thousandths = 1000;
    return NumberText(std::round(megabytes * thousandths) / thousandths);
}

/// Outputs can have bytes of any encoding, JSON is UTF-8.
std::string JsonText(std::string_view text)
{
    return Taskmill_JsonText(Taskmill_Utf8FromAny(text));
}

std::string JsonTextOrNull(std::string_view text)
{
    return text.empty() ? "null" : JsonText(text);
}

std::string JsonObject(const Fields &fields)
{
    std::string json = "{";
    for (const auto &[name, value] : fields) {
        json += json.size() == 1 ? "" : ",";
        json.append(Taskmill_JsonText(name)).append(":").append(value);
    }
    return json + '}';
}

/// A heading and below it the values that are not empty, one below the other.
std::string Paragraph(const std::string &heading, const Fields &fields)
{
    constexpr std::size_t column = 12;
    std::string text = Taskmill_Utf8FromAny(heading);
    for (const auto &[name, value] : fields) {
        if (value.empty())
            continue;
        text.append("\n  ")
            .append(name)
            .append(column - name.size(), ' ')
            .append(Taskmill_Utf8FromAny(value));
    }
    return text;
}

std::string JsonConverged(std::optional<bool> isConverged)
{
    if (!isConverged)
        return "null";
    return *isConverged ? "true" : "false";
}

std::string ResultJson(const std::string &file, const Taskmill_ProgramResult &result)
{
    std::string energies;
    for (const double energy : result.Energies)
        energies.append(energies.empty() ? "" : ",").append(NumberText(energy));
    return JsonObject({{"file", JsonText(file)},
                       {"program", JsonTextOrNull(result.Program)},
                       {"version", JsonTextOrNull(result.Version)},
                       {"result", JsonText(Taskmill_VerdictText(result.Verdict))},
                       {"message", JsonText(result.Message)},
                       {"converged", JsonConverged(result.Converged())},
                       {"steps", std::to_string(result.Steps)},
                       {"energies", '[' + energies + ']'}});
}

std::string ConvergenceText(std::string_view what, std::optional<bool> isConverged)
{
    if (!isConverged)
        return {};
    return std::string{what} + (*isConverged ? " converged" : " not converged");
}

std::string ResultText(const std::string &file, const Taskmill_ProgramResult &result)
{
    const std::string scf = ConvergenceText("SCF", result.ScfConverged);
    const std::string geometry = ConvergenceText("geometry", result.GeometryConverged);
    const std::string separator = scf.empty() || geometry.empty() ? "" : ", ";
    const std::string energy = result.Energies.empty() ? "" : NumberText(result.Energies.back()) + " hartree";
    const std::string count =
        result.Energies.size() > 1 ? ", the last of " + std::to_string(result.Energies.size()) : "";
    std::string verdict{Taskmill_VerdictText(result.Verdict)};
    if (result.Program.empty())
        verdict += " (of no program that is known)";
    else if (result.Verdict == Taskmill_Verdict::None)
        verdict += " (the output does not say how it ended)";
    return Paragraph(file + ": " + verdict,
                     {{"Program", result.Program + (result.Version.empty() ? "" : ' ' + result.Version)},
                      {"Message", result.Message},
                      {"Converged", scf + separator + geometry},
                      {"Steps", result.Steps == 0 ? "" : std::to_string(result.Steps)},
                      {"Energy", energy + count}});
}

std::string ResourcesJson(const std::string &file, const Taskmill_ProgramNeeds &needs)
{
    return JsonObject({{"file", JsonText(file)},
                       {"program", JsonTextOrNull(needs.Program)},
                       {"cores", needs.Cores ? std::to_string(*needs.Cores) : "null"},
                       {"memory_mb", needs.MemoryMB ? MemoryText(*needs.MemoryMB) : "null"},
                       {"checkpoint", JsonTextOrNull(needs.Checkpoint)},
                       {"scratch", JsonTextOrNull(needs.Scratch)}});
}

std::string ResourcesText(const std::string &file, const Taskmill_ProgramNeeds &needs)
{
    const std::string program = needs.Program.empty() ? "of no program that is known" : needs.Program;
    return Paragraph(file + ": " + program,
                     {{"Cores", needs.Cores ? std::to_string(*needs.Cores) : "not said"},
                      {"Memory", needs.MemoryMB ? MemoryText(*needs.MemoryMB) + " MB" : "not said"},
                      {"Checkpoint", needs.Checkpoint},
                      {"Scratch", needs.Scratch}});
}

std::optional<std::string> ResultOf(const std::string &file, bool isJson)
{
    Taskmill_OutputReader reader;
    if (!Taskmill_ReadFile(file, [&reader](std::string_view bytes) { reader.Feed(bytes); }))
        return std::nullopt;
    reader.Finish();
    return isJson ? ResultJson(file, reader.State()) : ResultText(file, reader.State());
}

std::optional<std::string> ResourcesOf(const std::string &file, bool isJson)
{
    // No input is so long; what is asked for stands near the beginning of each of its parts.
    constexpr std::size_t longestInput = 16'777'216;
    std::string text;
    if (!Taskmill_ReadFile(file, [&text](std::string_view bytes) {
            text.append(bytes.substr(0, longestInput - text.size()));
        }))
        return std::nullopt;
    const auto needs = Taskmill_ReadNeeds(text, file);
    return isJson ? ResourcesJson(file, needs) : ResourcesText(file, needs);
}

using Read = std::optional<std::string> (*)(const std::string &file, bool isJson);

/// A file that cannot be read keeps none of the others from being read.
Taskmill_CtlStatus ForEachFile(const Taskmill_CtlOptions &options, Read read)
{
    auto status = Taskmill_CtlStatus::Success;
    for (const std::string &file : options.Positional()) {
        if (const auto text = read(file, options.IsSet("json")))
            Taskmill_PrintLine(*text);
        else
            status = Taskmill_CtlStatus::WrongUsage;
    }
    return status;
}
} // namespace

Taskmill_CtlStatus Taskmill_ResultCommand(const Taskmill_CtlOptions &options)
{
    return ForEachFile(options, ResultOf);
}

Taskmill_CtlStatus Taskmill_ResourcesCommand(const Taskmill_CtlOptions &options)
{
    return ForEachFile(options, ResourcesOf);
}
