// SPDX-License-Identifier: MIT
#include "app/startoptions.h"

#include "options/startoptiontable.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
bool Has(const QStringList &arguments, QLatin1StringView option,
         Qt::CaseSensitivity sensitivity = Qt::CaseInsensitive)
{
    return arguments.sliced(qMin<qsizetype>(1, arguments.size())).contains(option, sensitivity);
}

bool AsksForUsage(const QStringList &arguments)
{
    return Has(arguments, "-help"_L1) || Has(arguments, "--help"_L1) || Has(arguments, "-h"_L1);
}
} // namespace

Taskmill_StartOptions Taskmill_StartOptions::Parse(const QStringList &arguments)
{
    Taskmill_StartOptions options;
    if (Has(arguments, "-console"_L1) || Has(arguments, "-nogui"_L1))
        options.Mode = Taskmill_RunMode::Console;
    if (Has(arguments, "-newconsole"_L1))
        options.Mode = Taskmill_RunMode::NewConsole;
    options.NoEventLoop = Has(arguments, "-noeventloop"_L1);
    options.Unattended = Has(arguments, "-nogui"_L1) || Has(arguments, "-run"_L1);
    options.SubmitsJobs = Has(arguments, "-submit"_L1);
    options.AtLogin = Has(arguments, "-login"_L1);
    options.ShowsUsage = AsksForUsage(arguments);
    options.ShowsVersion = Has(arguments, "--version"_L1) || Has(arguments, "-version"_L1);
    return options;
}

Taskmill_FileArgument Taskmill_FileArgument::Check(const QStringList &arguments, bool console)
{
    if (arguments.size() == 1)
        return {};
    if (arguments.isEmpty() || AsksForUsage(arguments))
        return {.Result = Outcome::ShowUsage, .StartUpFile = {}, .MissingFile = {}};

    // Unlike the help option these two count in this spelling only.
    const bool unattended =
        Has(arguments, "-nogui"_L1, Qt::CaseSensitive) || Has(arguments, "-run"_L1, Qt::CaseSensitive);
    for (const QString &argument : arguments.sliced(1)) {
        if (argument.startsWith(u'-'))
            continue;
        if (QFileInfo::exists(argument))
            return {.Result = Outcome::GoOn, .StartUpFile = argument, .MissingFile = {}};
        return {.Result = console || !unattended ? Outcome::MissingFile : Outcome::GoOn,
                .StartUpFile = {},
                .MissingFile = argument};
    }
    return {};
}

QString Taskmill_ProblemOfMissingFile(const QString &path)
{
    const QString text =
        QFileInfo{path}.isSymLink() ? u"the link %1 leads to no file"_s : u"the file %1 does not exist"_s;
    return text.arg(path);
}

namespace {
/// Qt takes its own with one hyphen or two.
QString OptionName(const QString &argument)
{
    return argument.sliced(argument.startsWith("--"_L1) ? 2 : 1).section(u'=', 0, 0);
}

const QStringList &QtOptionsWithValue()
{
    static const QStringList names{u"display"_s,
                                   u"geometry"_s,
                                   u"icon"_s,
                                   u"platform"_s,
                                   u"platformpluginpath"_s,
                                   u"platformtheme"_s,
                                   u"plugin"_s,
                                   u"qwindowgeometry"_s,
                                   u"qwindowicon"_s,
                                   u"qwindowtitle"_s,
                                   u"session"_s,
                                   u"style"_s,
                                   u"stylesheet"_s,
                                   u"title"_s};
    return names;
}

bool IsOptionOfQt(const QString &argument)
{
    static const QStringList others{u"desktopsettings"_s, u"dograb"_s, u"nograb"_s,
                                    u"reverse"_s,         u"sync"_s,   u"widgetcount"_s};
    const QString name = OptionName(argument);
    return QtOptionsWithValue().contains(name) || others.contains(name);
}

bool IsKnown(const QString &argument)
{
    const auto isOption = [&argument](const Taskmill_StartOption &option) {
        const QString name =
            QString::fromLatin1(option.Name.data(), static_cast<qsizetype>(option.Name.size()));
        if (option.Value.empty())
            return argument.compare(name, Qt::CaseInsensitive) == 0;
        const QString values =
            QString::fromLatin1(option.Value.data(), static_cast<qsizetype>(option.Value.size()));
        // One of several, or any.
        return argument.startsWith(name + u'=', Qt::CaseInsensitive) &&
               (!values.contains(u'|') ||
                values.split(u'|').contains(argument.sliced(name.size() + 1), Qt::CaseInsensitive));
    };
    return AsksForUsage({{}, argument}) || std::ranges::any_of(Taskmill_StartOptionTable, isOption);
}
} // namespace

QStringList Taskmill_UnknownOptions(const QStringList &arguments)
{
    QStringList unknown = arguments.sliced(qMin<qsizetype>(1, arguments.size()));
    unknown.removeIf([](const QString &argument) {
        return !argument.startsWith(u'-') || IsKnown(argument) || IsOptionOfQt(argument);
    });
    return unknown;
}

QString Taskmill_FileNamed(const QStringList &arguments)
{
    bool isValue = false;
    for (const QString &argument : arguments.sliced(qMin<qsizetype>(1, arguments.size()))) {
        const bool isOption = argument.startsWith(u'-');
        if (!isOption && !isValue)
            return argument;
        isValue = isOption && QtOptionsWithValue().contains(OptionName(argument));
    }
    return {};
}
