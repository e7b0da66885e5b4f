// SPDX-License-Identifier: MIT
#include "slurm/localsite.h"

#include "slurm/batchscript.h"
#include "slurm/durablefile.h"
#include "slurm/site.h"

namespace {
constexpr std::size_t longestNote = 64UL * 1024;

/// ROOT/.taskmill-slurm-UID/RUN has ROOT as the folder in which the job works.
std::string WorkFolderOf(const std::string &runFolder)
{
    const std::size_t name = runFolder.rfind('/');
    const std::size_t above = runFolder.rfind('/', name - 1);
    return above == 0 ? "/" : runFolder.substr(0, above);
}
} // namespace

Taskmill_LocalSite::Taskmill_LocalSite(std::string runFolder, Taskmill_SlurmArguments arguments)
    : m_runFolder{std::move(runFolder)}
    , m_arguments{std::move(arguments)}
{
}

Taskmill_SlurmSite::Outcome Taskmill_LocalSite::Prepare()
{
    const bool hasInput = Taskmill_ReadFile(m_runFolder + "/input", 1).has_value();
    const std::string script = Taskmill_BatchScript({.runFolder = m_runFolder,
                                                     .workFolder = WorkFolderOf(m_runFolder),
                                                     .prepareLines = m_arguments.prepareLines,
                                                     .command = m_arguments.command,
                                                     .hasInput = hasInput});
    if (Taskmill_WriteDurably(m_runFolder + "/script", script))
        return {.isDone = true, .mayBeTriedAgain = false, .reason = {}};
    return {.isDone = false,
            .mayBeTriedAgain = true,
            .reason = "the batch script cannot be written to " + m_runFolder};
}

Taskmill_CommandEnd Taskmill_LocalSite::Submit(const std::vector<std::string> &words)
{
    return Taskmill_RunCommand(
        {.words = words, .input = {}, .outputFile = m_runFolder + "/number", .meanwhile = Idle()});
}

Taskmill_CommandEnd Taskmill_LocalSite::Run(const std::vector<std::string> &words)
{
    return Taskmill_RunCommand({.words = words, .input = {}, .meanwhile = Idle()});
}

Taskmill_RunNews Taskmill_LocalSite::Look(const std::function<void(std::string_view)> &print)
{
    constexpr std::size_t pieceSize = 1024UL * 1024;
    const auto read = [this](const char *name) {
        return Taskmill_ReadFile(m_runFolder + '/' + name, longestNote).value_or("");
    };
    Taskmill_RunNews news{.isReached = true,
                          .text = {},
                          .begun = read("begun"),
                          .end = read("exit"),
                          .number = read("number"),
                          .log = read("slurm.log")};
    // After the files that say how far it is: what stood there before an end is printed before it.
    for (;;) {
        const std::string piece =
            Taskmill_ReadFile(m_runFolder + "/output", pieceSize, m_printed).value_or("");
        if (piece.empty())
            return news;
        m_printed += static_cast<long long>(piece.size());
        print(piece);
    }
}
