// SPDX-License-Identifier: MIT
#include "app/debuglog.h"

#include "kilnutil/standardstreams.h"

#include <QFile>
#include <QLoggingCategory>

#include <memory>
#include <mutex>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int everyLine = 7;

// Messages come from the console's thread too.
std::mutex mutex;
std::unique_ptr<QFile> logFile;
int level = 0;
QtMessageHandler handlerBefore = nullptr;

const char *PrefixOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg:
        return "Info:   ";
    case QtWarningMsg:
        return "Warning: ";
    case QtFatalMsg:
        return "Fatal:   ";
    case QtCriticalMsg:
        break;
    }
    return "????:    ";
}

void CloseLog()
{
    logFile.reset();
    level = 0;
    qInstallMessageHandler(handlerBefore);
}

void WriteMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const std::scoped_lock lock{mutex};
    if (logFile) {
        logFile->write(PrefixOf(type) + message.toUtf8() + '\n');
        logFile->flush();
    } else {
        KilnUtil_StandardStreams::Write(stderr, QLatin1StringView{PrefixOf(type)} + u' ' + message + u'\n');
    }
    // Qt ends the program after a fatal message.
    if (type == QtFatalMsg)
        CloseLog();
}

bool OpenLogFile(const QString &path)
{
    logFile = std::make_unique<QFile>(path);
    if (!path.isEmpty() && logFile->open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    logFile.reset();
    return false;
}

/// The first option that asks for the log decides. False without one, and when its file cannot be opened.
bool FollowOption(const QStringList &arguments)
{
    constexpr QLatin1StringView fileOption{"-debugfile="};
    for (qsizetype index = 1; index < arguments.size(); ++index) {
        const QString argument = arguments[index].toLower();
        if (argument == "-debug"_L1)
            return true;
        if (argument == "-debugfile"_L1)
            return OpenLogFile(u"taskmill_debug.txt"_s);
        if (argument.startsWith(fileOption))
            return OpenLogFile(argument.sliced(fileOption.size()));
    }
    return false;
}
} // namespace

void Taskmill_DebugLog::TurnOn(const QStringList &arguments)
{
    if (FollowOption(arguments)) {
        level = everyLine;
        handlerBefore = qInstallMessageHandler(WriteMessage);
        return;
    }
    // Without the log only what somebody should see reaches standard error.
    QLoggingCategory::setFilterRules(u"*.debug=false\n*.info=false"_s);
}

void Taskmill_DebugLog::TurnOff()
{
    const std::scoped_lock lock{mutex};
    if (level != 0)
        CloseLog();
}

int Taskmill_DebugLog::Level()
{
    return level;
}
