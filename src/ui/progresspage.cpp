// SPDX-License-Identifier: MIT
#include "ui/progresspage.h"

#include "engines/programresult.h"
#include "manager/jobresults.h"
#include "widgets/elidedlabel.h"
#include "widgets/plotwidget.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
QList<double> ListOf(const std::vector<double> &values)
{
    return {values.begin(), values.end()};
}

/// The change of each energy from the one before; the first one has none.
QList<double> ChangesOf(const QList<double> &energies)
{
    QList<double> changes;
    changes.reserve(energies.size());
    for (qsizetype index = 0; index < energies.size(); ++index)
        changes.append(index == 0 ? std::numeric_limits<double>::quiet_NaN()
                                  : std::abs(energies[index] - energies[index - 1]));
    return changes;
}

KilnUtil_PlotSeries SeriesOf(const QString &title, const QString &emptyText)
{
    KilnUtil_PlotSeries series;
    series.Title = title;
    series.StepName = u"step"_s;
    series.Unit = u"hartree"_s;
    series.EmptyText = emptyText;
    return series;
}
} // namespace

QString Taskmill_ProgressText(const Taskmill_ProgramResult &state)
{
    if (state.Energies.empty())
        return {};
    const auto steps = qMax<qint64>(state.Steps, static_cast<qint64>(state.Energies.size()));
    return u"step %1, %2 hartree"_s.arg(state.Steps > 0 ? state.Steps : steps)
        .arg(state.Energies.back(), 0, 'f', 6);
}

Taskmill_ProgressPage::Taskmill_ProgressPage(QWidget *parent, Taskmill_JobResults &results)
    : Taskmill_DetailsPage{parent}
    , m_results{results}
    , m_caption{new KilnUtil_ElidedLabel{this}}
    , m_copyPicture{new QPushButton{u"Copy Picture"_s, this}}
    , m_copyCsv{new QPushButton{u"Copy CSV"_s, this}}
    , m_energy{new KilnUtil_PlotWidget{this}}
    , m_change{new KilnUtil_PlotWidget{this}}
    , m_cycles{new KilnUtil_PlotWidget{this}}
{
    m_caption->setAccessibleName(u"Progress"_s);
    m_copyPicture->setToolTip(u"Copy the plots as a picture"_s);
    m_copyCsv->setToolTip(u"Copy the energies and their changes as comma-separated values"_s);
    connect(m_copyPicture, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setPixmap(Picture()); });
    connect(m_copyCsv, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(Csv()); });

    const int gap = fontMetrics().height() / 3;
    auto *heading = new QHBoxLayout;
    heading->setContentsMargins(2 * gap, gap, gap, gap);
    heading->setSpacing(gap);
    heading->addWidget(m_caption, 1);
    heading->addWidget(m_copyPicture);
    heading->addWidget(m_copyCsv);
    auto *plots = new QHBoxLayout;
    plots->setSpacing(1);
    for (KilnUtil_PlotWidget *plot : {m_energy, m_change, m_cycles})
        plots->addWidget(plot, 1);
    auto *layout = new QVBoxLayout{this};
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addLayout(heading);
    layout->addLayout(plots, 1);
    setFocusProxy(m_energy);
    connect(&m_results, &Taskmill_JobResults::StateChangedSignal, this, [this](int jobID) {
        if (isVisible() && m_job && m_job->Record.JobID == jobID)
            ShowJob(*m_job);
    });
}

Taskmill_ProgressPage::~Taskmill_ProgressPage() = default;

void Taskmill_ProgressPage::Rest()
{
    if (m_reading == 0)
        return;
    m_results.GiveUp(m_reading);
    m_reading = 0;
    m_readJobID = -1;
}

void Taskmill_ProgressPage::ShowJob(const Taskmill_ShownJob &job)
{
    const bool isAnother = !m_job || !m_job->Is(job.Record);
    m_job = job;
    if (isAnother) {
        Rest();
        m_readJobID = -1;
    }
    if (!job.Record.IsFinished()) {
        const State state = m_results.StateOf(job.Record.JobID);
        Show(state ? *state : Taskmill_ProgramResult{}, false);
        return;
    }
    if (m_readJobID == job.Record.JobID)
        return;
    // What is stored is shown at once, the whole when it has been read.
    ShowStored();
    if (job.Record.Result.IsOfKnownProgram())
        ReadEnded();
}

void Taskmill_ProgressPage::ReadEnded()
{
    m_readJobID = m_job->Record.JobID;
    const bool isFileRead = !m_job->Record.OutputFilePath().isEmpty() || !m_job->Printed;
    m_reading = m_results.ReadEnded(
        m_job->Record, isFileRead ? Taskmill_OutputText{} : m_job->Printed(), this,
        [this, jobID = m_readJobID](const Taskmill_ResultState &state, bool isComplete) {
            if (!m_job || m_job->Record.JobID != jobID || m_readJobID != jobID)
                return;
            if (isComplete)
                m_reading = 0;
            // The file may be gone, or have become another one: what was stored stays.
            if (isComplete &&
                state->Energies.size() >= static_cast<size_t>(m_job->Record.Result.Energies.size()))
                Show(*state, true);
        });
}

