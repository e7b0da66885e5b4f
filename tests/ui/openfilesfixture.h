#pragma once

#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/openfilesdialog.h"

#include <QObject>

#include <functional>
#include <memory>

class QAbstractButton;
class QComboBox;
class QLabel;
class QMenu;
class QMimeData;

/// The Submit Jobs dialog of a manager with the job types "One" (*.one, long) and "Two" (*.two, short).
class OpenFilesFixture : public QObject
{
    Q_OBJECT

protected:
    using List = Taskmill_OpenFilesList;
    using Choice = std::optional<Taskmill_SubmitChoice>;

    [[nodiscard]] TestManager &Manager() const { return *m_manager; }
    [[nodiscard]] Taskmill_OpenFilesDialog &Dialog() const { return *m_dialog; }
    /// As after the next start of the program.
    void NewDialog();
    /// a.in, b.in, c.in.
    [[nodiscard]] const QStringList &Files() const { return m_files; }

    /// Opens the dialog and calls the function while it is open, then closes it unless that was done.
    Choice Open(const Taskmill_SubmitChoice &preset, const std::function<void()> &whileOpen);
    /// Opens it and submits.
    Choice Submit(
        const Taskmill_SubmitChoice &preset, const std::function<void()> &before = [] {});
    void Drop(const QMimeData &data, Qt::DropActions actions = Qt::CopyAction);
    void Drop(const QStringList &paths, Qt::DropActions actions = Qt::CopyAction);
    /// Chooses from the menu "Actions".
    void RunAction(const QString &items, const QString &operation);
    /// The menu of a button, which has been shown.
    [[nodiscard]] QMenu *Menu(const QString &button);
    void Click(const QString &button);

    [[nodiscard]] QAbstractButton *Button(const QString &text) const;
    [[nodiscard]] QComboBox *Box(const QString &name) const;
    [[nodiscard]] List *FileList() const { return m_dialog->findChild<List *>(); }
    /// "a.in b.in-": the names in order, with a minus when not checked.
    [[nodiscard]] QString Names() const;
    /// The label with that end.
    [[nodiscard]] QLabel *Label(const QString &end) const;
    [[nodiscard]] QString CountText() const;

    /// "-" stands for a separator.
    [[nodiscard]] static QStringList EntryTexts(const QMenu &menu);
    /// What is stored of an option; "none" when nothing is.
    [[nodiscard]] static QString Stored(const QString &key);

private Q_SLOTS:
    void init();
    void cleanup();

private:
    std::unique_ptr<TestManager> m_manager;
    std::unique_ptr<Taskmill_OpenFilesDialog> m_dialog;
    QStringList m_files;
};
