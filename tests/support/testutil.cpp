#include "support/testutil.h"

#include <QFile>
#include <QRegularExpression>
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