void Taskmill_ProgressPage::ShowStored()
{
    const Taskmill_JobResult &stored = m_job->Record.Result;
    Taskmill_ProgramResult state;
    state.Program = stored.Program.toStdString();
    state.Verdict = stored.Verdict;
    state.Steps = stored.Steps;
    state.Energies = {stored.Energies.begin(), stored.Energies.end()};
    Show(state, true);
}

QString Taskmill_ProgressPage::EmptyText() const
{
    const Taskmill_JobRecord &job = m_job->Record;
    if (job.Status == Taskmill_JobStatus::Running)
        return u"No energies so far."_s;
    return job.IsFinished() ? u"The output shows no energies."_s : u"The job has not been started."_s;
}

void Taskmill_ProgressPage::Show(const Taskmill_ProgramResult &state, bool isComplete)
{
    const QList<double> energies = ListOf(state.Energies);
    const auto count = static_cast<qint64>(energies.size());
    // Of a long run only the newest are kept.
    const qint64 first = qMax<qint64>(1, state.Steps - count + 1);
    KilnUtil_PlotSeries energy = SeriesOf(u"Energy"_s, EmptyText());
    energy.FirstStep = first;
    energy.LastStep = state.Steps;
    energy.Values = energies;
    KilnUtil_PlotSeries change =
        SeriesOf(u"Change of energy"_s, count == 1 ? u"There is only one energy."_s : EmptyText());
    change.Scale = KilnUtil_PlotAxis::Scale::Logarithmic;
    change.FirstStep = first;
    // What a program calculates of the structure of the last step is no change.
    const QList<double> ofSteps =
        state.Steps > 0 ? energies.first(qMin(count, state.Steps - first + 1)) : energies;
    change.Values = ChangesOf(ofSteps);
    KilnUtil_PlotSeries cycles = SeriesOf(isComplete ? u"Last SCF"_s : u"SCF of this step"_s,
                                          count == 0 ? EmptyText() : u"No SCF cycles in the output."_s);
    cycles.StepName = u"cycle"_s;
    cycles.Values = ListOf(state.CycleEnergies);
    m_energy->SetSeries(energy);
    m_change->SetSeries(change);
    m_cycles->SetSeries(cycles);

    QStringList parts;
    if (!state.Program.empty())
        parts += QString::fromStdString(state.Program);
    if (count > 0 && isComplete)
        parts += u"%1 steps, %2 hartree"_s.arg(state.Steps).arg(energies.last(), 0, 'f', 6);
    else if (count > 0)
        parts += Taskmill_ProgressText(state);
    if (const qsizetype steps = ofSteps.size(); steps > 1)
        parts += u"last change %1 hartree"_s.arg(ofSteps[steps - 1] - ofSteps[steps - 2], 0, 'e', 2);
    m_caption->SetText(parts.join(u"  ·  "_s));
    m_copyPicture->setEnabled(count > 0);
    m_copyCsv->setEnabled(count > 0);
}

QPixmap Taskmill_ProgressPage::Picture() const
{
    const QList<const KilnUtil_PlotWidget *> plots{m_energy, m_change, m_cycles};
    QSize whole{0, m_energy->height()};
    for (const KilnUtil_PlotWidget *plot : plots) {
        if (!plot->Series().Values.isEmpty())
            whole.rwidth() += plot->width();
    }
    QPixmap picture{whole * devicePixelRatioF()};
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(palette().color(QPalette::Base));
    QPainter painter{&picture};
    int x = 0;
    for (const KilnUtil_PlotWidget *plot : plots) {
        if (plot->Series().Values.isEmpty())
            continue;
        painter.drawPixmap(x, 0, plot->Picture());
        x += plot->width();
    }
    return picture;
}

QString Taskmill_ProgressPage::Csv() const
{
    const KilnUtil_PlotSeries &energy = m_energy->Series();
    QString text = u"step,energy (hartree),change of energy (hartree)\n"_s;
    for (qsizetype index = 0; index < energy.Values.size(); ++index) {
        const bool isStep = index < m_change->Series().Values.size();
        const QString change = index > 0 && isStep
                                   ? QString::number(energy.Values[index] - energy.Values[index - 1], 'g', 10)
                                   : QString{};
        text += u"%1,%2,%3\n"_s.arg(isStep ? QString::number(energy.FirstStep + index) : QString{},
                                    QString::number(energy.Values[index], 'g', 15), change);
    }
    return text;
}
