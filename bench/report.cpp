// SPDX-License-Identifier: MIT
#include "report.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace Bench {
Options Options::Read(int argc, char **argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument = argv[i];
        if (argument == "--quick")
            options.Quick = true;
        else if (argument == "--json" && i + 1 < argc)
            options.Json = argv[++i];
        else
            options.Numbers.append(argument);
    }
    return options;
}

Report::Report(Options options)
    : m_options{std::move(options)}
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
}

void Report::Title(const char *text)
{
    m_title = text;
    std::printf("\n%s\n", text);
}

void Report::Add(const QByteArray &figure, double value, const QByteArray &unit, double most)
{
    std::printf("  %-46s %10.3f %-4s", figure.constData(), value, unit.constData());
    QJsonObject object{
        {u"figure"_s, QString::fromUtf8(figure)}, {u"value"_s, value}, {u"unit"_s, QString::fromUtf8(unit)}};
    if (most > 0) {
        std::printf(" (%s %g)", value <= most ? "within" : "MISSES", most);
        object.insert(u"limit"_s, most);
        object.insert(u"reached"_s, value <= most);
    }
    std::printf("\n");
    Write(object);
}

void Report::Add(const QByteArray &figure, double value, const QByteArray &unit, const Baseline &baseline)
{
    const double ratio = value / baseline.Value;
    std::printf("  %-46s %10.3f %-4s / %10.3f %-26s = %6.2f", figure.constData(), value, unit.constData(),
                baseline.Value, baseline.Name.constData(), ratio);
    QJsonObject object{
        {u"figure"_s, QString::fromUtf8(figure)}, {u"value"_s, value},
        {u"unit"_s, QString::fromUtf8(unit)},     {u"baseline"_s, QString::fromUtf8(baseline.Name)},
        {u"baselineValue"_s, baseline.Value},     {u"ratio"_s, ratio}};
    if (baseline.MostTimes > 0) {
        std::printf(" (%s %g)", ratio <= baseline.MostTimes ? "within" : "MISSES", baseline.MostTimes);
        object.insert(u"limit"_s, baseline.MostTimes);
        object.insert(u"reached"_s, ratio <= baseline.MostTimes);
    }
    std::printf("\n");
    Write(object);
}

void Report::Write(QJsonObject figure)
{
    if (m_options.Json.isEmpty())
        return;
    figure.insert(u"title"_s, QString::fromUtf8(m_title));
    QFile file{QFile::decodeName(m_options.Json)};
    if (!file.open(QIODevice::Append) ||
        file.write(QJsonDocument{figure}.toJson(QJsonDocument::Compact) + '\n') < 0)
        qFatal("cannot write %s", m_options.Json.constData());
}

double Median(QList<double> values)
{
    if (values.isEmpty())
        return 0;
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double MilliSeconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}
} // namespace Bench
