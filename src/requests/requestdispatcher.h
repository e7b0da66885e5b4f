// SPDX-License-Identifier: MIT
#pragma once

#include "requests/requestserver.h"

class Taskmill_Manager;

/// What requests want of the front end; implemented by whoever has one.
class Taskmill_FrontEnd
{
public:
    virtual ~Taskmill_FrontEnd() = default;
    /// Whether there is a window to be shown and hidden; without one both do nothing.
    [[nodiscard]] virtual bool HasWindow() const = 0;
    virtual void ShowInFront() = 0;
    virtual void PutAway() = 0;
    /// Whether the user has a dialog or a menu open, which a question that came up by itself would disturb.
    [[nodiscard]] virtual bool IsUserBusy() const = 0;
};

/// Carries out the requests of clients.
class Taskmill_RequestDispatcher final : public Taskmill_RequestHandler
{
public:
    /// Both outlive the dispatcher.
    Taskmill_RequestDispatcher(Taskmill_Manager &manager, Taskmill_FrontEnd &frontEnd)
        : m_manager{manager}
        , m_frontEnd{frontEnd}
    {
    }

    [[nodiscard]] bool CanHandleNow(const Taskmill_RequestMessage &request) const override;
    QByteArray HandleRequest(const Taskmill_RequestMessage &request) override;

private:
    [[nodiscard]] QByteArray SubmitJob(const Taskmill_RequestMessage &request);

    Taskmill_Manager &m_manager;
    Taskmill_FrontEnd &m_frontEnd;
};
