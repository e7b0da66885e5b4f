// SPDX-License-Identifier: MIT
#include "ui/newjobtypewidget.h"

#include "help/helpdialog.h"
#include "jobs/clustercall.h"
#include "jobs/clusterrun.h"
#include "jobs/jobneeds.h"
#include "kilnutil/error.h"
#include "ui/clusterdialog.h"
#include "widgets/widgetutil.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFocusEvent>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSizeGrip>
#include <QSpinBox>
#include <QTextDocumentFragment>

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int rowSpacing = 10;
constexpr int leastFieldCharacters = 60;
constexpr int commandLineLines = 5;
constexpr int environmentLines = 3;

enum RunOn
{
    ThisComputer,
    Cluster,
};

/// As rich text, which is broken into lines.
QString ToolTip(const QString &html)
{
    return u"<qt>"_s + html + u"</qt>"_s;
}

void Describe(QWidget *field, const QString &name, const QString &toolTip)
{
    field->setAccessibleName(name);
    field->setToolTip(ToolTip(toolTip));
    // Whoever hears it hears no markup.
    field->setAccessibleDescription(QTextDocumentFragment::fromHtml(toolTip).toPlainText());
}

QString CommandLineToolTip()
{
    return u"<p>The first line is the command line, with placeholders that each job fills:</p>"
           "<table>"
           "<tr><td><code>@EXEFILE</code>&nbsp;</td><td>the executable; every command line needs it</td></tr>"
           "<tr><td><code>@INFILE</code>&nbsp;</td><td>the input file</td></tr>"
           "<tr><td><code>@INFILE2</code>&nbsp;</td><td>a second input file</td></tr>"
           "<tr><td><code>@OUTFILE</code>&nbsp;</td><td>the output file</td></tr>"
           "</table>"
           "<p>Any other word with @ is filled by the program that submits the job. File names with blanks "
           "are quoted by themselves.</p>"
           "<p>Further lines are typed answers: the program reads them from its standard input.</p>"_s;
}

/// What keeps the record from being valid; empty when nothing does.
QString WhatIsMissing(const Taskmill_JobType &jobType)
{
    if (jobType.Name.isEmpty())
        return u"The name is missing."_s;
    if (jobType.ApplicationName.isEmpty())
        return u"The application name is missing."_s;
    if (jobType.ExecutablePath.isEmpty())
        return u"The executable path is missing."_s;
    if (!QFileInfo{jobType.ExecutablePath}.isFile())
        return u"There is no such executable."_s;
    return jobType.IsValid() ? QString{} : u"The command line lacks @EXEFILE."_s;
}
} // namespace

Taskmill_NewJobTypeWidget::Taskmill_NewJobTypeWidget(QWidget *parent)
    : QDialog{parent}
{
    // Modal to the main window: the tray and the manual answer meanwhile.
    setWindowModality(Qt::WindowModal);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowTitle(u"New Job Type"_s);
    if (parent)
        setWindowIcon(parent->windowIcon());

    MakeFields();
    DescribeFields();
    auto *layout = new QVBoxLayout{this};
    layout->setSpacing(rowSpacing);
    AddRows(layout);
    m_hint = new QLabel{this};
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setAlignment(Qt::AlignHCenter);
    layout->addWidget(m_hint);
    auto *line = new QFrame{this};
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);
    AddButtons(layout);
    ConnectFields();
    UpdateRunOn();
    UpdateHint();
}

Taskmill_NewJobTypeWidget::~Taskmill_NewJobTypeWidget()
{
    // A field that loses the keyboard with the window would still report that it was edited.
    const auto edits = findChildren<QLineEdit *>();
    for (QLineEdit *edit : edits)
        edit->disconnect(this);
}

