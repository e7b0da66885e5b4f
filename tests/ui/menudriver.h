#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>

/// Opens context menus as a user does and chooses from them.
class MenuDriver
{
public:
    /// Entries of the menu that was shown last: their texts, "-" for a separator, "(...)" around a disabled
    /// one. Empty when none was.
    QStringList entries;

    /// Calls `open`, which runs a menu, and presses on the entry of that text with the mouse; an empty text
    /// dismisses the menu with Escape. `whileOpen` is called before.
    void Run(const std::function<void()> &open, const QString &chosen,
             const std::function<void()> &whileOpen = {});

    /// Runs the menu that a right click on the widget at that place opens.
    void RightClick(QWidget *viewport, const QPoint &place, const QString &chosen);
};

/// The captions of the viewers that are open in the window, which are then closed.
[[nodiscard]] QStringList TakeViewerCaptions(const QWidget &window);
