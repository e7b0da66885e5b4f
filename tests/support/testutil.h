// SPDX-License-Identifier: MIT
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

/// Settings are kept in a file below the directory from now on, and not where the user has his own.
void KeepSettingsIn(const QString &directory);
/// And so are working copies and all else that the program keeps from one run to the next.
void KeepStateIn(const QString &directory);

/// Text of a program with the line ends that it would have on every other system.
[[nodiscard]] QByteArray WithPlainLineEnds(QByteArray text);

/// For tests of what only Windows has, or cannot have.
#ifdef Q_OS_WIN
constexpr bool isWindows = true;
#else
constexpr bool isWindows = false;
#endif
/// Wine is Windows nearly everywhere.
[[nodiscard]] bool RunsUnderWine();
