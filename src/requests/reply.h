// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <functional>
#include <utility>

/// What a client is answered: all of it, or the beginning of what may be long.
struct Taskmill_Reply
{
    Taskmill_Reply() = default;
    Taskmill_Reply(QByteArray bytes)
        : Bytes{std::move(bytes)}
    {
    }

    QByteArray Bytes;
    /// Asked for the next piece when the client has taken the last one; an empty one is the end.
    std::function<QByteArray()> More;
};

/// Sends the answer of a request that took its time, or that is long. The first call counts; nothing happens
/// when the client is gone.
using Taskmill_LateAnswer = std::function<void(const Taskmill_Reply &answer)>;
