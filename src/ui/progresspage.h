// SPDX-License-Identifier: MIT
#pragma once

#include "ui/detailspage.h"

#include <memory>

class KilnUtil_ElidedLabel;
class KilnUtil_PlotWidget;
class QPushButton;
class Taskmill_JobResults;
struct Taskmill_ProgramResult;

/// How a calculation goes on, or went: its energies by step, how much they change, and the cycles of the SCF
/// that ran last.
class Taskmill_ProgressPage final : public Taskmill_DetailsPage
{
    Q_OBJECT

public:
    /// The results outlive this.
    Taskmill_ProgressPage(QWidget *parent, Taskmill_JobResults &results);
    ~Taskmill_ProgressPage() override;
    Q_DISABLE_COPY_MOVE(Taskmill_ProgressPage)

    void ShowJob(const Taskmill_ShownJob &job) override;
    void Rest() override;

    /// The three plots beside one another.
    [[nodiscard]] QPixmap Picture() const;
    /// Energy and change of each step.
    [[nodiscard]] QString Csv() const;

private:
    using State = std::shared_ptr<const Taskmill_ProgramResult>;

    void ReadEnded();
    void Show(const Taskmill_ProgramResult &state, bool isComplete);
    void ShowStored();
    [[nodiscard]] QString EmptyText() const;

    Taskmill_JobResults &m_results;
    KilnUtil_ElidedLabel *m_caption;
    QPushButton *m_copyPicture;
    QPushButton *m_copyCsv;
    KilnUtil_PlotWidget *m_energy;
    KilnUtil_PlotWidget *m_change;
    KilnUtil_PlotWidget *m_cycles;
    std::optional<Taskmill_ShownJob> m_job;
    int m_readJobID = -1; ///< of the ended job whose output was read, or is being read
    qint64 m_reading = 0; ///< its number
};

/// Such as "step 12, -40.123456 hartree"; empty where there is no energy.
[[nodiscard]] QString Taskmill_ProgressText(const Taskmill_ProgramResult &state);
