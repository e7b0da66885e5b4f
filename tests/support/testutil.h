#pragma once

#include <QString>

/// To be called in init(): from then on a warning of Qt about objects, SQL, devices, processes or timers
/// fails the test.
void FailOnQtWarnings();

/// Full path of the small program that stands in for a calculation (tests/support/testprogram.cpp).
[[nodiscard]] QString TestProgramPath();

/// Writes a file that must succeed; returns its path.
QString WriteTestFile(const QString &path, const QByteArray &content);
[[nodiscard]] QByteArray ReadTestFile(const QString &path);
