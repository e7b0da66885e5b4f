// SPDX-License-Identifier: MIT
#include "requests/requestmessage.h"

#include "kilnutil/textencoding.h"
#include "wire/clientkey.h"

#include <QHash>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
using Message = Taskmill_RequestMessage;
using Setter = void (*)(Message &, const QString &value);

struct Key
{
    QLatin1StringView prefix;
    Setter set;
};

template <auto Field>
void SetText(Message &message, const QString &value)
{
    message.*Field = value;
}

template <auto Field>
void SetTrimmed(Message &message, const QString &value)
{
    message.*Field = value.trimmed();
}

template <auto Field>
void SetNumber(Message &message, const QString &value)
{
    message.*Field = value.toInt();
}

void SetNotification(Message &message, const QString &value)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    message.ClientNotification = isNumber ? std::optional{number != 0} : std::nullopt;
}

void SetConfirmed(Message &message, const QString &)
{
    message.ConfirmAction = true;
}

void SetUnconfirmed(Message &message, const QString &)
{
    message.ConfirmAction = false;
}

template <auto Field>
void SetFlag(Message &message, const QString &)
{
    message.*Field = true;
}

constexpr QLatin1StringView Latin1(std::string_view text)
{
    return {text.data(), static_cast<qsizetype>(text.size())};
}

void Ignore(Message &, const QString &) {}

/// Tested in this order; the first prefix that matches decides.
constexpr std::array keys{
    Key{"clientname="_L1, SetText<&Message::ClientName>},
    Key{"clientappname="_L1, SetText<&Message::ClientAppName>},
    Key{"clientaddress="_L1, SetText<&Message::ClientAddress>},
    Key{"clientport="_L1, SetNumber<&Message::ClientPort>},
    Key{"clientuid="_L1, SetNumber<&Message::ClientUID>},
    Key{"clientgid="_L1, SetNumber<&Message::ClientGID>},
    Key{"clientkey="_L1, Ignore},
    Key{"clientnotification="_L1, SetNotification},
    Key{Latin1(Taskmill_WireClientResult), SetFlag<&Message::ClientResult>},
    Key{"action="_L1, SetText<&Message::Action>},
    Key{"confirmaction=yes"_L1, SetConfirmed},
    Key{"confirmaction=true"_L1, SetConfirmed},
    Key{"confirmaction=no"_L1, SetUnconfirmed},
    Key{"confirmaction=false"_L1, SetUnconfirmed},
    Key{"jobsilent="_L1, Ignore},
    Key{"jobtypename="_L1, SetText<&Message::JobTypeName>},
    Key{Latin1(Taskmill_WireExactJobType), SetFlag<&Message::ExactJobType>},
    Key{Latin1(Taskmill_WireDetailedReply), SetFlag<&Message::DetailedReply>},
    Key{Latin1(Taskmill_WireJobList), SetTrimmed<&Message::List>},
    Key{Latin1(Taskmill_WireJobsSince), SetNumber<&Message::Since>},
    Key{Latin1(Taskmill_WireJobNumber), SetNumber<&Message::JobNumber>},
    Key{Latin1(Taskmill_WireJobNumbers), SetTrimmed<&Message::JobNumbers>},
    Key{Latin1(Taskmill_WireMove), SetTrimmed<&Message::Move>},
    Key{Latin1(Taskmill_WireNotBefore), SetTrimmed<&Message::NotBefore>},
    Key{Latin1(Taskmill_WireAfterJob), SetTrimmed<&Message::AfterJob>},
    Key{Latin1(Taskmill_WireTakesRunning), SetFlag<&Message::TakesRunning>},
    Key{Latin1(Taskmill_WireQueueName), SetTrimmed<&Message::QueueName>},
    Key{Latin1(Taskmill_WirePauseLater), SetFlag<&Message::PausesLater>},
    Key{Latin1(Taskmill_WireQuietHours), SetTrimmed<&Message::QuietHours>},
    Key{Latin1(Taskmill_WireJobPriority), SetTrimmed<&Message::JobPriority>},
    Key{Latin1(Taskmill_WireQueueLimit), SetNumber<&Message::QueueLimit>},
    Key{Latin1(Taskmill_WireBudget), SetTrimmed<&Message::Budget>},
    Key{Latin1(Taskmill_WireSaveFile), SetText<&Message::SaveFile>},
    Key{Latin1(Taskmill_WireProjectFile), SetText<&Message::ProjectFile>},
    Key{Latin1(Taskmill_WireReplaces), SetFlag<&Message::Replaces>},
    Key{Latin1(Taskmill_WireKeepsJobs), SetFlag<&Message::KeepsJobs>},
    Key{Latin1(Taskmill_WireChoosesFiles), SetFlag<&Message::ChoosesFiles>},
    Key{Latin1(Taskmill_WireAnswersJson), SetFlag<&Message::AnswersJson>},
    Key{Latin1(Taskmill_WireAnswerWidth), SetNumber<&Message::Width>},
    Key{Latin1(Taskmill_WireJobCores), SetTrimmed<&Message::JobCores>},
    Key{Latin1(Taskmill_WireJobMemory), SetTrimmed<&Message::JobMemory>},
    Key{"jobclass="_L1, Ignore},
    Key{"jobname="_L1, SetText<&Message::JobName>},
    Key{"jobqueue="_L1, SetText<&Message::JobQueue>},
    Key{"jobinputfile="_L1, SetTrimmed<&Message::JobInputFile>},
    Key{"jobinputfile2="_L1, SetTrimmed<&Message::JobInputFile2>},
    Key{"jobstandardinputfile="_L1, SetTrimmed<&Message::JobStandardInputFile>},
    Key{"joboutputfile="_L1, SetTrimmed<&Message::JobOutputFile>},
    Key{"jobstandardoutputfile="_L1, SetTrimmed<&Message::JobStandardOutputFile>},
    Key{"jobchkfile="_L1, SetTrimmed<&Message::JobChkFile>},
    Key{"jobchkfile1="_L1, SetTrimmed<&Message::JobChkFile1>},
};

