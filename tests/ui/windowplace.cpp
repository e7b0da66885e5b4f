#include "ui/windowplace.h"

#include "jobs/runmode.h"
#include "kilnutil/registry.h"
#include "support/testutil.h"

#include <QTcpServer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

WindowPlace::WindowPlace()
{
    KeepSettingsIn(directory.path());
    QTcpServer freePort;
    if (!freePort.listen(QHostAddress::LocalHost))
        qFatal("no port is free");
    qputenv("TASKMILL_GUI_PORT", QByteArray::number(freePort.serverPort()));
    qputenv("GAUSS_EXEDIR", directory.path().toLocal8Bit());
    KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, {}, {});
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
}

WindowPlace::~WindowPlace()
{
    appWindow.reset();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
}

bool WindowPlace::Start()
{
    appWindow = std::make_unique<Taskmill_AppWindow>(Taskmill_AppWindowOptions{});
    // The platform without a screen knows no tray.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u".*systemTrayWindowChanged.*"_s});
    if (!appWindow->Initialise())
        return false;
    appWindow->Show();
    return QTest::qWaitForWindowExposed(appWindow->MainWindow());
}
