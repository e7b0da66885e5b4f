// SPDX-License-Identifier: MIT
#include "ui/clusterdialog.h"

#include "help/helpdialog.h"
#include "jobs/clustercall.h"
#include "jobs/jobneeds.h"
#include "kilnutil/stringutil.h"

#include <QAccessible>
#include <QBoxLayout>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int leastFieldCharacters = 60;
constexpr int prepareLines = 3;
constexpr int commandLines = 3;
constexpr int partitionRows = 4;

void Describe(QWidget *field, const QString &name, const QString &toolTip)
{
    field->setAccessibleName(name);
    field->setAccessibleDescription(toolTip);
    field->setToolTip(u"<qt>"_s + toolTip.toHtmlEscaped() + u"</qt>"_s);
}

/// What a box for a number holds: digits, a placeholder, the word for the input's number, or nothing.
QString Number(const QComboBox &box)
{
    const int item = box.findText(box.currentText());
    return item < 0 ? box.currentText().trimmed() : box.itemData(item).toString();
}

void SetNumber(QComboBox &box, const QString &number)
{
    const int item = box.findData(number);
    box.setCurrentText(item < 0 ? number : box.itemText(item));
}

template <typename FromText>
bool IsNumberOrWord(const QComboBox &box, FromText fromText)
{
    const QString number = Number(box);
    // Whoever submits the job fills a placeholder.
    return number.isEmpty() || number == Taskmill_ClusterOptions::OfInput || number.contains(u'@') ||
           fromText(number).has_value();
}
} // namespace

Taskmill_ClusterDialog::Taskmill_ClusterDialog(QWidget *parent, const Taskmill_JobType &jobType)
    : QDialog{parent}
    , m_jobType{jobType}
{
    setWindowModality(Qt::WindowModal);
    setWindowTitle(u"Run on a Slurm Cluster"_s);
    MakeFields();
    DescribeFields();
    auto *layout = new QVBoxLayout{this};
    AddFields(layout);
    AddButtons(layout);
    if (const auto call = Taskmill_ClusterCall::Of(jobType.GenericCommandLine);
        call && jobType.RunsOnCluster())
        Show(call->Options, call->Program);
    else
        Show({.Cores = Taskmill_ClusterOptions::OfInput, .Memory = Taskmill_ClusterOptions::OfInput},
             jobType.ExecutablePath);
    ConnectFields();
    Update();
}

void Taskmill_ClusterDialog::MakeFields()
{
    m_program = new QLineEdit{this};
    m_host = new QLineEdit{this};
    m_try = new QPushButton{u"T&ry"_s, this};
    m_partition = new QComboBox{this};
    m_partition->setEditable(true);
    m_partition->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_cores = NewNumber();
    m_memory = NewNumber();
    m_time = new QLineEdit{this};
    m_prepare = NewText(prepareLines);
    m_others = new QLineEdit{this};
    m_others->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_answer = new QLabel{u"\"Try\" asks the cluster for its partitions and shows them here."_s, this};
    m_answer->setTextFormat(Qt::PlainText);
    m_answer->setWordWrap(true);
    m_answer->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // What ssh has against a host may be long.
    m_answer->setMinimumHeight(2 * fontMetrics().lineSpacing());
    m_answer->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_partitions = new QTreeWidget{this};
    m_partitions->setHeaderLabels(
        {u"Partition"_s, u"State"_s, u"Time Limit"_s, u"Nodes"_s, u"Free Cores"_s, u"Cores"_s});
    m_partitions->setRootIsDecorated(false);
    m_partitions->setUniformRowHeights(true);
    m_partitions->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_partitions->header()->setStretchLastSection(false);
    const int rowHeight = fontMetrics().height() + 6;
    m_partitions->setMinimumHeight((partitionRows + 1) * rowHeight + 2 * m_partitions->frameWidth());
    m_commandLine = NewText(commandLines);
    m_commandLine->setReadOnly(true);
    m_hint = new QLabel{this};
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setAlignment(Qt::AlignHCenter);
}

QComboBox *Taskmill_ClusterDialog::NewNumber()
{
    auto *box = new QComboBox{this};
    box->setEditable(true);
    box->addItem(u"from the input"_s, QString{Taskmill_ClusterOptions::OfInput});
    box->addItem(u"not said"_s, QString{});
    return box;
}

QPlainTextEdit *Taskmill_ClusterDialog::NewText(int lines)
{
    auto *text = new QPlainTextEdit{this};
    text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text->setTabChangesFocus(true);
    const int border = 2 * (text->frameWidth() + qRound(text->document()->documentMargin()));
    // Room that the user adds is for the partitions.
    text->setFixedHeight(lines * text->fontMetrics().lineSpacing() + border + 1);
    return text;
}

