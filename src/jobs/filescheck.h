// SPDX-License-Identifier: MIT
#pragma once

class Taskmill_Job;

/// Whoever looks at the files of jobs before they start.
class Taskmill_FilesCheck
{
public:
    virtual ~Taskmill_FilesCheck() = default;

    enum class Answer
    {
        Starts,
        IsHeld,    ///< and its record says why
        IsLookedAt ///< or another one is: it is to be asked again later
    };
    /// Of a waiting job whose turn has come. Answers at once as a rule: an event loop waits some
    /// milliseconds for a drive.
    [[nodiscard]] virtual Answer Ask(Taskmill_Job &job) = 0;
    /// Looks at the files of a waiting job whose turn comes soon: the next Ask() about it takes that for an
    /// answer, for a second. False when it is not known that it may start then.
    virtual bool LookAhead(Taskmill_Job &job) = 0;
    /// It runs without having been asked about.
    virtual void NoteFilesOf(Taskmill_Job &job) const = 0;
    /// Some job does not run any more: those that waited for its files are held no longer.
    virtual void JobEnded() = 0;
    /// The user wants the job to start although something but another job speaks against it.
    virtual void LetStart(Taskmill_Job &job) const = 0;
};
