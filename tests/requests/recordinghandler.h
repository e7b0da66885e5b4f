// SPDX-License-Identifier: MIT
#pragma once

#include "requests/requestserver.h"

#include <QStringList>

#include <functional>

/// Answers every request and remembers the job names, which distinguish the messages of a test.
class RecordingHandler final : public Taskmill_RequestHandler
{
public:
    QStringList Handled;
    std::function<void(const QString &name)> WhileHandling;

    std::optional<QByteArray> HandleRequest(const Taskmill_RequestMessage &request,
                                            const Taskmill_LateAnswer &) override
    {
        Handled.append(request.JobName);
        if (WhileHandling)
            WhileHandling(request.JobName);
        return "accepted=" + request.JobName.toUtf8() + '\n';
    }
};
