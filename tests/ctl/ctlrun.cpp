#include "ctlrun.h"

#include "support/testutil.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
QString PortText(quint16 port)
{
    if (port != 0)
        return QString::number(port);
    // Nobody listens any more on a port that the system has just given.
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return QString::number(server.serverPort());
}
} // namespace

QList<QJsonObject> CtlResult::JsonLines() const
{
    QList<QJsonObject> objects;
    for (const QByteArray &line : out.trimmed().split('\n'))
        objects.append(QJsonDocument::fromJson(line).object());
    return objects;
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
