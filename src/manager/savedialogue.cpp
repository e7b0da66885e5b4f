// SPDX-License-Identifier: MIT
#include "manager/savedialogue.h"

#include "manager/savableproject.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
using Kind = Taskmill_Question::Kind;
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

Taskmill_Question ChangedQuestion(const QString &file)
{
    return {.title = QString::fromLatin1(Taskmill_SavingTitle),
            .text =
                u"The project file was changed by another program since it was opened or saved here:\n\n"_s +
                file + u"\n\nDo you want to replace it? What the other program wrote is lost then."_s,
            .consoleText = file + u" was changed by another program.  Do you want to replace it?"_s,
            .defaultAnswer = WarnAnswer::No};
}

Taskmill_Question FileQuestion()
{
    return {.title = u"Specify a Taskmill Project File"_s,
            .text = {},
            .consoleText = u"Enter Project File:"_s,
            .kind = Kind::FileToSave,
            .nameFilter = QString::fromLatin1(Taskmill_ProjectFileFilter)};
}

Taskmill_Question ReplaceQuestion(const QString &file)
{
    return {.title = FileQuestion().title,
            .text = QDir::toNativeSeparators(file) + u" already exists.\nDo you want to replace it?"_s,
            .consoleText = file + u" already exists.  Do you want to replace it?"_s,
            .defaultAnswer = WarnAnswer::No};
}
} // namespace

Taskmill_SaveDialogue::Taskmill_SaveDialogue(Taskmill_SavableProject &project, Target target)
    : m_project{project}
    , m_step{target == Target::OwnFile ? Step::Begin : Step::AskForFile}
{
}

std::optional<Taskmill_Question> Taskmill_SaveDialogue::Next()
{
    // A signal may end the program while a question stands, and the project is closed then.
    if (!m_project.IsOpen() && m_step != Step::Saved)
        m_step = Step::NotSaved;
    if (m_step == Step::Begin)
        Begin();
    if (m_step == Step::Write)
        Write();
    switch (m_step) {
    case Step::AskWhetherChangedMayGo:
        return ChangedQuestion(m_file);
    case Step::AskForFile:
        return FileQuestion();
    case Step::AskWhetherToReplace:
        return ReplaceQuestion(m_file);
    default:
        return std::nullopt;
    }
}

void Taskmill_SaveDialogue::Answer(const Taskmill_Answer &answer)
{
    if (m_step == Step::AskForFile) {
        m_file = Taskmill_SavableProject::ProjectFileName(answer.file);
        m_step = StepAfterFile(answer, m_file);
    } else {
        m_step = answer.IsYes() ? Step::Write : Step::AskForFile;
    }
}

Taskmill_SaveDialogue::Step Taskmill_SaveDialogue::StepAfterFile(const Taskmill_Answer &answer,
                                                                 const QString &file)
{
    if (file.isEmpty())
        return Step::NotSaved;
    // The front end has asked about the name as it was typed; with the ending added it may be another
    // existing file.
    const bool mayReplace = answer.mayReplaceFile && file == answer.file;
    return mayReplace || !QFileInfo::exists(file) ? Step::Write : Step::AskWhetherToReplace;
}

void Taskmill_SaveDialogue::Begin()
{
    m_file = m_project.FilePath();
    if (m_file.isEmpty())
        m_step = Step::AskForFile;
    else
        m_step = m_project.FileHasChanged() ? Step::AskWhetherChangedMayGo : Step::Write;
}

void Taskmill_SaveDialogue::Write()
{
    m_step = m_project.SaveProjectAs(m_file) ? Step::Saved : Step::AskForFile;
}
