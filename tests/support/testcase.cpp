// SPDX-License-Identifier: MIT
#include "support/testcase.h"

#include <QDir>

QString TestCase::Path(const QString &name) const
{
    return name.isEmpty() ? m_directory->path() : m_directory->filePath(name);
}

void TestCase::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_currentBefore = QDir::currentPath();
    m_environmentBefore = QProcessEnvironment::systemEnvironment();
}

void TestCase::cleanup()
{
    QDir::setCurrent(m_currentBefore);
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : environment.keys()) {
        if (!m_environmentBefore.contains(name))
            qunsetenv(name.toLocal8Bit());
    }
    for (const QString &name : m_environmentBefore.keys()) {
        if (m_environmentBefore.value(name) != environment.value(name))
            qputenv(name.toLocal8Bit(), m_environmentBefore.value(name).toLocal8Bit());
    }
    m_directory.reset();
}