void Taskmill_NewJobTypeWidget::MakeFields()
{
    m_name = new QLineEdit{this};
    m_defaultQueue = new QComboBox{this};
    for (const Taskmill_QueueNames &queue : Taskmill_Queues)
        m_defaultQueue->addItem(queue.Choice, QString{queue.OfNewJob});
    m_runOn = new QComboBox{this};
    m_runOn->insertItem(ThisComputer, u"This computer"_s);
    m_runOn->insertItem(Cluster, u"Slurm cluster..."_s);
    m_clusterSettings = NewButton(u"Cluster Settings..."_s);
    m_applicationName = new QLineEdit{this};
    m_executablePath = new QLineEdit{this};
    m_browse = NewButton(u"Browse..."_s);
    m_genericCommandLine = NewTextEdit(commandLineLines);
    m_inputFileFilter = new QLineEdit{this};
    m_outputFileFilter = new QLineEdit{this};
    m_environmentVariables = NewTextEdit(environmentLines);
    m_killGrace = new QSpinBox{this};
    m_killGrace->setRange(0, Taskmill_JobType::LongestKillGrace);
    m_killGrace->setSuffix(u" s"_s);
    m_killGrace->setValue(Taskmill_JobType::DefaultKillGrace);
    m_timeLimit = NewMinutes(u"none"_s);
    m_noProgress = NewMinutes(u"off"_s);
    m_cores = new QSpinBox{this};
    m_cores->setRange(0, Taskmill_MostCores);
    m_memory = NewMegabytes();
    m_freeSpace = NewMegabytes();
    m_freeSpace->setSpecialValueText(u"any"_s);
    m_holdsChangedInput = new QCheckBox{u"Hold a job whose input has changed since it was submitted"_s, this};
    for (QSpinBox *box : {m_cores, m_memory})
        box->setSpecialValueText(u"not said"_s);
}

QSpinBox *Taskmill_NewJobTypeWidget::NewMinutes(const QString &textOfNone)
{
    auto *minutes = new QSpinBox{this};
    minutes->setRange(0, Taskmill_JobType::LongestMinutes);
    minutes->setSuffix(u" min"_s);
    minutes->setSpecialValueText(textOfNone);
    return minutes;
}

QSpinBox *Taskmill_NewJobTypeWidget::NewMegabytes()
{
    auto *megabytes = new QSpinBox{this};
    megabytes->setRange(0, std::numeric_limits<int>::max());
    megabytes->setSingleStep(1024);
    megabytes->setSuffix(u" MB"_s);
    return megabytes;
}

QPlainTextEdit *Taskmill_NewJobTypeWidget::NewTextEdit(int lines)
{
    auto *edit = new QPlainTextEdit{this};
    edit->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    edit->setTabChangesFocus(true);
    const int border = 2 * (edit->frameWidth() + qRound(edit->document()->documentMargin()));
    // The last line needs one pixel more than its height, or it counts as hidden.
    edit->setMinimumHeight(lines * edit->fontMetrics().lineSpacing() + border + 1);
    return edit;
}

QPushButton *Taskmill_NewJobTypeWidget::NewButton(const QString &text)
{
    auto *button = new QPushButton{text, this};
    // Enter is to be free for the fields.
    button->setAutoDefault(false);
    button->setDefault(false);
    return button;
}

void Taskmill_NewJobTypeWidget::DescribeFields()
{
    Describe(m_name, u"Name"_s, u"How lists show the job type, and how programs that submit jobs name it."_s);
    m_name->setPlaceholderText(u"for example MOPAC"_s);
    Describe(m_defaultQueue, u"Default Queue"_s,
             u"Where jobs go whose submitter chooses no queue. Without a queue they start at once."_s);
    Describe(m_runOn, u"Run on"_s,
             u"Where jobs run. On a cluster the executable is <code>taskmill-slurm</code>, and the command "
             u"line has "
             "the program behind its options."_s);
    Describe(m_clusterSettings, u"Cluster Settings"_s, u"Host, partition, cores, memory and time."_s);
    Describe(m_applicationName, u"Application Name"_s,
             u"The file name of the executable. <b>Browse...</b> does not fill it in."_s);
    m_applicationName->setPlaceholderText(u"for example mopac"_s);
    Describe(m_executablePath, u"Executable Path"_s, u"The executable with its full path; it must exist."_s);
    m_executablePath->setPlaceholderText(u"full path of the executable"_s);
    Describe(m_browse, u"Browse for the executable"_s, u"Choose the executable among the files."_s);
    Describe(m_genericCommandLine, u"Generic Command Line"_s, CommandLineToolTip());
    m_genericCommandLine->setPlaceholderText(u"@EXEFILE @INFILE @OUTFILE"_s);
    Describe(m_inputFileFilter, u"Input File Filter"_s,
             u"A description, then patterns in parentheses, separated by blanks. Files that match a pattern "
             "<code>*.xyz</code> belong to this job type; with none, it has to be chosen for each job."_s);
    m_inputFileFilter->setPlaceholderText(u"for example MOPAC Input Files (*.mop *.dat)"_s);
    Describe(
        m_outputFileFilter, u"Output File Filter"_s,
        u"As the input file filter. The first pattern gives the output file of a job its extension; with "
        "none, jobs have no output file."_s);
    m_outputFileFilter->setPlaceholderText(u"for example MOPAC Output Files (*.out)"_s);
    Describe(m_environmentVariables, u"Environment Variables"_s,
             u"One definition <code>NAME=VALUE</code> on each line, added to the environment of the program. "
             "Placeholders that the submitting program fills can be used; those of files cannot."_s);
    m_environmentVariables->setPlaceholderText(u"NAME=VALUE"_s);
    Describe(
        m_killGrace, u"Time to End When Killed"_s,
        u"How long a job that is killed has to write its state and end by itself; what is left of it then "
        "is ended by force. With 0 that happens at once."_s);
    Describe(m_timeLimit, u"Time Limit"_s,
             u"A job that runs longer is killed, and its output says so. With 0 there is no limit."_s);
    Describe(m_noProgress, u"Warn Without Progress After"_s,
             u"When neither the output nor the processor time of a running job has changed for so long, you "
             "are told; nothing is killed. With 0 never."_s);
    const QString needs = u" where neither its submitter nor its input says it. It counts where jobs start "
                          "only as long as the computer has room for them; see the settings."_s;
    Describe(m_cores, u"Cores"_s, u"How many cores a job takes"_s + needs + u" Not said here: one."_s);
    Describe(m_memory, u"Memory"_s, u"How much memory a job takes, in megabytes of 2^20 bytes,"_s + needs);
    Describe(m_freeSpace, u"Free Space"_s,
             u"How much is to be free on the drive of its output, in megabytes of 2^20 bytes, when a job "
             "starts. With less it waits."_s);
    Describe(m_holdsChangedInput, u"Hold a job whose input has changed"_s,
             u"Such a job waits until you release it. Else it runs with the file as it is then, and its row "
             "says so."_s);
}

