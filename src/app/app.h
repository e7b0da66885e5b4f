// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>

class Taskmill_Session;

class Taskmill_App final : public QApplication
{
    Q_OBJECT

public:
    Taskmill_App(int &argc, char **argv);

    /// What is shut down with the event loop; nullptr for none. It stays the caller's.
    void SetSession(Taskmill_Session *session) { m_session = session; }

public Q_SLOTS:
    void AboutToQuitSlot();

private:
    Taskmill_Session *m_session = nullptr;
};
