// SPDX-License-Identifier: MIT
#include "jobs/clustercall.h"

#include "jobs/clusterrun.h"
#include "jobs/jobtype.h"
#include "kilnutil/filesys.h"
#include "kilnutil/stringutil.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
using Options = Taskmill_ClusterOptions;

struct KnownOption
{
    QLatin1StringView Name;
    QString Options::*Value;
};
constexpr std::array knownOptions{
    KnownOption{"--host"_L1, &Options::Host},   KnownOption{"--partition"_L1, &Options::Partition},
    KnownOption{"--cores"_L1, &Options::Cores}, KnownOption{"--memory"_L1, &Options::Memory},
    KnownOption{"--time"_L1, &Options::Time},
};
constexpr auto prepare = "--prepare"_L1;
constexpr auto endOfOptions = "--"_L1;

bool IsBlank(QChar character)
{
    return character == u' ' || character == u'\t';
}

QString Quoted(const QString &word)
{
    return word.isEmpty() ? u"\"\""_s : KilnUtil_FileSys::ConvertFilename(word, true, false);
}

/// The words of a command line one after the other, and where they stand in it.
class Words
{
public:
    explicit Words(QStringView text)
        : m_text{text}
    {
    }

    /// The next word as it is written; empty behind the last one.
    QStringView Next()
    {
        while (m_at < m_text.size() && IsBlank(m_text[m_at]))
            ++m_at;
        m_begin = m_at;
        bool isInQuotes = false;
        bool isEscaped = false;
        for (; m_at < m_text.size() && (isInQuotes || !IsBlank(m_text[m_at])); ++m_at) {
            // A quotation mark behind an odd number of backslashes is one of the text.
            if (m_text[m_at] == u'"' && !isEscaped)
                isInQuotes = !isInQuotes;
            isEscaped = m_text[m_at] == u'\\' && !isEscaped;
        }
        return m_text.mid(m_begin, m_at - m_begin);
    }
    [[nodiscard]] qsizetype Begin() const { return m_begin; }
    [[nodiscard]] qsizetype End() const { return m_at; }

private:
    QStringView m_text;
    qsizetype m_begin = 0;
    qsizetype m_at = 0;
};

QString Unquoted(QStringView word)
{
    return KilnUtil_String::MakeStringList(word.toString(), true).value(0);
}

void Take(Options &options, const QString &name, const QString &value)
{
    const auto known = std::ranges::find(knownOptions, name, &KnownOption::Name);
    if (known != knownOptions.end())
        options.*known->Value = value;
    else if (name == prepare)
        options.PrepareLines += value;
    else
        options.Others += {name, value};
}

/// Behind "@EXEFILE" and the quotation marks around it; -1 when it is not there.
qsizetype EndOfPlaceholder(const QString &commandLine)
{
    const qsizetype place = commandLine.indexOf(Taskmill_ExecutablePlaceholder);
    if (place < 0)
        return -1;
    const qsizetype end = place + Taskmill_ExecutablePlaceholder.size();
    const bool isQuoted =
        place > 0 && commandLine[place - 1] == u'"' && end < commandLine.size() && commandLine[end] == u'"';
    return isQuoted ? end + 1 : end;
}

/// A template, taken apart.
struct Parts
{
    QString Before; ///< with "@EXEFILE"
    Taskmill_ClusterCall Call;
    QString WrittenProgram;
    bool HasEnd = false; ///< of the options
};

std::optional<Parts> Split(const QString &commandLine)
{
    const qsizetype begin = EndOfPlaceholder(commandLine);
    if (begin < 0)
        return std::nullopt;
    const qsizetype lineEnd = commandLine.indexOf(u'\n', begin);
    const QStringView line = QStringView{commandLine}.mid(begin, lineEnd < 0 ? -1 : lineEnd - begin);
    Parts parts{.Before = commandLine.left(begin), .Call = {}, .WrittenProgram = {}};
    Words words{line};
    QStringView word = words.Next();
    for (; word.startsWith(endOfOptions) && !parts.HasEnd; word = words.Next()) {
        const QString option = Unquoted(word);
        const qsizetype equals = option.indexOf(u'=');
        if (option == endOfOptions)
            parts.HasEnd = true;
        else if (equals >= 0)
            Take(parts.Call.Options, option.left(equals), option.mid(equals + 1));
        else
            Take(parts.Call.Options, option, Unquoted(words.Next()));
    }
    parts.WrittenProgram = word.toString();
    parts.Call.Program = Unquoted(word);
    parts.Call.Rest = commandLine.mid(begin + words.End());
    return parts;
}
} // namespace

QString Taskmill_JoinWords(const QStringList &words)
{
    QStringList quoted;
    for (const QString &word : words)
        quoted += Quoted(word);
    return quoted.join(u' ');
}

QString Options::ToText() const
{
    QStringList words;
    for (const auto &[name, value] : knownOptions) {
        if (const QString &text = this->*value; !text.isEmpty())
            words += {name, text};
    }
    for (const QString &line : PrepareLines)
        words += {prepare, line};
    return Taskmill_JoinWords(words + Others);
}

std::optional<Taskmill_ClusterCall> Taskmill_ClusterCall::Of(const QString &commandLine)
{
    const std::optional<Parts> parts = Split(commandLine);
    return parts ? std::optional{parts->Call} : std::nullopt;
}

QString Taskmill_ClusterCall::In(const QString &commandLine) const
{
    const std::optional<Parts> parts = Split(commandLine);
    if (!parts || (parts->Call.Options == Options && parts->Call.Program == Program))
        return commandLine;
    const QString options = Options.ToText();
    const QString program = parts->Call.Program == Program ? parts->WrittenProgram : Quoted(Program);
    return parts->Before + (options.isEmpty() ? options : u' ' + options) +
           (parts->HasEnd ? u" -- "_s : u" "_s) + program + parts->Call.Rest;
}

Taskmill_JobType Taskmill_OnCluster(Taskmill_JobType jobType, const Taskmill_ClusterOptions &options,
                                    const QString &program)
{
    QString &commandLine = jobType.GenericCommandLine;
    if (!jobType.RunsOnCluster()) {
        if (const qsizetype place = EndOfPlaceholder(commandLine); place >= 0)
            commandLine.insert(place, u" -- "_s + Quoted(program));
        jobType.ExecutablePath = Taskmill_ClusterRun::Program({});
    }
    commandLine = Taskmill_ClusterCall{.Options = options, .Program = program, .Rest = {}}.In(commandLine);
    return jobType;
}

Taskmill_JobType Taskmill_OnThisComputer(Taskmill_JobType jobType)
{
    const std::optional<Parts> parts = Split(jobType.GenericCommandLine);
    if (parts) {
        jobType.GenericCommandLine = parts->Before + parts->Call.Rest;
        jobType.ExecutablePath = parts->Call.Program;
    }
    return jobType;
}
