// SPDX-License-Identifier: MIT
#pragma once

#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// Base of the tests, which need not include what this header does, QtTest with the whole of QtCore among it.
/// Each test function has an empty directory of its own and fails at a warning of Qt about objects, SQL,
/// devices, processes or timers. Afterwards the environment and the current directory are as before.
class TestCase : public QObject
{
    Q_OBJECT

protected:
    /// In the directory of the test function; without a name that directory itself.
    [[nodiscard]] QString Path(const QString &name = {}) const;

protected Q_SLOTS:
    virtual void init();
    virtual void cleanup();

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_currentBefore;
    QProcessEnvironment m_environmentBefore;
};
