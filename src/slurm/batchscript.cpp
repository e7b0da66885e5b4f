// SPDX-License-Identifier: MIT
#include "slurm/batchscript.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <sstream>

namespace {
/// Any other number above 128 is the program's own.
constexpr std::array endingSignals{SIGHUP,  SIGINT,  SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,
                                   SIGBUS,  SIGFPE,  SIGKILL, SIGUSR1, SIGSEGV, SIGUSR2,
                                   SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ, SIGSYS};
} // namespace

std::string Taskmill_ShellWord(std::string_view text)
{
    std::string word = "'";
    for (const char c : text) {
        if (c == '\'')
            word += "'\\''";
        else
            word += c;
    }
    return word + '\'';
}

std::string Taskmill_ShellWords(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words) {
        if (!text.empty())
            text += ' ';
        text += Taskmill_ShellWord(word);
    }
    return text;
}

std::string Taskmill_BatchScript(const Taskmill_BatchOrder &order)
{
    // Modules are known to login shells.
    std::string script = order.prepareLines.empty() ? "#!/bin/sh\n" : "#!/bin/bash -l\n";
    const auto file = [&order](std::string_view name) {
        return Taskmill_ShellWord(order.runFolder + '/' + std::string{name});
    };
    script +=
        R"-(printf '%s %s %s %s\n' "$SLURM_JOB_ID" "${SLURM_RESTART_COUNT:-0}" "${SLURMD_NODENAME:--}" )-"
        R"-("$(date +%s)" >>)-" +
        file("begun") + " || exit 125\n";
    script += "(set -C; printf '%s\\n' \"$SLURM_JOB_ID\" >" + file("owner") + ") 2>/dev/null\n";
    script += "read -r owner <" + file("owner") + "\n";
    script += R"([ "$owner" = "$SLURM_JOB_ID" ] || exit 125)"
              "\n";
    // Started again although it had done its work: the results are not to be overwritten.
    script += "if read -r job restarts code <" + file("exit") +
              R"( && [ "$code" = 0 ]; then exit 0; fi 2>/dev/null)"
              "\n";
    script += "rm -f " + file("exit") + "\n";
    script += "exec >>" + file("output") + " 2>&1\n";
    script += "cd " + Taskmill_ShellWord(order.workFolder) + " || exit 125\n";
    for (const std::string &line : order.prepareLines)
        script += line + '\n';
    const std::string input = order.hasInput ? file("input") : "/dev/null";
    script += Taskmill_ShellWords(order.command) + " <" + input + "\n";
    script += "code=$?\n";
    script += R"(printf '%s %s %s\n' "$SLURM_JOB_ID" "${SLURM_RESTART_COUNT:-0}" "$code" >)" +
              file("exit.new") + " && mv -f " + file("exit.new") + ' ' + file("exit") + "\n";
    return script + "exit \"$code\"\n";
}

std::optional<Taskmill_ShellEnd> Taskmill_ReadShellEnd(std::string_view text, std::string_view job)
{
    constexpr int firstOfSignals = 128;
    std::istringstream words{std::string{text}};
    std::string ofJob;
    int restarts = 0;
    int code = 0;
    if (!text.ends_with('\n') || !(words >> ofJob >> restarts >> code) || ofJob != job)
        return std::nullopt;
    if (code > firstOfSignals &&
        std::ranges::find(endingSignals, code - firstOfSignals) != endingSignals.end())
        return Taskmill_ShellEnd{.code = 0, .signal = code - firstOfSignals};
    return Taskmill_ShellEnd{.code = code, .signal = 0};
}
