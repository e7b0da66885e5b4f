// SPDX-License-Identifier: MIT
#include "ui/projectmenu.h"

#include "kilnutil/error.h"
#include "manager/project.h"
#include "manager/recentprojects.h"
#include "manager/savedialogue.h"

#include <QDir>
#include <QFileInfo>
#include <QMenu>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Such as "&1  day.mill (/home/user/work)".
QString RecentText(int number, const QString &path)
{
    const QFileInfo file{path};
    QString text = u"%1 (%2)"_s.arg(file.fileName(), QDir::toNativeSeparators(file.path()));
    text.replace(u'&', u"&&"_s);
    // The tenth has no digit of its own.
    return (number < 10 ? u"&%1  "_s.arg(number) : u"1&0  "_s) + text;
}
} // namespace

Taskmill_ProjectMenu::Taskmill_ProjectMenu(QMenu &menu, Taskmill_Project &project)
    : QObject{&menu}
    , m_project{project}
{
    menu.addAction(u"&New"_s, QKeySequence{QKeySequence::New}, this, &Taskmill_ProjectMenu::NewSlot);
    menu.addAction(u"&Open..."_s, QKeySequence{QKeySequence::Open}, this, &Taskmill_ProjectMenu::OpenSlot);
    m_recent = menu.addMenu(u"Open &Recent"_s);
    menu.addSeparator();
    menu.addAction(u"&Save"_s, QKeySequence{QKeySequence::Save}, this, &Taskmill_ProjectMenu::SaveSlot);
    // Not every desktop has a standard key for it.
    menu.addAction(u"Save &As..."_s, QKeySequence{Qt::CTRL | Qt::SHIFT | Qt::Key_S}, this,
                   &Taskmill_ProjectMenu::SaveAsSlot);
    menu.addSeparator();
    menu.addAction(u"Se&ttings..."_s, this, &Taskmill_ProjectMenu::SettingsSignal);
    menu.addAction(u"E&xit"_s, QKeySequence{Qt::CTRL | Qt::Key_Q}, this, &Taskmill_ProjectMenu::ExitSignal);
    // Before the submenu can be opened.
    connect(&menu, &QMenu::aboutToShow, this, &Taskmill_ProjectMenu::FillRecent);
    FillRecent();
}

void Taskmill_ProjectMenu::FillRecent()
{
    m_recent->clear();
    QStringList paths = Taskmill_RecentProjects();
    paths.removeAll(m_project.FilePath());
    int number = 0;
    for (const QString &path : std::as_const(paths))
        m_recent->addAction(RecentText(++number, path), this, [this, path] { OpenFile(path); });
    m_recent->setEnabled(number > 0);
}

void Taskmill_ProjectMenu::NewSlot()
{
    if (m_project.AskForNewProject())
        Q_EMIT ProjectOpenedSignal();
}

void Taskmill_ProjectMenu::OpenSlot()
{
    const QString own = m_project.FilePath();
    const QString path = KilnUtil_Error::UserPrompt().AskOpenFileName(
        u"Open a Taskmill Project File"_s, own.isEmpty() ? QDir::currentPath() : QFileInfo{own}.path(),
        QString::fromLatin1(Taskmill_ProjectFileFilter));
    if (!path.isEmpty())
        OpenFile(path);
}

void Taskmill_ProjectMenu::OpenFile(const QString &path)
{
    const bool isOpened = m_project.OpenProject(path);
    // When the disk took no working copy, the one before is closed already: jobs need some project.
    if (isOpened || (!m_project.IsOpen() && m_project.NewProject()))
        Q_EMIT ProjectOpenedSignal();
}

void Taskmill_ProjectMenu::OfferFile(const QString &path)
{
    using Prompt = KilnUtil_UserPrompt;
    const QString own = m_project.FilePath();
    const bool isEmpty = own.isEmpty() && !m_project.HasUnsavedChanges();
    const QString open = own.isEmpty() ? u"a project that was never saved"_s : QDir::toNativeSeparators(own);
    const QString text =
        u"Taskmill runs already, with another project:\n\n%1\n\nOpen this one instead?\n\n%2"_s.arg(
            open, QDir::toNativeSeparators(path));
    if (isEmpty ||
        KilnUtil_Error::UserPrompt().AskQuestion(u"Open Project"_s, text, Prompt::WarnMode::YesNo,
                                                 Prompt::WarnAnswer::None) == Prompt::WarnAnswer::Yes)
        OpenFile(path);
}

void Taskmill_ProjectMenu::SaveSlot()
{
    Taskmill_SaveDialogue saving{m_project};
    Taskmill_AskThroughPrompt(saving);
}

void Taskmill_ProjectMenu::SaveAsSlot()
{
    Taskmill_SaveDialogue saving{m_project, Taskmill_SaveDialogue::Target::AskedFile};
    Taskmill_AskThroughPrompt(saving);
}
