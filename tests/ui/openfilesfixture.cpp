#include "openfilesfixture.h"

#include "jobs/runmode.h"
#include "kilnutil/registry.h"

#include <QComboBox>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

void OpenFilesFixture::init()
{
    FailOnQtWarnings();
    KilnUtil_Registry::SetAppData(u"TaskmillGUI"_s, u"1"_s, u"1.1"_s, u"1.1.18"_s, u"TASKMILLPREFS_DIR"_s,
                                  u".taskmillprefs"_s);
    m_manager = std::make_unique<TestManager>();
    m_manager->NewProject();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->AddJobType(u"One"_s, u"exit 0"_s, u"Long"_s, u"One Files (*.one)"_s);
    m_manager->AddJobType(u"Two"_s, u"exit 0"_s, u"Short"_s, u"Two Files (*.two)"_s);
    m_files = {m_manager->InputFile(u"a.in"_s), m_manager->InputFile(u"b.in"_s),
               m_manager->InputFile(u"c.in"_s)};
    NewDialog();
}

void OpenFilesFixture::cleanup()
{
    m_dialog.reset();
    m_manager.reset();
}

OpenFilesFixture::Choice OpenFilesFixture::Open(const Taskmill_SubmitChoice &preset,
                                                const std::function<void()> &whileOpen)
{
    QTimer::singleShot(0, m_dialog.get(), [&] {
        if (QTest::qWaitForWindowActive(m_dialog.get()))
            whileOpen();
        if (m_dialog->isVisible())
            m_dialog->reject();
    });
    return m_dialog->AskForJobs(u"Job Input Files"_s, preset);
}

OpenFilesFixture::Choice OpenFilesFixture::Submit(const Taskmill_SubmitChoice &preset,
                                                  const std::function<void()> &before)
{
    return Open(preset, [&] {
        before();
        Click(u"Submit"_s);
    });
}

void OpenFilesFixture::Drop(const QMimeData &data, Qt::DropActions actions)
{
    QDragEnterEvent enter{QPoint{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(FileList()->viewport(), &enter);
    QDropEvent drop{QPointF{20, 20}, actions, &data, Qt::LeftButton, {}};
    QCoreApplication::sendEvent(FileList()->viewport(), &drop);
    QCOMPARE(drop.isAccepted(), enter.isAccepted());
    QCoreApplication::processEvents();
}

void OpenFilesFixture::Drop(const QStringList &paths, Qt::DropActions actions)
{
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls.append(QUrl::fromLocalFile(path));
    QMimeData data;
    data.setUrls(urls);
    Drop(data, actions);
}

QAbstractButton *OpenFilesFixture::Button(const QString &text) const
{
    for (QAbstractButton *button : m_dialog->findChildren<QAbstractButton *>()) {
        if (button->text() == text || button->accessibleName() == text)
            return button;
    }
    qFatal("no button %ls", qUtf16Printable(text));
}

QComboBox *OpenFilesFixture::Box(const QString &name) const
{
    for (QComboBox *box : m_dialog->findChildren<QComboBox *>()) {
        if (box->accessibleName() == name)
            return box;
    }
    qFatal("no box %ls", qUtf16Printable(name));
}

QMenu *OpenFilesFixture::Menu(const QString &button)
{
    QMenu *menu = qobject_cast<QPushButton *>(Button(button))->menu();
    menu->popup({});
    menu->hide();
    return menu;
}

void OpenFilesFixture::RunAction(const QString &items, const QString &operation)
{
    for (const QAction *submenu : Menu(u"Actions"_s)->actions()) {
        for (QAction *action : submenu->menu()->actions()) {
            if (submenu->text() == items && action->text() == operation && submenu->isEnabled())
                action->trigger();
        }
    }
}

QString OpenFilesFixture::Names() const
{
    QStringList names;
    for (int row = 0; row < FileList()->topLevelItemCount(); ++row) {
        const QTreeWidgetItem *item = FileList()->topLevelItem(row);
        names.append(item->text(List::FileNameColumn) +
                     (item->checkState(List::IDColumn) == Qt::Checked ? QString{} : u"-"_s));
    }
    return names.join(u' ');
}

QLabel *OpenFilesFixture::Label(const QString &end) const
{
    const auto labels = m_dialog->findChildren<QLabel *>();
    const auto found =
        std::ranges::find_if(labels, [&end](const QLabel *label) { return label->text().endsWith(end); });
    return found == labels.end() ? nullptr : *found;
}

QString OpenFilesFixture::CountText() const
{
    return Label(u" files:"_s)->text();
}

QString OpenFilesFixture::Stored(const QString &key)
{
    QString value = u"none"_s;
    (void)KilnUtil_Registry::GetAppUserData(u"Open Files"_s, key, value);
    return value;
}

void OpenFilesFixture::NewDialog()
{
    m_dialog = std::make_unique<Taskmill_OpenFilesDialog>(m_manager->store, nullptr);
}

void OpenFilesFixture::Click(const QString &button)
{
    Button(button)->click();
}

QStringList OpenFilesFixture::EntryTexts(const QMenu &menu)
{
    QStringList texts;
    for (const QAction *action : menu.actions())
        texts.append(action->isSeparator() ? u"-"_s : action->text());
    return texts;
}
