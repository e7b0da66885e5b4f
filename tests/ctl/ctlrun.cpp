// SPDX-License-Identifier: MIT
#include "ctlrun.h"

#include "support/testutil.h"

#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

/// Of the port 0, one on which nobody listens any more, for the system has just given it.
static QString PortText(quint16 port)
{
    QTcpServer server;
    if (port == 0)
        server.listen(QHostAddress::LocalHost);
    return QString::number(port == 0 ? server.serverPort() : port);
}

namespace {
/// What a program writes, by way of a file: under Wine a QProcess at times learns no more of what comes
/// through a pipe.
class Stream
{
public:
    explicit Stream(std::function<void()> onGrowth)
        : m_onGrowth{std::move(onGrowth)}
    {
    }
    [[nodiscard]] QString Path() const { return m_directory.filePath(u"stream"_s); }
    [[nodiscard]] QByteArray Content() const { return ReadTestFile(Path()); }
    void Look()
    {
        const qsizetype size = Content().size();
        if (size > std::exchange(m_size, size) && m_onGrowth)
            m_onGrowth();
    }

private:
    QTemporaryDir m_directory;
    std::function<void()> m_onGrowth;
    qsizetype m_size = 0;
};
} // namespace

CtlResult RunCtl(const QStringList &arguments, const CtlPlace &place)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TASKMILL_CONSOLE_PORT"_s, PortText(place.consolePort));
    environment.insert(u"TASKMILL_GUI_PORT"_s, PortText(place.guiPort));
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    for (const QString &variable : place.variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));

    Stream output{place.onOutput};
    Stream error{place.onError};
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!place.directory.isEmpty())
        process.setWorkingDirectory(place.directory);
    process.setStandardOutputFile(output.Path());
    process.setStandardErrorFile(error.Path());
    process.start(QStringLiteral(TASKMILL_CTL), arguments);
    const auto hasEnded = [&] {
        output.Look();
        error.Look();
        return process.state() == QProcess::NotRunning;
    };
    const bool ended = QTest::qWaitFor(hasEnded, 60000);
    if (!ended) {
        process.kill();
        process.waitForFinished();
    }
    return {.status = ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            .out = WithPlainLineEnds(output.Content()),
            .err = WithPlainLineEnds(error.Content())};
}
