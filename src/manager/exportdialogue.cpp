// SPDX-License-Identifier: MIT
#include "manager/exportdialogue.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
QString WithEnding(const QString &name)
{
    const bool hasEnding =
        name.endsWith(".csv"_L1, Qt::CaseInsensitive) || name.endsWith(".json"_L1, Qt::CaseInsensitive);
    return hasEnding || name.isEmpty() ? name : name + u".csv"_s;
}
} // namespace

Taskmill_ExportDialogue::Taskmill_ExportDialogue(qsizetype jobs)
    : m_jobs{jobs}
{
}

std::optional<Taskmill_Question> Taskmill_ExportDialogue::Next()
{
    const QString title = m_jobs == 1 ? u"Export 1 Job"_s : u"Export %1 Jobs"_s.arg(m_jobs);
    switch (m_step) {
    case Step::AskForFile:
        return Taskmill_Question{.title = title,
                                 .text = {},
                                 .consoleText = u"Enter File to Export to:"_s,
                                 .kind = Taskmill_Question::Kind::FileToSave,
                                 .nameFilter = u"CSV Files, for Spreadsheets (*.csv);;JSON Files (*.json)"_s};
    case Step::AskWhetherToReplace:
        return Taskmill_Question{.title = title,
                                 .text = QDir::toNativeSeparators(m_file) +
                                         u" already exists.\nDo you want to replace it?"_s,
                                 .consoleText = m_file + u" already exists.  Do you want to replace it?"_s,
                                 .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::No};
    case Step::End:
        break;
    }
    return std::nullopt;
}

void Taskmill_ExportDialogue::Answer(const Taskmill_Answer &answer)
{
    if (m_step == Step::AskForFile) {
        m_file = WithEnding(answer.file);
        // The front end has asked about the name as it was typed; with the ending added it may be another
        // existing file.
        const bool mayReplace = answer.mayReplaceFile && m_file == answer.file;
        m_step = m_file.isEmpty() || mayReplace || !QFileInfo::exists(m_file) ? Step::End
                                                                              : Step::AskWhetherToReplace;
        return;
    }
    m_step = answer.IsYes() ? Step::End : Step::AskForFile;
}
