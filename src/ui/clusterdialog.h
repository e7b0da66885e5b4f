// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/clustercheck.h"
#include "jobs/jobtype.h"

#include <QDialog>

class QBoxLayout;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
struct Taskmill_ClusterOptions;

/// Asks how a job type runs on a Slurm cluster, and tries whether the cluster answers.
class Taskmill_ClusterDialog final : public QDialog
{
    Q_OBJECT

public:
    /// A job type that runs here is shown as it would run on a cluster.
    Taskmill_ClusterDialog(QWidget *parent, const Taskmill_JobType &jobType);

    /// The job type on the cluster, its command line as it was where no field was changed.
    [[nodiscard]] Taskmill_JobType JobType() const;

private:
    void MakeFields();
    void DescribeFields();
    void AddFields(QBoxLayout *layout);
    void AddButtons(QBoxLayout *layout);
    void ConnectFields();
    /// For a number, or one of the two words that stand for none.
    [[nodiscard]] QComboBox *NewNumber();
    [[nodiscard]] QPlainTextEdit *NewText(int lines);
    void Show(const Taskmill_ClusterOptions &options, const QString &program);
    [[nodiscard]] Taskmill_ClusterOptions Options() const;
    /// Empty when the fields can be used.
    [[nodiscard]] QString WhatIsWrong() const;
    void Update();

    void Try();
    void ShowAnswer(const QList<Taskmill_ClusterPartition> &partitions, const QString &error);
    void Say(const QString &text);
    void TakePartition(const QTreeWidgetItem *item);

    Taskmill_JobType m_jobType;
    Taskmill_ClusterCheck m_check;
    QLineEdit *m_program;
    QLineEdit *m_host;
    QPushButton *m_try;
    QComboBox *m_partition;
    QComboBox *m_cores;
    QComboBox *m_memory;
    QLineEdit *m_time;
    QPlainTextEdit *m_prepare;
    QLineEdit *m_others;
    QLabel *m_answer;
    QTreeWidget *m_partitions;
    QPlainTextEdit *m_commandLine;
    QLabel *m_hint;
    QPushButton *m_ok;
};
