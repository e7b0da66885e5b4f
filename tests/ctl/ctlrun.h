// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>

#include <functional>

/// What one run of the client came to.
struct CtlResult
{
    int status = -1; ///< -1 when it did not end by itself
    QByteArray out = {};
    QByteArray err = {};
};

/// The environment of a run; the ports are nobody's unless they are set.
struct CtlPlace
{
    quint16 consolePort = 0;
    quint16 guiPort = 0;
    QString directory = {};
    QStringList variables = {};          ///< NAME=VALUE
    std::function<void()> onOutput = {}; ///< called when the client has written something
    std::function<void()> onError = {};  ///< the same to standard error
};

/// Runs the client while the event loop of the test goes on.
[[nodiscard]] CtlResult RunCtl(const QStringList &arguments, const CtlPlace &place = {});
