// SPDX-License-Identifier: MIT
#pragma once

#include "requests/manageractions.h"
#include "requests/requestserver.h"

class Taskmill_FrontEnd;
class Taskmill_Manager;

/// Carries out the requests of clients.
class Taskmill_RequestDispatcher final : public Taskmill_RequestHandler
{
public:
    /// Both outlive the dispatcher.
    Taskmill_RequestDispatcher(Taskmill_Manager &manager, Taskmill_FrontEnd &frontEnd);

    [[nodiscard]] bool CanHandleNow(const Taskmill_RequestMessage &request) const override;
    std::optional<QByteArray> HandleRequest(const Taskmill_RequestMessage &request,
                                            const Taskmill_LateAnswer &answerLater) override;

private:
    [[nodiscard]] QByteArray SubmitJob(const Taskmill_RequestMessage &request);

    Taskmill_Manager &m_manager;
    Taskmill_FrontEnd &m_frontEnd;
    Taskmill_ManagerActions m_actions;
};
