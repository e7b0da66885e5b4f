// SPDX-License-Identifier: MIT
#include "app/app.h"

#include "app/session.h"
#include "ui/appwindow.h"
#include "widgets/contrast.h"

Taskmill_App::Taskmill_App(int &argc, char **argv)
    : QApplication{argc, argv}
{
    KilnUtil_Contrast::KeepPlaceholdersReadable();
    connect(this, &QCoreApplication::aboutToQuit, this, &Taskmill_App::AboutToQuitSlot);
}

void Taskmill_App::AboutToQuitSlot()
{
    if (m_session)
        m_session->ShutDown();
}
