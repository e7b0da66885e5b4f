#include "ctl/submitoptions.h"

#include "ctl/output.h"
#include "jobs/destination.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
/// An option whose value goes into the request as it stands.
struct TextOption
{
    QLatin1StringView name;
    QLatin1StringView key;
    QLatin1StringView description;
};

constexpr std::array textOptions{
    TextOption{"type"_L1, "jobtypename"_L1,
               "Name of the job type; without it the file's extension decides."_L1},
    TextOption{"name"_L1, "jobname"_L1, "Name of the job instead of the file's name."_L1},
    TextOption{"class"_L1, "jobclass"_L1, "Class of the job."_L1},
};

struct FileOption
{
    QLatin1StringView name;
    QLatin1StringView key;
    bool isRead;    ///< must exist
    bool isWritten; ///< must not be shared by several jobs
    QLatin1StringView description;
};

constexpr std::array fileOptions{
    FileOption{"input2"_L1, "jobinputfile2"_L1, true, false, "Second input file."_L1},
    FileOption{"stdin"_L1, "jobstandardinputfile"_L1, true, false,
               "File that the job reads as standard input."_L1},
    FileOption{"stdout"_L1, "jobstandardoutputfile"_L1, false, true,
               "File that receives the standard output."_L1},
    FileOption{"output"_L1, "joboutputfile"_L1, false, true, "Output file."_L1},
    FileOption{"chk"_L1, "jobchkfile"_L1, false, false, "Checkpoint file."_L1},
    FileOption{"chk1"_L1, "jobchkfile1"_L1, false, false, "Second checkpoint file."_L1},
};

const QString queueOption = u"queue"_s;
const QString setOption = u"set"_s;

bool HasLineBreak(const QString &text)
{
    // The manager takes a carriage return before the line feed for a part of the line's end.
    return text.contains(u'\n') || text.contains(u'\r');
}

/// Fills the options; each step says in m_error what is wrong.
class Reader
{
public:
    explicit Reader(const QCommandLineParser &parser)
        : m_parser{parser}
    {
    }

    [[nodiscard]] bool Read()
    {
        m_options.Wait = m_parser.isSet(u"wait"_s);
        m_options.Json = m_parser.isSet(u"json"_s);
        return ReadInputFiles() && ReadTexts() && ReadQueue() && ReadFiles() && ReadPlaceholders();
    }

    Taskmill_SubmitOptions m_options;
    QString m_error;

private:
    bool Fail(const QString &error)
    {
        m_error = error;
        return false;
    }

    bool AddLine(const QString &key, const QString &value)
    {
        if (HasLineBreak(value))
            return Fail(u"a line feed cannot be sent: %1"_s.arg(value));
        m_options.Lines += key + u'=' + value;
        return true;
    }

    bool CheckPath(const QString &given, const QString &path)
    {
        if (given.isEmpty())
            return Fail(u"a file name is empty"_s);
        if (HasLineBreak(path))
            return Fail(u"a file name with a line feed cannot be sent: %1"_s.arg(given));
        if (path != path.trimmed())
            return Fail(u"a file name that ends with a blank cannot be sent: %1"_s.arg(given));
        return true;
    }

    bool CheckReadable(const QString &given, const QString &path)
    {
        const QFileInfo file{path};
        if (!file.exists())
            return Fail(u"the file does not exist: %1"_s.arg(given));
        if (file.isDir())
            return Fail(u"this is a directory, not a file: %1"_s.arg(given));
        return file.isReadable() || Fail(u"the file is not readable: %1"_s.arg(given));
    }

    bool ReadInputFiles()
    {
        for (const QString &given : m_parser.positionalArguments()) {
            const QString path = QFileInfo{given}.absoluteFilePath();
            if (!CheckPath(given, path) || !CheckReadable(given, path))
                return false;
            m_options.Files.append({.Given = given, .Path = path});
        }
        return true;
    }

    bool ReadTexts()
    {
        if (!m_parser.isSet(u"type"_s))
            m_options.Lines += u"jobtypename=Auto"_s;
        for (const TextOption &option : textOptions) {
            if (m_parser.isSet(option.name) && !AddLine(option.key, m_parser.value(option.name)))
                return false;
        }
        if (m_parser.isSet(u"confirm"_s))
            m_options.Lines += u"confirmaction=yes"_s;
        return true;
    }

    bool ReadQueue()
    {
        if (!m_parser.isSet(queueOption))
            return true;
        const QString queue = m_parser.value(queueOption);
        static const QStringList queues{u"long"_s, u"short"_s, u"queueless"_s, u"auto"_s};
        if (!queues.contains(queue, Qt::CaseInsensitive))
            return Fail(u"--queue needs long, short, queueless or auto"_s);
        return AddLine(u"jobqueue"_s, queue);
    }

    bool ReadFiles()
    {
        for (const FileOption &option : fileOptions) {
            if (!m_parser.isSet(option.name))
                continue;
            if (option.isWritten && m_options.Files.size() > 1)
                return Fail(
                    u"--%1 would be written by several jobs; submit one file at a time"_s.arg(option.name));
            const QString given = m_parser.value(option.name);
            const QString path = QFileInfo{given}.absoluteFilePath();
            if (!CheckPath(given, path) || (option.isRead && !CheckReadable(given, path)) ||
                !AddLine(option.key, path))
                return false;
        }
        return true;
    }

    bool ReadPlaceholders()
    {
        for (QString pair : m_parser.values(setOption)) {
            const qsizetype equals = pair.indexOf(u'=');
            if (!pair.startsWith(u'@') || equals < 2 || HasLineBreak(pair.first(equals)))
                return Fail(u"--set needs @NAME=VALUE: %1"_s.arg(pair));
            pair.replace("\r\n"_L1, "\n"_L1).replace(u'\n', "_;_"_L1);
            if (!AddLine(pair.first(equals), pair.sliced(equals + 1)))
                return false;
        }
        return true;
    }

    const QCommandLineParser &m_parser;
};
} // namespace

void Taskmill_SubmitOptions::AddOptions(QCommandLineParser &parser)
{
    for (const TextOption &option : textOptions)
        parser.addOption({option.name, option.description, u"NAME"_s});
    parser.addOption({queueOption, u"Queue of the job: long, short, queueless or auto."_s, u"QUEUE"_s});
    for (const FileOption &option : fileOptions)
        parser.addOption({option.name, option.description, u"FILE"_s});
    parser.addOptions({
        {setOption, u"Value of a placeholder of the job type, such as @NPROCS=4. May be repeated."_s,
         u"@NAME=VALUE"_s},
        {u"confirm"_s, u"Let the user of the manager's window confirm the job."_s},
        {u"wait"_s, u"Wait until the jobs have ended and print what the manager tells of each."_s},
        {u"json"_s, u"Print one JSON object a line."_s},
    });
}

std::optional<Taskmill_SubmitOptions> Taskmill_SubmitOptions::Read(const QCommandLineParser &parser)
{
    Reader reader{parser};
    if (reader.Read())
        return std::move(reader.m_options);
    Taskmill_PrintError(reader.m_error);
    return std::nullopt;
}