/// Where each placeholder stands in the list: a message may hold a hundred thousand of them.
using PlaceholderPositions = QHash<QString, qsizetype>;

void AddPlaceholder(Message &message, PlaceholderPositions &positions, const QString &line, qsizetype equals)
{
    const QString name = line.first(equals);
    const QString value = line.sliced(equals + 1).trimmed().replace("_;_"_L1, "\n"_L1);
    auto &values = message.PlaceholderValues;
    const auto known = positions.constFind(name);
    if (known != positions.constEnd()) {
        values[*known].second = value;
        return;
    }
    positions.insert(name, values.size());
    values.append({name, value});
}

void ReadLine(Message &message, PlaceholderPositions &positions, const QString &line)
{
    for (const Key &key : keys) {
        if (line.startsWith(key.prefix, Qt::CaseInsensitive)) {
            key.set(message, line.sliced(key.prefix.size()));
            return;
        }
    }
    const qsizetype equals = line.indexOf(u'=');
    if (line.startsWith(u'@') && equals > 0)
        AddPlaceholder(message, positions, line, equals);
}
QByteArrayView WithoutCarriageReturn(QByteArrayView line)
{
    return line.endsWith('\r') ? line.chopped(1) : line;
}

/// Takes as long for every wrong key.
bool IsSame(QByteArrayView given, QByteArrayView key)
{
    if (given.size() != key.size())
        return false;
    unsigned difference = 0;
    for (qsizetype index = 0; index < key.size(); ++index)
        difference |= static_cast<unsigned char>(given[index] ^ key[index]);
    return difference == 0;
}
} // namespace

Taskmill_RequestMessage Taskmill_RequestMessage::Parse(const QByteArray &bytes)
{
    Taskmill_RequestMessage message;
    PlaceholderPositions positions;
    const QString text = KilnUtil_TextEncoding::FromUtf8OrLatin1(bytes);
    for (QStringView line : QStringView{text}.tokenize(u'\n')) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        ReadLine(message, positions, line.toString());
    }
    if (!Taskmill_AsksForReply(bytes))
        message.ExactJobType = message.DetailedReply = false;
    return message;
}

bool Taskmill_RequestMessage::IsForWindow() const
{
    return Action.compare("show"_L1, Qt::CaseInsensitive) == 0 ||
           Action.compare("hide"_L1, Qt::CaseInsensitive) == 0;
}

bool Taskmill_AsksForReply(QByteArrayView bytes)
{
    if (!bytes.endsWith('\n'))
        return false;
    bytes.chop(bytes.endsWith("\r\n") ? 2 : 1);
    const QByteArrayView wanted = Taskmill_ReplyRequestLine.chopped(1);
    const qsizetype begin = bytes.size() - wanted.size();
    return bytes.endsWith(wanted) && (begin == 0 || bytes[begin - 1] == '\n');
}

bool Taskmill_IsHttp(QByteArrayView message)
{
    const qsizetype end = message.indexOf('\n');
    const QByteArrayView first = WithoutCarriageReturn(end < 0 ? message : message.first(end));
    return first.endsWith(" HTTP/1.1") || first.endsWith(" HTTP/1.0");
}

bool Taskmill_ShowsClientKey(QByteArrayView message, QByteArrayView key)
{
    const QByteArrayView prefix{Taskmill_WireClientKey.data(),
                                static_cast<qsizetype>(Taskmill_WireClientKey.size())};
    bool isShown = false;
    while (!message.isEmpty() && !key.isEmpty() && !isShown) {
        const qsizetype lineFeed = message.indexOf('\n');
        const qsizetype end = lineFeed < 0 ? message.size() : lineFeed;
        const QByteArrayView line = WithoutCarriageReturn(message.first(end));
        isShown = line.size() > prefix.size() &&
                  qstrnicmp(line.data(), prefix.size(), prefix.data(), prefix.size()) == 0 &&
                  IsSame(line.sliced(prefix.size()), key);
        message = message.sliced(qMin(end + 1, message.size()));
    }
    return isShown;
}
