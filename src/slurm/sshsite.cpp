// SPDX-License-Identifier: MIT
#include "slurm/sshsite.h"

#include "slurm/batchscript.h"
#include "slurm/durablefile.h"
#include "slurm/sharedqueue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <set>

#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr std::size_t longestList = 64UL * 1024 * 1024;
constexpr std::array notes{"begun", "exit", "number", "slurm.log"};

Taskmill_SlurmSite::Outcome Done()
{
    return {.isDone = true, .mayBeTriedAgain = false, .reason = {}};
}

Taskmill_SlurmSite::Outcome Failed(const Taskmill_CommandEnd &end, const std::string &what)
{
    return {.isDone = false, .mayBeTriedAgain = true, .reason = what + ": " + end.Reason("ssh")};
}

bool IsFile(const std::string &path)
{
    struct stat status
    {
    };
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string FolderOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

/// What each name ends with in a list for rsync and from find.
std::string Joined(const std::vector<std::string> &names)
{
    std::string list;
    for (const std::string &name : names)
        list.append(name).append(1, '\0');
    return list;
}

std::set<std::string> Names(std::string_view list)
{
    std::set<std::string> names;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find('\0'), list.size());
        std::string_view name = list.substr(0, end);
        if (name.starts_with("./"))
            name.remove_prefix(2);
        if (!name.empty())
            names.emplace(name);
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return names;
}

/// A line with a number, taken from the beginning of a text; -1 when there is none.
long long TakeNumber(std::string_view &text)
{
    long long number = -1;
    const std::size_t end = text.find('\n');
    if (end == text.npos || std::from_chars(text.data(), text.data() + end, number).ec != std::errc{})
        return -1;
    text.remove_prefix(end + 1);
    return number;
}
} // namespace

Taskmill_SshSite::Taskmill_SshSite(std::string runFolder, Taskmill_SlurmArguments arguments)
    : m_runFolder{std::move(runFolder)}
    , m_workFolder{FolderOf(FolderOf(m_runFolder))}
    , m_arguments{std::move(arguments)}
    , m_connection{m_arguments.host}
{
    constexpr std::size_t longestPath = 8192;
    if (!m_runFolder.empty())
        m_remote = Taskmill_ReadFile(m_runFolder + "/remote", longestPath).value_or("");
    FindGrowing();
}

void Taskmill_SshSite::FindGrowing()
{
    const std::set<std::string> sent =
        Names(Taskmill_ReadFile(m_runFolder + "/sent", longestList).value_or(""));
    m_grows.clear();
    // What a command names and is not there before belongs to the output.
    const std::string prefix = m_workFolder + '/';
    for (const std::string &word : m_arguments.command) {
        const std::string name = word.starts_with(prefix) ? word.substr(prefix.size()) : word;
        if (!name.starts_with('-') && !name.starts_with('/') && !name.empty() &&
            name.find("..") == name.npos && !sent.contains(name))
            m_grows.push_back(name);
        // The outputs that programs name after their inputs.
        for (const char *ending : {".out", ".log"}) {
            if (sent.contains(name) && name.rfind('.') != name.npos)
                m_grows.push_back(name.substr(0, name.rfind('.')) + ending);
        }
    }
    std::erase_if(m_grows, [&](const std::string &name) { return sent.contains(name); });
}

