#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class QCommandLineParser;

/// What the command "submit" is asked to send.
struct Taskmill_SubmitOptions
{
    struct InputFile
    {
        QString Given; ///< as it stands on the command line
        QString Path;  ///< absolute
    };

    QList<InputFile> Files;
    QStringList Lines; ///< key=value, the same in each request; hold no line feed
    bool Wait = false;
    bool Json = false;

    static void AddOptions(QCommandLineParser &parser);
    /// Checks everything that can be checked before anything is sent. Nothing, with a message, when something
    /// is wrong.
    [[nodiscard]] static std::optional<Taskmill_SubmitOptions> Read(const QCommandLineParser &parser);
};
