// SPDX-License-Identifier: MIT
#include "manager/jobexport.h"

#include "kilnutil/error.h"
#include "manager/listings.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QPointer>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestTurnMs = 10;
const QString resultKey = u"result"_s;

/// Of what the result says, in a line.
const QStringList resultKeys{resultKey,      u"message"_s, u"program"_s, u"version"_s,
                             u"converged"_s, u"steps"_s,   u"energy"_s};

QJsonObject Json(const Taskmill_JobRecord &job)
{
    return Taskmill_Listings::JobFields().Json(job);
}

QString NumberText(double number)
{
    constexpr double largestWhole = 1e15;
    if (std::abs(number) < largestWhole && std::trunc(number) == number)
        return QString::number(static_cast<qint64>(number));
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

/// A text that begins so is a formula for spreadsheets.
bool IsFormula(const QString &text)
{
    return !text.isEmpty() && u"=+-@\t\r"_s.contains(text.front());
}

QString Quoted(const QString &text)
{
    QString cell = IsFormula(text) ? u'\'' + text : text;
    const auto needsQuotes = [](QChar character) {
        return character == u',' || character == u'"' || character == u'\n' || character == u'\r';
    };
    const bool hasBlanks = cell != cell.trimmed();
    if (!hasBlanks && std::ranges::none_of(cell, needsQuotes))
        return cell;
    return u'"' + cell.replace(u'"', u"\"\""_s) + u'"';
}

QString CsvCell(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool() ? u"true"_s : u"false"_s;
    case QJsonValue::Double:
        return NumberText(value.toDouble());
    case QJsonValue::String:
        return Quoted(value.toString());
    case QJsonValue::Array:
        return value.toArray().isEmpty()
                   ? QString{}
                   : Quoted(QString::fromUtf8(QJsonDocument{value.toArray()}.toJson(QJsonDocument::Compact)));
    default:
        return {};
    }
}

QStringList JobKeys()
{
    QStringList keys = Taskmill_Listings::JobFields().Keys();
    keys.removeAll(resultKey);
    return keys;
}
} // namespace

QString Taskmill_JobExport::CsvHeader()
{
    return (JobKeys() + resultKeys).join(u',');
}

QString Taskmill_JobExport::CsvLine(const Taskmill_JobRecord &job)
{
    const QJsonObject object = Json(job);
    QJsonObject result = object.value(resultKey).toObject();
    if (!job.Result.Energies.isEmpty())
        result.insert(u"energy"_s, job.Result.Energies.last());
    QStringList cells;
    for (const QString &key : JobKeys())
        cells.append(CsvCell(object.value(key)));
    for (const QString &key : resultKeys)
        cells.append(CsvCell(result.value(key)));
    return cells.join(u',');
}

Taskmill_JobExport *Taskmill_JobExport::Begin(const QString &file, qsizetype count, const JobAt &jobAt,
                                              QObject *parent)
{
    return new Taskmill_JobExport{file, count, jobAt, parent};
}

Taskmill_JobExport::Taskmill_JobExport(const QString &file, qsizetype count, JobAt jobAt, QObject *parent)
    : QObject{parent}
    , m_file{file}
    , m_count{count}
    , m_jobAt{std::move(jobAt)}
    , m_isJson{file.endsWith(".json"_L1, Qt::CaseInsensitive)}
{
    if (m_file.open(QIODevice::WriteOnly))
        m_file.write(m_isJson ? "["_ba : CsvHeader().toUtf8() + "\r\n");
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_JobExport::StepSlot);
    m_timer.start(0);
}

void Taskmill_JobExport::Write(const Taskmill_JobRecord &job)
{
    if (m_isJson)
        m_file.write((m_hasWritten ? ",\n" : "\n") + QJsonDocument{Json(job)}.toJson(QJsonDocument::Compact));
    else
        m_file.write(CsvLine(job).toUtf8() + "\r\n");
    m_hasWritten = true;
}

void Taskmill_JobExport::StepSlot()
{
    QElapsedTimer time;
    time.start();
    while (m_file.error() == QFileDevice::NoError && m_place < m_count) {
        if (const Taskmill_JobRecord *job = m_jobAt(m_place++))
            Write(*job);
        if (time.elapsed() >= longestTurnMs)
            return;
    }
    End();
}

void Taskmill_JobExport::End()
{
    m_timer.stop();
    if (m_isJson && m_file.isOpen())
        m_file.write("\n]\n");
    const bool isWritten = m_file.error() == QFileDevice::NoError && m_file.commit();
    // The error box may stay open for long, and the user may close the window meanwhile.
    const QPointer self{this};
    if (!isWritten)
        KilnUtil_Error::ReportError(u"Export"_s,
                                    u"The jobs could not be written to %1: %2"_s.arg(
                                        QDir::toNativeSeparators(m_file.fileName()), m_file.errorString()));
    if (!self)
        return;
    Q_EMIT FinishedSignal(isWritten);
    deleteLater();
}
