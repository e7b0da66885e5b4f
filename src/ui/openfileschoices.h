// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"

#include <QWidget>

class Taskmill_JobStore;
class QComboBox;
struct Taskmill_SubmitChoice;

/// The choices of the Submit Jobs dialog that hold for all files: what they are submitted as, and to which
/// queue.
class Taskmill_OpenFilesChoices : public QWidget
{
    Q_OBJECT

public:
    explicit Taskmill_OpenFilesChoices(QWidget *parent = nullptr);

    /// The job types to choose from.
    void Fill(Taskmill_JobStore &store);
    /// What the preset leaves open stays as it is with `retain`, and becomes "Auto" without.
    void Preset(const Taskmill_SubmitChoice &preset, bool retain);

    /// From and to the user's settings.
    void Load();
    void Store() const;
    void SetDefaults();

    /// Negative when the extension of each file decides.
    [[nodiscard]] int JobTypeID() const;
    [[nodiscard]] Taskmill_Destination Destination() const;
    /// What becomes of the files, in sentences for the user.
    [[nodiscard]] QString Explanation() const;

Q_SIGNALS:
    /// Both when the user chooses.
    void JobTypeSignal(int jobTypeID);
    void ChangedSignal();

private Q_SLOTS:
    void OpenAsSlot(int index);
    void DestQueueSlot(int index);

private:
    QComboBox *m_openAs;
    QComboBox *m_destQueue;
};