void Taskmill_NewJobTypeWidget::AddRows(QBoxLayout *layout)
{
    AddRow(layout, u"Name:  "_s, m_name);
    AddRow(layout, u"Default Queue:  "_s, m_defaultQueue, 0)->addStretch();
    // There is no such program on every system.
    if (QFileInfo::exists(Taskmill_ClusterRun::Program({}))) {
        QBoxLayout *place = AddRow(layout, u"Run On:  "_s, m_runOn, 0);
        place->addWidget(m_clusterSettings);
        place->addStretch();
    } else {
        m_runOn->hide();
        m_clusterSettings->hide();
    }
    AddRow(layout, u"Application Name:  "_s, m_applicationName);
    AddRow(layout, u"Executable Path:  "_s, m_executablePath)->addWidget(m_browse);
    AddRow(layout, u"Generic Command Line:  "_s, m_genericCommandLine);
    AddRow(layout, u"Input File Filter:  "_s, m_inputFileFilter);
    AddRow(layout, u"Output File Filter:  "_s, m_outputFileFilter);
    AddRow(layout, u"Environment Variables:  "_s, m_environmentVariables);
    QBoxLayout *times = AddRow(layout, u"Time to End When Killed:  "_s, m_killGrace, 0);
    times->addSpacing(fontMetrics().averageCharWidth() * 2);
    times->addWidget(new QLabel{u"Time Limit:"_s, this});
    times->addWidget(m_timeLimit);
    times->addSpacing(fontMetrics().averageCharWidth() * 2);
    times->addWidget(new QLabel{u"Warn Without Progress After:"_s, this});
    times->addWidget(m_noProgress);
    times->addStretch();
    QBoxLayout *needs = AddRow(layout, u"Cores:  "_s, m_cores, 0);
    auto *memoryText = new QLabel{u"Memory:  "_s, this};
    memoryText->setBuddy(m_memory);
    needs->addSpacing(rowSpacing);
    needs->addWidget(memoryText);
    needs->addWidget(m_memory);
    auto *spaceText = new QLabel{u"Free Space:  "_s, this};
    spaceText->setBuddy(m_freeSpace);
    needs->addSpacing(rowSpacing);
    needs->addWidget(spaceText);
    needs->addWidget(m_freeSpace);
    needs->addStretch();
    AddRow(layout, u"Changed Input:  "_s, m_holdsChangedInput, 0)->addStretch();
    KilnUtil_WidgetUtil::MatchMinimumWidths(m_labels);
    m_name->setMinimumWidth(leastFieldCharacters * fontMetrics().averageCharWidth());
}

