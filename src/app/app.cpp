#include "app/app.h"

#include "kilnutil/contrast.h"
#include "ui/appwindow.h"

Taskmill_App::Taskmill_App(int &argc, char **argv)
    : QApplication{argc, argv}
{
    KilnUtil_Contrast::KeepPlaceholdersReadable();
    connect(this, &QCoreApplication::aboutToQuit, this, &Taskmill_App::AboutToQuitSlot);
}

void Taskmill_App::AboutToQuitSlot()
{
    if (m_window)
        m_window->ShutDown();
}
