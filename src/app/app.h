#pragma once

#include <QApplication>

class Taskmill_AppWindow;

class Taskmill_App final : public QApplication
{
    Q_OBJECT

public:
    Taskmill_App(int &argc, char **argv);

    /// The window that is shut down with the event loop; nullptr for none. It stays the caller's.
    void SetAppWindow(Taskmill_AppWindow *window) { m_window = window; }

public Q_SLOTS:
    void AboutToQuitSlot();

private:
    Taskmill_AppWindow *m_window = nullptr;
};