Taskmill_SlurmSite::Outcome Taskmill_SshSite::MakeRemoteFolder()
{
    const std::string root = m_arguments.scratch.empty() ? std::string{"\"${SCRATCH:-$HOME}/taskmill-jobs\""}
                                                         : Taskmill_ShellWord(m_arguments.scratch);
    const std::string name = Taskmill_ShellWord(m_runFolder.substr(m_runFolder.rfind('/') + 1));
    const Taskmill_CommandEnd end =
        m_connection.RunScript("umask 077; mkdir -p " + root + " && cd " + root + " && mkdir -p " + name +
                               "/work && cd " + name + " && printf '%s\\0' \"$(pwd -P)\"");
    if (!end.IsSuccess())
        return {.isDone = false,
                .mayBeTriedAgain = Taskmill_SshConnection::IsBroken(end),
                .reason = "no folder can be made on " + m_arguments.host + ": " + end.Reason("ssh")};
    // A shell's greeting may stand before it.
    std::string path = end.output.substr(0, end.output.find('\0'));
    path = path.substr(path.rfind('\n') == path.npos ? 0 : path.rfind('\n') + 1);
    if (!path.starts_with('/') || !Taskmill_WriteDurably(m_runFolder + "/remote", path))
        return {
            .isDone = false, .mayBeTriedAgain = true, .reason = "nothing can be written to " + m_runFolder};
    m_remote = path;
    return Done();
}

std::vector<std::string> Taskmill_SshSite::FilesToSend() const
{
    std::set<std::string> files;
    const std::string prefix = m_workFolder + '/';
    const auto add = [&](const std::string &name) {
        if (!name.empty() && !name.starts_with('/') && name.find("../") == name.npos && IsFile(prefix + name))
            files.insert(name);
    };
    for (const std::string &word : m_arguments.command)
        add(word.starts_with(prefix) ? word.substr(prefix.size()) : word);
    for (const std::string &pattern : m_arguments.copies) {
        const std::string name = pattern.starts_with(prefix) ? pattern.substr(prefix.size()) : pattern;
        add(name);
        glob_t found{};
        if (chdir(m_workFolder.c_str()) == 0 && glob(name.c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t index = 0; index < found.gl_pathc; ++index)
                add(found.gl_pathv[index]);
        }
        globfree(&found);
    }
    return {files.begin(), files.end()};
}

/// Names of files here become names there.
std::vector<std::string> Taskmill_SshSite::CommandThere() const
{
    const std::string here = m_workFolder + '/';
    const std::string there = m_remote + "/work/";
    std::vector<std::string> command = m_arguments.command;
    for (std::size_t index = 1; index < command.size(); ++index) {
        std::string &word = command[index];
        for (std::size_t at = word.find(here); at != word.npos; at = word.find(here, at + there.size()))
            word.replace(at, here.size(), there);
    }
    return command;
}

Taskmill_SlurmSite::Outcome Taskmill_SshSite::Prepare()
{
    if (Outcome made = MakeRemoteFolder(); !made.isDone)
        return made;
    const bool hasInput = IsFile(m_runFolder + "/input");
    const std::vector<std::string> files = FilesToSend();
    const std::string script = Taskmill_BatchScript({.runFolder = m_remote,
                                                     .workFolder = m_remote + "/work",
                                                     .prepareLines = m_arguments.prepareLines,
                                                     .command = CommandThere(),
                                                     .hasInput = hasInput});
    if (!Taskmill_WriteDurably(m_runFolder + "/script", script) ||
        !Taskmill_WriteDurably(m_runFolder + "/sent", Joined(files)))
        return {
            .isDone = false, .mayBeTriedAgain = true, .reason = "nothing can be written to " + m_runFolder};
    Taskmill_CommandEnd end = m_connection.Rsync(
        {"-t", "--chmod=F600", m_runFolder + "/", m_connection.Remote(m_remote + "/")},
        Joined(hasInput ? std::vector<std::string>{"script", "input"} : std::vector<std::string>{"script"}));
    if (end.IsSuccess() && !files.empty())
        end = m_connection.Rsync({"-Lt", m_workFolder + "/", m_connection.Remote(m_remote + "/work/")},
                                 Joined(files));
    if (!end.IsSuccess())
        return Failed(end, "the files cannot be copied to " + m_arguments.host);
    // What is newer than this was made by the program.
    end = m_connection.RunScript("cd " + Taskmill_ShellWord(m_remote) + " && touch ready");
    FindGrowing();
    return end.IsSuccess() ? Done() : Failed(end, "the files cannot be copied to " + m_arguments.host);
}

