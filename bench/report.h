// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

#include <functional>

class QJsonObject;

namespace Bench {
/// The command line of a benchmark: --quick for fewer repetitions, --json FILE for the figures as JSON lines.
struct Options
{
    bool Quick = false;
    QByteArray Json;
    QList<QByteArray> Numbers; ///< the other arguments

    static Options Read(int argc, char **argv);
};

/// What a figure is held against. A limit of 0 is none.
struct Baseline
{
    QByteArray Name;
    double Value = 0;
    double MostTimes = 0;
};

/// Prints each figure as one line of a table and, when asked to, writes it to the JSON file.
class Report
{
public:
    explicit Report(Options options);

    [[nodiscard]] bool Quick() const { return m_options.Quick; }
    /// Of the figures that follow.
    void Title(const char *text);
    /// `most` is the limit of the value itself.
    void Add(const QByteArray &figure, double value, const QByteArray &unit, double most = 0);
    void Add(const QByteArray &figure, double value, const QByteArray &unit, const Baseline &baseline);

private:
    void Write(QJsonObject figure);

    Options m_options;
    QByteArray m_title;
};

[[nodiscard]] double Median(QList<double> values);
[[nodiscard]] double MilliSeconds(const std::function<void()> &work);
} // namespace Bench
