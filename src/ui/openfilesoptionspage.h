// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;

/// The page "UI Options" of the Submit Jobs dialog.
class Taskmill_OpenFilesOptionsPage : public QWidget
{
    Q_OBJECT

public:
    explicit Taskmill_OpenFilesOptionsPage(QWidget *parent = nullptr);

    /// From and to the user's settings.
    void Load();
    void Store() const;
    void SetDefaults();

    [[nodiscard]] bool UsesNativeBrowser() const;
    [[nodiscard]] bool StartsWithBrowser() const;
    [[nodiscard]] bool AllowsDuplicates() const;

Q_SIGNALS:
    /// The detail of the file list, which is chosen here, loaded or set back.
    void DetailSignal(int level);

private Q_SLOTS:
    void FileListDetailSlot(int level);

private:
    QCheckBox *m_nativeBrowser;
    QCheckBox *m_startWithBrowser;
    QCheckBox *m_allowDuplicates;
    QComboBox *m_detail;
};