QBoxLayout *Taskmill_NewJobTypeWidget::AddRow(QBoxLayout *layout, const QString &label, QWidget *field,
                                              int stretch)
{
    auto *text = new QLabel{label, this};
    text->setAccessibleName(label.trimmed());
    text->setBuddy(field);
    m_labels.append(text);
    auto *row = new QHBoxLayout;
    const auto *textEdit = qobject_cast<QPlainTextEdit *>(field);
    row->addWidget(text, 0, textEdit ? Qt::AlignTop : Qt::Alignment{});
    // Beside the first line.
    if (textEdit)
        text->setContentsMargins(0, textEdit->frameWidth() + qRound(textEdit->document()->documentMargin()),
                                 0, 0);
    row->addWidget(field, stretch);
    // Room that the user adds is for the texts of several lines.
    layout->addLayout(row, textEdit ? field->minimumHeight() : 0);
    return row;
}

void Taskmill_NewJobTypeWidget::AddButtons(QBoxLayout *layout)
{
    m_ok = NewButton(u"Ok"_s);
    m_ok->setEnabled(false);
    m_ok->setToolTip(ToolTip(
        u"Needs a name, an application name, an executable that exists, and <code>@EXEFILE</code> in the "
        u"command "
        "line. This is looked at when you leave a name or filter, choose a queue, or browse."_s));
    auto *cancel = NewButton(u"Cancel"_s);
    auto *help = NewButton(u"Help"_s);
    connect(m_ok, &QPushButton::clicked, this, &Taskmill_NewJobTypeWidget::OkaySlot);
    connect(cancel, &QPushButton::clicked, this, &Taskmill_NewJobTypeWidget::CancelSlot);
    KilnUtil_HelpDialog::Global().ConnectButton(help, u"taskmill/newjobtype"_s);

    auto *row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton *button : {m_ok, cancel, help})
        row->addWidget(button);
    row->addStretch();
    row->addWidget(new QSizeGrip{this}, 0, Qt::AlignRight | Qt::AlignBottom);
    layout->addLayout(row);
}

/// The executable and the texts of several lines do not report their changes: "Ok" follows with the next
/// change of another field.
void Taskmill_NewJobTypeWidget::ConnectFields()
{
    using Widget = Taskmill_NewJobTypeWidget;
    connect(m_name, &QLineEdit::editingFinished, this, &Widget::NameEditSlot);
    connect(m_applicationName, &QLineEdit::editingFinished, this, &Widget::ApplicationNameEditSlot);
    connect(m_inputFileFilter, &QLineEdit::editingFinished, this, &Widget::InputFileFilterEditSlot);
    connect(m_outputFileFilter, &QLineEdit::editingFinished, this, &Widget::OutputFileFilterEditSlot);
    // Left without a change, a field does not signal it.
    for (QLineEdit *edit : {m_name, m_applicationName, m_inputFileFilter, m_outputFileFilter})
        edit->installEventFilter(this);
    for (const QSpinBox *box : {m_killGrace, m_timeLimit, m_noProgress, m_cores, m_memory, m_freeSpace})
        connect(box, &QSpinBox::editingFinished, this, &Widget::UpdateOk);
    connect(m_defaultQueue, &QComboBox::activated, this, &Widget::DefaultQueueSlot);
    connect(m_runOn, &QComboBox::activated, this, &Widget::RunOnSlot);
    connect(m_clusterSettings, &QPushButton::clicked, this, &Widget::OpenClusterDialog);
    connect(m_executablePath, &QLineEdit::textChanged, this, &Widget::UpdateRunOn);
    connect(m_browse, &QPushButton::clicked, this, &Widget::ExecutablePathBrowseSlot);
    for (QLineEdit *edit : {m_name, m_applicationName, m_executablePath})
        connect(edit, &QLineEdit::textChanged, this, &Widget::UpdateHint);
    connect(m_genericCommandLine, &QPlainTextEdit::textChanged, this, &Widget::UpdateHint);
}

bool Taskmill_NewJobTypeWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusOut && isVisible()) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        // As where a field is edited: another window or a menu does not count.
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            UpdateOk();
    }
    return QDialog::eventFilter(watched, event);
}

void Taskmill_NewJobTypeWidget::Load(const Taskmill_JobType &jobType)
{
    m_name->setText(jobType.Name);
    m_applicationName->setText(jobType.ApplicationName);
    m_executablePath->setText(jobType.ExecutablePath);
    m_defaultQueue->setCurrentIndex(static_cast<int>(jobType.DefaultQueueIndex()));
    m_genericCommandLine->setPlainText(jobType.GenericCommandLine);
    m_inputFileFilter->setText(jobType.InputFileFilter);
    m_outputFileFilter->setText(jobType.OutputFileFilter);
    m_environmentVariables->setPlainText(jobType.EnvironmentVariables);
    m_killGrace->setValue(jobType.KillGraceSeconds);
    m_timeLimit->setValue(jobType.TimeLimitMinutes);
    m_noProgress->setValue(jobType.NoProgressMinutes);
    m_cores->setValue(jobType.Cores);
    m_memory->setValue(static_cast<int>(std::min<qint64>(jobType.MemoryMB, m_memory->maximum())));
    m_freeSpace->setValue(static_cast<int>(std::min<qint64>(jobType.LeastFreeMB, m_freeSpace->maximum())));
    m_holdsChangedInput->setChecked(jobType.HoldsChangedInput);
}

