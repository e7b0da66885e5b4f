// SPDX-License-Identifier: MIT
#include "jobs/jobresult.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
/// With a job is stored what a table and a listing show; a plot of all is made of the output.
constexpr size_t mostStoredEnergies = 1000;

QString Text(const std::string &text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// None for any other text.
Taskmill_Verdict VerdictOf(const QString &text)
{
    constexpr std::array verdicts{Taskmill_Verdict::Normal, Taskmill_Verdict::NotConverged,
                                  Taskmill_Verdict::Error};
    const QByteArray bytes = text.toUtf8();
    const auto *found = std::ranges::find(verdicts, std::string_view{bytes}, Taskmill_VerdictText);
    return found == verdicts.end() ? Taskmill_Verdict::None : *found;
}
} // namespace

QString Taskmill_JobResult::VerdictText() const
{
    const std::string_view text = Taskmill_VerdictText(Verdict);
    return IsOfKnownProgram() ? QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))
                              : QString{};
}

QJsonObject Taskmill_JobResult::Json() const
{
    QJsonArray energies;
    for (const double energy : Energies)
        energies.append(energy);
    return {
        {u"program"_s, Program},
        {u"version"_s, Version.isEmpty() ? QJsonValue{} : Version},
        {u"result"_s, VerdictText()},
        {u"message"_s, Message},
        {u"converged"_s, Converged ? QJsonValue{*Converged} : QJsonValue{}},
        {u"steps"_s, Steps},
        {u"energies"_s, energies},
    };
}

QString Taskmill_JobResult::ToJson() const
{
    return QString::fromUtf8(QJsonDocument{Json()}.toJson(QJsonDocument::Compact));
}

Taskmill_JobResult Taskmill_JobResult::FromJson(const QString &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
    Taskmill_JobResult result;
    result.Program = object.value("program"_L1).toString();
    result.Version = object.value("version"_L1).toString();
    result.Message = object.value("message"_L1).toString();
    result.Verdict = VerdictOf(object.value("result"_L1).toString());
    if (const QJsonValue converged = object.value("converged"_L1); converged.isBool())
        result.Converged = converged.toBool();
    result.Steps = std::max<qint64>(object.value("steps"_L1).toInteger(), 0);
    const QJsonArray energies = object.value("energies"_L1).toArray();
    for (const QJsonValue energy : energies)
        result.Energies.append(energy.toDouble());
    return result;
}

Taskmill_JobResult Taskmill_JobResult::OfVerdict(const QString &text)
{
    Taskmill_JobResult result;
    result.Verdict = VerdictOf(text);
    result.Program = u"?"_s;
    return result;
}

Taskmill_JobResult Taskmill_ResultOf(const Taskmill_ProgramResult &result)
{
    const size_t stored = std::min(result.Energies.size(), mostStoredEnergies);
    return {.Verdict = result.Verdict,
            .Message = Text(result.Message),
            .Program = Text(result.Program),
            .Version = Text(result.Version),
            .Converged = result.Converged(),
            .Steps = result.Steps,
            .Energies = {result.Energies.end() - static_cast<std::ptrdiff_t>(stored), result.Energies.end()}};
}
