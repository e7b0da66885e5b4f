// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"

#include <QDialog>

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

/// The editor of a job type, modal. It never touches the database: the caller reads the edited record back
/// when the dialog was accepted.
class Taskmill_NewJobTypeWidget final : public QDialog
{
    Q_OBJECT

public:
    explicit Taskmill_NewJobTypeWidget(QWidget *parent);
    ~Taskmill_NewJobTypeWidget() override;
    Q_DISABLE_COPY_MOVE(Taskmill_NewJobTypeWidget)

    /// Fills the fields from a record. "Ok" stays as it is.
    void Load(const Taskmill_JobType &jobType);
    /// A new record with what the fields hold; its key is 0.
    [[nodiscard]] Taskmill_JobType Read() const;

    /// As short as the contents allow.
    [[nodiscard]] QSize sizeHint() const override;

    /// A field that is left without a change counts as edited, too.
    bool eventFilter(QObject *watched, QEvent *event) override;

public Q_SLOTS:
    void CancelSlot();
    void NameEditSlot();
    void ApplicationNameEditSlot();
    void ExecutablePathEditSlot();
    void ExecutablePathBrowseSlot();
    void DefaultQueueSlot(int index);
    void GenericCommandLineEditSlot();
    void InputFileFilterEditSlot();
    void OutputFileFilterEditSlot();
    void EnvironmentVariablesEditSlot();
    void OkaySlot();

private:
    void MakeFields();
    void DescribeFields();
    void ConnectFields();
    void AddRows(QBoxLayout *layout);
    QBoxLayout *AddRow(QBoxLayout *layout, const QString &label, QWidget *field, int stretch = 1);
    void AddButtons(QBoxLayout *layout);
    /// 0 is shown as the text.
    [[nodiscard]] QSpinBox *NewMinutes(const QString &textOfNone);
    [[nodiscard]] QSpinBox *NewMegabytes();
    [[nodiscard]] QPushButton *NewButton(const QString &text);
    [[nodiscard]] QPlainTextEdit *NewTextEdit(int lines);
    /// Enables "Ok" exactly when the fields describe a valid job type.
    void UpdateOk();
    /// Says above the buttons why "Ok" is grey.
    void UpdateHint();

    void RunOnSlot(int index);
    void OpenClusterDialog();
    /// Shows a job type that runs elsewhere than the one in the fields.
    void ShowPlace(const Taskmill_JobType &jobType);
    /// The choice follows the executable.
    void UpdateRunOn();

    QLineEdit *m_name;
    QComboBox *m_defaultQueue;
    QComboBox *m_runOn; ///< in the order of its enumeration
    QPushButton *m_clusterSettings;
    QLineEdit *m_applicationName;
    QLineEdit *m_executablePath;
    QPushButton *m_browse;
    QPlainTextEdit *m_genericCommandLine;
    QLineEdit *m_inputFileFilter;
    QLineEdit *m_outputFileFilter;
    QPlainTextEdit *m_environmentVariables;
    QSpinBox *m_killGrace; ///< seconds
    QSpinBox *m_timeLimit; ///< minutes, as the next one
    QSpinBox *m_noProgress;
    QSpinBox *m_cores;  ///< 0 for not said, as the next
    QSpinBox *m_memory; ///< in units of 2^20 bytes, as the next one
    QSpinBox *m_freeSpace;
    QCheckBox *m_holdsChangedInput;
    QPushButton *m_ok;
    QLabel *m_hint;
    QList<QWidget *> m_labels;
};
