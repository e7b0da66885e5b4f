// SPDX-License-Identifier: MIT
#include "support/testutil.h"

#include <QFile>
#include <QLibrary>
#include <QRegularExpression>
#include <QSettings>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

void FailOnQtWarnings()
{
    // Not every warning: the offscreen platform has some of its own.
    QTest::failOnWarning(
        QRegularExpression{u"^(QObject|QSql|QIODevice|QProcess|QTimer|QAbstractSocket|QFile)"_s});
}

QString TestProgramPath()
{
    return QStringLiteral(TASKMILL_TEST_PROGRAM);
}

QString WriteTestFile(const QString &path, const QByteArray &content)
{
    QFile file{path};
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %ls", qUtf16Printable(path));
    return path;
}

QByteArray ReadTestFile(const QString &path)
{
    QFile file{path};
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray{};
}

void KeepSettingsIn(const QString &directory)
{
    // The system's own format is the registry on Windows.
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, directory);
}

void KeepStateIn(const QString &directory)
{
    qputenv(isWindows ? "LOCALAPPDATA" : "XDG_STATE_HOME", directory.toLocal8Bit());
}

QByteArray WithPlainLineEnds(QByteArray text)
{
    return isWindows ? text.replace("\r\n", "\n") : text;
}

bool RunsUnderWine()
{
    return isWindows && QLibrary{u"ntdll"_s}.resolve("wine_get_version");
}
