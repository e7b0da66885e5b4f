// SPDX-License-Identifier: MIT
#include "manager/changedfiledialogue.h"

#include "manager/project.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

Taskmill_ChangedFileDialogue::Taskmill_ChangedFileDialogue(Taskmill_Project &project)
    : m_project{project}
{
}

std::optional<Taskmill_Question> Taskmill_ChangedFileDialogue::Next()
{
    if (!m_project.HasChangedFile())
        return std::nullopt;
    const QString file = QDir::toNativeSeparators(m_project.FilePath());
    return Taskmill_Question{
        .title = u"Recovered Changes"_s,
        .text =
            u"The project file was changed by another program while its changes here were not saved:\n\n"_s +
            file +
            u"\n\nDo you want to go on with the recovered changes? The file stays as it is until you "
            u"save.\n\n"
            "If you choose No, the file is opened as it is, and the recovered project is written to a new "
            "file beside it."_s,
        .consoleText =
            file +
            u" was changed by another program while its changes here were not saved.  Do you want to go on "
            "with the recovered changes?"_s,
        .kind = Taskmill_Question::Kind::YesNoCancel,
        .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::Yes};
}

void Taskmill_ChangedFileDialogue::Answer(const Taskmill_Answer &answer)
{
    if (answer.IsNo())
        m_recoveredFile = m_project.OpenFileInstead();
    // Asked once, also when that failed.
    m_project.KeepRecovered();
}

QString Taskmill_ChangedFileDialogue::Notice(const Taskmill_Project &project)
{
    return project.HasChangedFile()
               ? u"%1 was changed by another program while its changes here were not saved. It stays as it is; the recovered changes are in use."_s
                     .arg(QDir::toNativeSeparators(project.FilePath()))
               : QString{};
}
