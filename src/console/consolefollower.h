// SPDX-License-Identifier: MIT
#pragma once

#include "console/followedfile.h"
#include "console/outputfollower.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <memory>

class Taskmill_ConsoleConversation;

/// Prints what a running job writes, until it ends or the user breaks it off.
class Taskmill_ConsoleFollower
{
public:
    /// The conversation outlives this.
    Taskmill_ConsoleFollower(Taskmill_ConsoleConversation &conversation, int jobID);

    void Run();

private:
    /// The output follower belongs to the main thread.
    struct DeleteLater
    {
        void operator()(QObject *object) const { object->deleteLater(); }
    };

    /// Why the job cannot be followed; empty when it can.
    [[nodiscard]] QString Begin();
    /// False when there is nothing new.
    bool PrintWhatFollows();
    void PrintTheEnd();

    Taskmill_ConsoleConversation &m_conversation;
    const int m_jobID;
    std::unique_ptr<Taskmill_OutputFollower, DeleteLater> m_output;
    std::unique_ptr<Taskmill_FollowedFile> m_file;
    QStringDecoder m_decoder{QStringDecoder::Utf8};
    bool m_endsLine = true; ///< what was printed
    bool m_hasEnded = false;
};
