// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"
#include "jobs/jobneeds.h"

#include <QHash>
#include <QStringList>

#include <optional>

/// What the user has chosen in the Submit Jobs dialog, and what it is opened with.
struct Taskmill_SubmitChoice
{
    QStringList Files;
    Taskmill_Destination Destination = Taskmill_Destination::JobTypeDefault;
    int JobTypeID = -1; ///< negative: chosen for each file by its extension
    /// What is asked for a file in place of what it says itself, without files; by its path.
    QHash<QString, Taskmill_JobNeeds> Needs{};
    bool CheckAll = false; ///< of what the dialog is opened with: else only the first file is checked
};

/// Shows the Submit Jobs dialog; implemented by the window.
class Taskmill_SubmitDialog
{
public:
    virtual ~Taskmill_SubmitDialog() = default;
    /// Nothing when the user cancels. Runs an event loop of its own.
    virtual std::optional<Taskmill_SubmitChoice> AskForJobs(const QString &caption,
                                                            const Taskmill_SubmitChoice &preset) = 0;
};
