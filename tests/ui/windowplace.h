#pragma once

#include "support/scriptedprompt.h"
#include "ui/appwindow.h"

#include <QTemporaryDir>

#include <memory>

/// A place where the manager's window can be opened in this process: settings, a port and an empty directory
/// of its own, and nobody to answer questions but the script.
class WindowPlace
{
public:
    WindowPlace();
    ~WindowPlace();
    Q_DISABLE_COPY_MOVE(WindowPlace)

    QTemporaryDir directory;
    ScriptedPrompt prompt;
    std::unique_ptr<Taskmill_AppWindow> appWindow;

    /// Opens the window on a new project. False when that fails.
    [[nodiscard]] bool Start();
};