void Taskmill_ClusterDialog::DescribeFields()
{
    Describe(m_program, u"Program"_s, u"As it is called on the cluster: a name, or a full path there."_s);
    m_program->setPlaceholderText(u"for example orca"_s);
    Describe(m_host, u"Host"_s,
             u"Reaches the cluster through ssh, with your own keys and configuration. Leave it empty where "
             "sbatch can be run on this computer."_s);
    m_host->setPlaceholderText(u"USER@LOGIN for ssh; empty on the cluster itself"_s);
    Describe(m_try, u"Try"_s, u"Asks the cluster for its partitions. Nothing is run there."_s);
    Describe(m_partition, u"Partition"_s, u"Where jobs wait and run; empty for the cluster's own choice."_s);
    m_partition->lineEdit()->setPlaceholderText(u"the cluster's own choice"_s);
    Describe(
        m_cores, u"Cores"_s,
        u"How many cores on one node. From the input: as many as the submitter, the input or the job type "
        "says."_s);
    Describe(m_memory, u"Memory in MB"_s,
             u"How much memory, in megabytes of 2^20 bytes; not said: what the cluster gives."_s);
    Describe(
        m_time, u"Time limit"_s,
        u"As Slurm takes it: minutes, hours:minutes:seconds, or days-hours. The cluster ends a job that runs "
        "longer."_s);
    m_time->setPlaceholderText(u"2-00:00:00"_s);
    Describe(m_prepare, u"Prepare lines"_s,
             u"Lines of the shell that run before the program, on the node."_s);
    m_prepare->setPlaceholderText(u"for example module load orca"_s);
    Describe(
        m_others, u"Further options"_s,
        u"Other options of taskmill-slurm, such as --scratch /scratch/me, --copy *.gbw, or --sbatch with "
        "options of sbatch in double quotes."_s);
    m_others->setPlaceholderText(u"for example --sbatch \"--qos=high --exclusive\""_s);
    Describe(m_partitions, u"Partitions of the cluster"_s, u"A click, or Enter, takes the partition."_s);
    Describe(m_commandLine, u"Resulting command line"_s,
             u"What the job type will have as its command line."_s);
}

void Taskmill_ClusterDialog::AddFields(QBoxLayout *layout)
{
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto *host = new QHBoxLayout;
    host->addWidget(m_host);
    host->addWidget(m_try);
    auto *needs = new QHBoxLayout;
    const auto add = [this, needs](const QString &text, QWidget *field) {
        auto *label = new QLabel{text, this};
        label->setBuddy(field);
        needs->addSpacing(fontMetrics().averageCharWidth());
        needs->addWidget(label);
        needs->addWidget(field);
    };
    needs->addWidget(m_cores);
    add(u"&Memory (MB):"_s, m_memory);
    add(u"&Time limit:"_s, m_time);
    form->addRow(u"&Program:"_s, m_program);
    form->addRow(u"&Host:"_s, host);
    form->addRow(u"P&artition:"_s, m_partition);
    form->addRow(u"&Cores:"_s, needs);
    form->addRow(u"Pr&epare lines:"_s, m_prepare);
    form->addRow(u"&Further options:"_s, m_others);
    form->addRow(u"A&nswer:"_s, m_partitions);
    form->addRow(QString{}, m_answer);
    form->addRow(u"Command &line:"_s, m_commandLine);
    // The rows of several fields have no field of their own that Alt could lead to.
    for (const auto &[row, field] :
         {std::pair<QLayout *, QWidget *>{host, m_host}, std::pair<QLayout *, QWidget *>{needs, m_cores}})
        qobject_cast<QLabel *>(form->labelForField(row))->setBuddy(field);
    layout->addLayout(form);
    layout->addWidget(m_hint);
    m_host->setMinimumWidth(leastFieldCharacters * fontMetrics().averageCharWidth());
}

void Taskmill_ClusterDialog::AddButtons(QBoxLayout *layout)
{
    m_ok = new QPushButton{u"Ok"_s, this};
    m_ok->setAccessibleName(u"Ok"_s);
    auto *cancel = new QPushButton{u"Cancel"_s, this};
    auto *help = new QPushButton{u"Help"_s, this};
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    KilnUtil_HelpDialog::Global().ConnectButton(help, u"taskmill/cluster"_s);
    auto *row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton *button : {m_ok, cancel, help})
        row->addWidget(button);
    row->addStretch();
    layout->addLayout(row);
    // Enter takes a partition, as in the editor it is free for the fields.
    for (QPushButton *button : {m_ok, cancel, help, m_try})
        button->setAutoDefault(false);
}

void Taskmill_ClusterDialog::ConnectFields()
{
    using Dialog = Taskmill_ClusterDialog;
    for (const QLineEdit *edit : {m_program, m_host, m_time, m_others})
        connect(edit, &QLineEdit::textChanged, this, &Dialog::Update);
    for (const QComboBox *box : {m_partition, m_cores, m_memory})
        connect(box, &QComboBox::currentTextChanged, this, &Dialog::Update);
    connect(m_prepare, &QPlainTextEdit::textChanged, this, &Dialog::Update);
    connect(m_try, &QPushButton::clicked, this, &Dialog::Try);
    connect(&m_check, &Taskmill_ClusterCheck::FinishedSignal, this, &Dialog::ShowAnswer);
    connect(m_partitions, &QTreeWidget::itemClicked, this, &Dialog::TakePartition);
    connect(m_partitions, &QTreeWidget::itemActivated, this, &Dialog::TakePartition);
}