Taskmill_CommandEnd Taskmill_SshSite::Submit(const std::vector<std::string> &words)
{
    return m_connection.RunScript("cd " + Taskmill_ShellWord(m_remote + "/work") + " && " +
                                  Taskmill_ShellWords(words) + " >>../number");
}

Taskmill_CommandEnd Taskmill_SshSite::Run(const std::vector<std::string> &words)
{
    return m_connection.RunScript(Taskmill_ShellWords(words));
}

/// Of each note its size and its bytes; of each growing file its whole size, the size of what follows, and
/// that.
std::string Taskmill_SshSite::LookScript() const
{
    std::string script =
        "cd " + Taskmill_ShellWord(m_remote) +
        " || exit 3\n"
        "note() { s=$(wc -c 2>/dev/null <\"$1\") || s=0; s=$((s)); echo $s; head -c $s \"$1\" 2>/dev/null; "
        "}\n"
        "grown() { s=$(wc -c 2>/dev/null <\"$1\") || s=0; o=$2; [ $((s)) -ge $o ] || o=0; n=$((s-o)); "
        "[ $n -le 1048576 ] || n=1048576; echo $((s)); echo $o; echo $n; "
        "[ $n = 0 ] || tail -c +$((o+1)) \"$1\" | head -c $n; }\n"
        "echo; echo taskmill-begin\n";
    for (const char *name : notes)
        script += std::string{"note "} + name + '\n';
    script += "grown output " + std::to_string(m_printed) + '\n';
    for (const std::string &name : m_grows) {
        const auto known = m_fetched.find(name);
        script += "grown " + Taskmill_ShellWord("work/" + name) + ' ' +
                  std::to_string(known == m_fetched.end() ? 0 : known->second) + '\n';
    }
    return script;
}

void Taskmill_SshSite::TakeGrowth(const std::string &name, const std::string &bytes, long long offset)
{
    if (bytes.empty())
        return;
    const std::string path = m_workFolder + '/' + name;
    std::ofstream file{path, std::ios::binary | (offset == 0 ? std::ios::trunc : std::ios::app)};
    file << bytes;
    file.flush();
    m_fetched[name] = file ? offset + static_cast<long long>(bytes.size()) : 0;
}

/// What an earlier follower has brought here.
void Taskmill_SshSite::PrintStored(const std::function<void(std::string_view)> &print)
{
    constexpr std::size_t pieceSize = 1024UL * 1024;
    while (!m_isStoredPrinted) {
        const std::string piece =
            Taskmill_ReadFile(m_runFolder + "/output", pieceSize, m_printed).value_or("");
        m_printed += static_cast<long long>(piece.size());
        print(piece);
        m_isStoredPrinted = piece.empty();
    }
}

Taskmill_RunNews Taskmill_SshSite::Look(const std::function<void(std::string_view)> &print)
{
    constexpr std::string_view begin = "\ntaskmill-begin\n";
    Taskmill_RunNews news;
    PrintStored(print);
    if (HasTidied())
        return news;
    for (bool isMore = true; isMore;) {
        const Taskmill_CommandEnd end = m_connection.RunScript(LookScript());
        const std::size_t at = end.output.find(begin);
        news.isReached = end.IsSuccess() && at != end.output.npos;
        if (!news.isReached) {
            news.text = m_arguments.host + " cannot be reached: " + end.Reason("ssh");
            return news;
        }
        std::string_view rest = std::string_view{end.output}.substr(at + begin.size());
        const auto take = [&rest] {
            const auto size = static_cast<std::size_t>(std::max(0LL, TakeNumber(rest)));
            std::string bytes{rest.substr(0, size)};
            rest.remove_prefix(std::min(size, rest.size()));
            return bytes;
        };
        const std::array<std::string *, notes.size()> texts{&news.begun, &news.end, &news.number, &news.log};
        for (std::string *text : texts)
            *text = take();
        long long whole = TakeNumber(rest);
        long long offset = TakeNumber(rest);
        const std::string printed = take();
        print(printed);
        std::ofstream{m_runFolder + "/output", std::ios::binary | std::ios::app} << printed;
        m_printed = std::max(0LL, offset) + static_cast<long long>(printed.size());
        isMore = m_printed < whole;
        for (const std::string &name : m_grows) {
            whole = TakeNumber(rest);
            offset = TakeNumber(rest);
            TakeGrowth(name, take(), std::max(0LL, offset));
            isMore = isMore || (m_fetched.contains(name) && m_fetched[name] > 0 && m_fetched[name] < whole);
        }
    }
    return news;
}

