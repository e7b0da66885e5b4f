// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The file filter of dialogs for project files.
extern const char *const Taskmill_ProjectFileFilter;
/// The title of what is asked and reported while a project is saved.
extern const char *const Taskmill_SavingTitle;

/// The open project as the dialogues that save it need it; see Taskmill_Project.
class Taskmill_SavableProject
{
public:
    virtual ~Taskmill_SavableProject() = default;

    [[nodiscard]] virtual bool IsOpen() const = 0;
    /// Absolute; empty for a project never saved.
    [[nodiscard]] virtual QString FilePath() const = 0;
    /// Whether another program has changed the project's file since it was opened or saved here.
    [[nodiscard]] virtual bool FileHasChanged() const = 0;
    /// Writes the project to the file of that name, which becomes its own, without asking; a failure is
    /// reported. What must be asked before is up to Taskmill_SaveDialogue.
    virtual bool SaveProjectAs(const QString &path) = 0;

    /// The trimmed name with ".mill" at its end; empty for an empty one.
    [[nodiscard]] static QString ProjectFileName(const QString &name);
};