void Taskmill_ClusterDialog::Show(const Taskmill_ClusterOptions &options, const QString &program)
{
    m_program->setText(program);
    m_host->setText(options.Host);
    m_partition->setCurrentText(options.Partition);
    SetNumber(*m_cores, options.Cores);
    SetNumber(*m_memory, options.Memory);
    m_time->setText(options.Time);
    m_prepare->setPlainText(options.PrepareLines.join(u'\n'));
    m_others->setText(Taskmill_JoinWords(options.Others));
}

Taskmill_ClusterOptions Taskmill_ClusterDialog::Options() const
{
    return {.Host = m_host->text().trimmed(),
            .Partition = m_partition->currentText().trimmed(),
            .Cores = Number(*m_cores),
            .Memory = Number(*m_memory),
            .Time = m_time->text().trimmed(),
            .PrepareLines = m_prepare->toPlainText().split(u'\n', Qt::SkipEmptyParts),
            .Others = KilnUtil_String::MakeStringList(m_others->text(), true)};
}

Taskmill_JobType Taskmill_ClusterDialog::JobType() const
{
    return Taskmill_OnCluster(m_jobType, Options(), m_program->text().trimmed());
}

QString Taskmill_ClusterDialog::WhatIsWrong() const
{
    const QString host = m_host->text().trimmed();
    const QStringList others = KilnUtil_String::MakeStringList(m_others->text(), true);
    if (m_program->text().trimmed().isEmpty())
        return u"The program is missing."_s;
    if (host.startsWith(u'-') || host.contains(u' '))
        return u"The host is a name, or USER@NAME."_s;
    if (!IsNumberOrWord(*m_cores, Taskmill_CoresFromText))
        return u"Cores are a number from 1 on."_s;
    if (!IsNumberOrWord(*m_memory, Taskmill_MemoryFromText))
        return u"The memory is a number of MB from 1 on."_s;
    if (!others.isEmpty() && !others.first().startsWith("--"_L1))
        return u"Further options begin with two hyphens."_s;
    return {};
}

void Taskmill_ClusterDialog::Update()
{
    const QString fault = WhatIsWrong();
    m_hint->setText(fault);
    m_ok->setEnabled(fault.isEmpty());
    m_ok->setAccessibleDescription(fault);
    m_commandLine->setPlainText(JobType().GenericCommandLine);
}

void Taskmill_ClusterDialog::Try()
{
    const bool isAsking = m_check.IsAsking();
    m_partitions->clear();
    if (isAsking) {
        m_check.Stop();
        Say(u"Not asked to the end."_s);
    } else {
        const QString host = m_host->text().trimmed();
        Say(host.isEmpty() ? u"Asking the cluster..."_s : u"Asking %1..."_s.arg(host));
        m_check.Ask(host);
    }
    m_try->setText(isAsking ? u"T&ry"_s : u"&Stop"_s);
}

void Taskmill_ClusterDialog::ShowAnswer(const QList<Taskmill_ClusterPartition> &partitions,
                                        const QString &error)
{
    m_try->setText(u"T&ry"_s);
    const QString chosen = m_partition->currentText();
    m_partition->clear();
    for (const Taskmill_ClusterPartition &partition : partitions) {
        m_partition->addItem(partition.Name);
        auto *item = new QTreeWidgetItem{m_partitions,
                                         {partition.Name, partition.State, partition.TimeLimit,
                                          partition.Nodes, partition.FreeCores, partition.Cores}};
        if (partition.IsDefault)
            item->setToolTip(0, u"The cluster's own choice"_s);
        for (int column = 3; column < m_partitions->columnCount(); ++column)
            item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    m_partition->setCurrentText(chosen);
    const auto isDefault = [](const Taskmill_ClusterPartition &partition) {
        return partition.IsDefault;
    };
    const auto ofChoice = std::ranges::find_if(partitions, isDefault);
    if (!error.isEmpty())
        Say(u"No answer: "_s + error);
    else if (partitions.isEmpty())
        Say(u"The cluster shows no partition."_s);
    else if (ofChoice == partitions.end())
        Say(u"The cluster answers. It has no partition of its own choice."_s);
    else
        Say(u"The cluster answers. Its own choice is %1."_s.arg(ofChoice->Name));
}

void Taskmill_ClusterDialog::Say(const QString &text)
{
    m_answer->setText(text);
    QAccessibleEvent event{m_answer, QAccessible::Alert};
    QAccessible::updateAccessibility(&event);
}

void Taskmill_ClusterDialog::TakePartition(const QTreeWidgetItem *item)
{
    m_partition->setCurrentText(item->text(0));
}