Taskmill_SlurmSite::Outcome Taskmill_SshSite::FilesToFetch(std::string &list)
{
    const Taskmill_CommandEnd end =
        m_connection.RunScript("cd " + Taskmill_ShellWord(m_remote + "/work") +
                               " || exit 3\nprintf '\\0taskmill-begin\\0'; find . \\( -type f -o -type l \\) "
                               "-print0 && printf '\\0' && "
                               "find . \\( -type f -o -type l \\) -newer ../ready -print0");
    const std::string begin{"\0taskmill-begin\0", 16};
    const std::size_t at = end.output.find(begin);
    if (!end.IsSuccess() || at == end.output.npos)
        return Failed(end, "the results cannot be listed");
    const std::string_view rest = std::string_view{end.output}.substr(at + begin.size());
    constexpr std::string_view twoEnds{"\0\0", 2};
    const std::size_t middle = rest.starts_with('\0') ? 0 : rest.find(twoEnds);
    const std::set<std::string> all = Names(rest.substr(0, middle));
    const std::set<std::string> newer =
        Names(middle == rest.npos ? std::string_view{} : rest.substr(middle + 1));
    const std::set<std::string> sent =
        Names(Taskmill_ReadFile(m_runFolder + "/sent", longestList).value_or(""));
    for (const std::string &name : all) {
        // What was sent and has not been changed there may have been changed here.
        if (!sent.contains(name) || newer.contains(name))
            list.append(name).append(1, '\0');
    }
    return Done();
}

Taskmill_SlurmSite::Outcome Taskmill_SshSite::Collect()
{
    std::string list;
    if (Outcome listed = FilesToFetch(list); !listed.isDone)
        return listed;
    const std::string from = m_connection.Remote(m_remote + "/work/");
    if (!list.empty()) {
        Taskmill_CommandEnd end = m_connection.Rsync({"-lt", from, m_workFolder + "/"}, list);
        if (!end.IsSuccess())
            return Failed(end, "the results cannot be copied from " + m_arguments.host);
        end = m_connection.Rsync(
            {"-lt", "--checksum", "--dry-run", "--out-format=%n", from, m_workFolder + "/"}, list);
        if (!end.IsSuccess())
            return Failed(end, "the results cannot be checked");
        const std::set<std::string> names = Names(list);
        // Folders are named, too, as their times differ.
        if (std::ranges::any_of(names, [&](const std::string &name) {
                return ("\n" + end.output).find("\n" + name + "\n") != std::string::npos;
            }))
            return {.isDone = false,
                    .mayBeTriedAgain = true,
                    .reason = "results have changed while they were copied"};
    }
    if (Taskmill_WriteDurably(m_runFolder + "/collected", "yes\n"))
        return Done();
    return {.isDone = false, .mayBeTriedAgain = true, .reason = "nothing can be written to " + m_runFolder};
}

int Taskmill_SshSite::LookIntervalMs() const
{
    return static_cast<int>(Taskmill_SharedQueue::IntervalMs() / 2);
}

bool Taskmill_SshSite::HasTidied() const
{
    return IsFile(m_runFolder + "/collected");
}

void Taskmill_SshSite::Tidy()
{
    // Never anything but a folder of a run, of which everything is here.
    const std::string name = m_runFolder.substr(m_runFolder.rfind('/') + 1);
    if (HasTidied() && m_remote.ends_with('/' + name))
        static_cast<void>(m_connection.RunScript("cd / && rm -rf " + Taskmill_ShellWord(m_remote)));
}