Taskmill_JobType Taskmill_NewJobTypeWidget::Read() const
{
    Taskmill_JobType jobType;
    jobType.Name = m_name->text();
    jobType.ApplicationName = m_applicationName->text();
    jobType.ExecutablePath = m_executablePath->text();
    jobType.DefaultQueue = m_defaultQueue->currentData().toString();
    jobType.GenericCommandLine = m_genericCommandLine->toPlainText();
    jobType.InputFileFilter = m_inputFileFilter->text();
    jobType.OutputFileFilter = m_outputFileFilter->text();
    jobType.EnvironmentVariables = m_environmentVariables->toPlainText();
    jobType.KillGraceSeconds = m_killGrace->value();
    jobType.TimeLimitMinutes = m_timeLimit->value();
    jobType.NoProgressMinutes = m_noProgress->value();
    jobType.Cores = m_cores->value();
    jobType.MemoryMB = m_memory->value();
    jobType.LeastFreeMB = m_freeSpace->value();
    jobType.HoldsChangedInput = m_holdsChangedInput->isChecked();
    return jobType;
}

QSize Taskmill_NewJobTypeWidget::sizeHint() const
{
    return {QDialog::sizeHint().width(), minimumSizeHint().height()};
}

void Taskmill_NewJobTypeWidget::UpdateOk()
{
    m_ok->setEnabled(Read().IsValid());
    UpdateHint();
}

/// Follows every letter, where "Ok" waits until a field is left.
void Taskmill_NewJobTypeWidget::UpdateHint()
{
    QString hint = m_ok->isEnabled() ? QString{} : WhatIsMissing(Read());
    if (hint.isEmpty() && !m_ok->isEnabled())
        hint = u"\"Ok\" is ready when you leave a name or a filter, or choose a queue."_s;
    m_hint->setText(hint);
    m_ok->setAccessibleDescription(hint.isEmpty() ? u"Stores the job type"_s : hint);
}

void Taskmill_NewJobTypeWidget::CancelSlot()
{
    reject();
}

void Taskmill_NewJobTypeWidget::NameEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::ApplicationNameEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::ExecutablePathEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::ExecutablePathBrowseSlot()
{
    const QString path = KilnUtil_Error::UserPrompt().AskOpenFileName(
        u"Select an Executable File"_s, QDir::currentPath(), u"All Files (*.*)"_s);
    if (!QFileInfo{path}.isFile())
        return;
    m_executablePath->setText(path);
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::UpdateRunOn()
{
    const bool isOnCluster = Taskmill_ClusterRun::IsFollower(m_executablePath->text());
    m_runOn->setCurrentIndex(isOnCluster ? Cluster : ThisComputer);
    m_clusterSettings->setEnabled(isOnCluster);
}

void Taskmill_NewJobTypeWidget::RunOnSlot(int index)
{
    if (const Taskmill_JobType jobType = Read(); index == Cluster)
        OpenClusterDialog();
    else if (jobType.RunsOnCluster())
        ShowPlace(Taskmill_OnThisComputer(jobType));
}

void Taskmill_NewJobTypeWidget::OpenClusterDialog()
{
    auto *dialog = new Taskmill_ClusterDialog{this, Read()};
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] { ShowPlace(dialog->JobType()); });
    connect(dialog, &QDialog::rejected, this, &Taskmill_NewJobTypeWidget::UpdateRunOn);
    dialog->open();
}

void Taskmill_NewJobTypeWidget::ShowPlace(const Taskmill_JobType &jobType)
{
    // A text that is set is a change, which could not be taken back.
    if (m_genericCommandLine->toPlainText() != jobType.GenericCommandLine)
        m_genericCommandLine->setPlainText(jobType.GenericCommandLine);
    m_executablePath->setText(jobType.ExecutablePath);
    UpdateRunOn();
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::DefaultQueueSlot(int)
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::GenericCommandLineEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::InputFileFilterEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::OutputFileFilterEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::EnvironmentVariablesEditSlot()
{
    UpdateOk();
}

void Taskmill_NewJobTypeWidget::OkaySlot()
{
    accept();
}
