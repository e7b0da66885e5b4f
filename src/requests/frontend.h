// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What requests want of the front end; implemented by whoever has one.
class Taskmill_FrontEnd
{
public:
    virtual ~Taskmill_FrontEnd() = default;
    /// Whether there is a window to be shown and hidden; without one both do nothing.
    [[nodiscard]] virtual bool HasWindow() const = 0;
    virtual void ShowInFront() = 0;
    /// The same, with the job chosen in its list, if it is in one.
    virtual void ShowJob(int jobID) = 0;
    /// The same, and when the request is answered, the dialog that submits jobs; not over another one.
    virtual void ChooseFiles() = 0;
    virtual void PutAway() = 0;
    /// The window comes to the front and asks, when the request is answered, whether this project file is to
    /// be opened instead of the project that is.
    virtual void OfferProject(const QString &path) = 0;
    /// Whether the user has a dialog or a menu open, which a question that came up by itself would disturb.
    [[nodiscard]] virtual bool IsUserBusy() const = 0;
    /// Ends the program without a question as soon as the request is answered. Running jobs go on where they
    /// can, or are killed.
    virtual void QuitLater(bool keepsJobs) = 0;
};
