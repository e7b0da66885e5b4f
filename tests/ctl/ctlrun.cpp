// SPDX-License-Identifier: MIT
#include "ctlrun.h"

#include "support/testutil.h"

#include <QProcess>
#include <QTcpServer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// Of the port 0, one on which nobody listens any more, for the system has just given it.
static QString PortText(quint16 port)
{
    QTcpServer server;
    if (port == 0)
        server.listen(QHostAddress::LocalHost);
    return QString::number(port == 0 ? server.serverPort() : port);
}

CtlResult RunCtl(const QStringList &arguments, const CtlPlace &place)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TASKMILL_CONSOLE_PORT"_s, PortText(place.consolePort));
    environment.insert(u"TASKMILL_GUI_PORT"_s, PortText(place.guiPort));
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    for (const QString &variable : place.variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));

    QProcess process;
    process.setProcessEnvironment(environment);
    if (!place.directory.isEmpty())
        process.setWorkingDirectory(place.directory);
    if (place.onOutput)
        QObject::connect(&process, &QProcess::readyReadStandardOutput, place.onOutput);
    if (place.onError)
        QObject::connect(&process, &QProcess::readyReadStandardError, place.onError);
    process.start(QStringLiteral(TASKMILL_CTL), arguments);
    const bool ended = QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 60000);
    if (!ended) {
        process.kill();
        process.waitForFinished();
    }
    return {.status = ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            .out = WithPlainLineEnds(process.readAllStandardOutput()),
            .err = WithPlainLineEnds(process.readAllStandardError())};
}
