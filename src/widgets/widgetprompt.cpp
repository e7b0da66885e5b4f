// SPDX-License-Identifier: MIT
#include "widgets/widgetprompt.h"

#include "widgets/widgetutil.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QTextLayout>

#include <algorithm>
#include <limits>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnMode = KilnUtil_UserPrompt::WarnMode;
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

QMessageBox::StandardButtons ButtonsOf(WarnMode mode)
{
    switch (mode) {
    case WarnMode::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case WarnMode::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case WarnMode::Ok:
        break;
    }
    return QMessageBox::Ok;
}

QMessageBox::StandardButton ButtonOf(WarnAnswer answer)
{
    switch (answer) {
    case WarnAnswer::Yes:
        return QMessageBox::Yes;
    case WarnAnswer::No:
        return QMessageBox::No;
    case WarnAnswer::Cancel:
        return QMessageBox::Cancel;
    case WarnAnswer::None:
        break;
    }
    return QMessageBox::NoButton;
}

WarnAnswer AnswerOf(int button, WarnMode mode)
{
    if (button == QMessageBox::Yes)
        return WarnAnswer::Yes;
    if (button == QMessageBox::Ok)
        return WarnAnswer::None;
    if (button == QMessageBox::No || mode == WarnMode::YesNo)
        return WarnAnswer::No;
    return WarnAnswer::Cancel;
}

/// Breaks lines that would make a box wider than the screen: a path may have no blank to break it at.
QString InBounds(const QString &text, const QWidget &box)
{
    constexpr int mostCharacters = 4000;
    const int width = box.screen()->availableGeometry().width() * 2 / 3;
    QStringList lines;
    for (const QString &paragraph : text.left(mostCharacters).split(u'\n')) {
        QTextLayout layout{paragraph, box.font()};
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        QString part;
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid() && !paragraph.isEmpty();
             line = layout.createLine()) {
            line.setLineWidth(width);
            part += paragraph.mid(line.textStart(), line.textLength());
            // The box, which may be narrower, breaks lines at blanks by itself.
            const bool isLast = line.textStart() + line.textLength() >= paragraph.size();
            if (isLast || !part.endsWith(u' ')) {
                lines.append(part);
                part.clear();
            }
        }
        layout.endLayout();
        if (paragraph.isEmpty())
            lines.append(QString{});
    }
    if (text.size() > mostCharacters)
        lines.last() += u'…';
    return lines.join(u'\n');
}

/// Only the windows of its parent have to wait for a dialog: the tray answers meanwhile. A dialog without a
/// parent is modal to all, as nothing else keeps the user from a second one.
void MakeModal(QDialog &dialog)
{
    if (dialog.parentWidget())
        dialog.setWindowModality(Qt::WindowModal);
}

/// The icon of the usual label goes with it.
void Label(QAbstractButton *button, const QString &label)
{
    if (!button || label.isEmpty())
        return;
    button->setText(label);
    button->setIcon({});
}

WarnAnswer Ask(QMessageBox::Icon icon, QWidget *parent, const QString &title, const QString &text,
               WarnMode mode, WarnAnswer defaultAnswer, KilnUtil_UserPrompt::WarnDetail *detail = nullptr)
{
    QMessageBox box{icon, title, {}, ButtonsOf(mode), parent};
    MakeModal(box);
    box.setTextFormat(Qt::PlainText);
    box.setText(InBounds(text, box));
    if (detail)
        box.setInformativeText(detail->text);
    auto *checkBox = detail && !detail->checkBox.isEmpty() ? new QCheckBox{detail->checkBox, &box} : nullptr;
    if (checkBox) {
        checkBox->setChecked(detail->isChecked);
        box.setCheckBox(checkBox);
    }
    if (detail) {
        Label(box.button(QMessageBox::Yes), detail->yes);
        Label(box.button(QMessageBox::No), detail->no);
    }
    box.setDefaultButton(ButtonOf(defaultAnswer));
    // Without a default answer, Enter gives none: Qt would take the first.
    if (mode != WarnMode::Ok && defaultAnswer == WarnAnswer::None) {
        const QList<QPushButton *> buttons = box.findChildren<QPushButton *>();
        for (QPushButton *button : buttons)
            button->setAutoDefault(false);
    }
    const WarnAnswer answer = AnswerOf(box.exec(), mode);
    if (checkBox)
        detail->isChecked = checkBox->isChecked();
    return answer;
}

/// "*.*" means all files, also where it would leave out those without a dot, as most executables are.
QString WithAllFiles(QString filter)
{
    return filter.replace("(*.*)"_L1, "(*)"_L1);
}

/// Begins at the path, a directory or a file in one. Empty when the user cancels.
QString ChosenFile(QFileDialog &dialog, const QString &path, const QString &filter)
{
    MakeModal(dialog);
    dialog.setNameFilter(WithAllFiles(filter));
    const QFileInfo begin{path};
    if (begin.isDir()) {
        dialog.setDirectory(path);
    } else {
        dialog.setDirectory(begin.absolutePath());
        dialog.selectFile(begin.fileName());
    }
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString{};
}
} // namespace

QWidget *KilnUtil_WidgetPrompt::Parent() const
{
    if (QWidget *dialog = QApplication::activeModalWidget())
        return dialog;
    return KilnUtil_WidgetUtil::CanBeInFrontOf(m_parent) ? m_parent.data() : nullptr;
}

WarnAnswer KilnUtil_WidgetPrompt::ReportWarning(const QString &title, const QString &text, WarnMode mode,
                                                WarnAnswer defaultAnswer)
{
    return Ask(QMessageBox::Warning, Parent(), title, text, mode, defaultAnswer);
}

WarnAnswer KilnUtil_WidgetPrompt::ReportDetailedWarning(const QString &title, const QString &text,
                                                        WarnDetail &detail, WarnMode mode,
                                                        WarnAnswer defaultAnswer)
{
    return Ask(QMessageBox::Warning, Parent(), title, text, mode, defaultAnswer, &detail);
}

void KilnUtil_WidgetPrompt::ReportError(const QString &title, const QString &text)
{
    Ask(QMessageBox::Critical, Parent(), title, text, WarnMode::Ok, WarnAnswer::None);
}

WarnAnswer KilnUtil_WidgetPrompt::AskQuestion(const QString &title, const QString &text, WarnMode mode,
                                              WarnAnswer defaultAnswer)
{
    return Ask(QMessageBox::Question, Parent(), title, text, mode, defaultAnswer);
}

std::optional<QString> KilnUtil_WidgetPrompt::ChooseFromList(const QString &title, const QString &label,
                                                             const QStringList &items,
                                                             const QString &preselected)
{
    QInputDialog dialog{Parent()};
    MakeModal(dialog);
    dialog.setWindowTitle(title);
    dialog.setLabelText(InBounds(label, dialog));
    dialog.setOption(QInputDialog::UseListViewForComboBoxItems);
    dialog.setComboBoxItems(items);
    dialog.setTextValue(preselected);
    if (auto *box = dialog.findChild<QComboBox *>())
        box->setAccessibleName(title);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}

std::optional<int> KilnUtil_WidgetPrompt::AskNumber(const QString &title, const QString &label, int value,
                                                    int least)
{
    QInputDialog dialog{Parent()};
    MakeModal(dialog);
    dialog.setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setInputMode(QInputDialog::IntInput);
    dialog.setIntRange(least, std::numeric_limits<int>::max());
    dialog.setIntValue(value);
    dialog.setIntStep(1);
    if (auto *box = dialog.findChild<QSpinBox *>())
        box->setAccessibleName(title);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.intValue();
}

void KilnUtil_WidgetPrompt::ShowInformation(const QString &title, const QString &text)
{
    Ask(QMessageBox::Information, Parent(), title, text, WarnMode::Ok, WarnAnswer::None);
}

void KilnUtil_WidgetPrompt::ShowNotice(const QString &title, const QString &text)
{
    // It must not take the keys that are typed elsewhere.
    auto *box = new QMessageBox{QMessageBox::Information, title, text, QMessageBox::Ok, Parent()};
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setAttribute(Qt::WA_ShowWithoutActivating);
    box->setTextFormat(Qt::PlainText);
    box->setModal(false);
    // A dialog that is open now takes it along when it is answered; it is shown again then.
    const auto isClosed = std::make_shared<bool>(false);
    QObject::connect(box, &QDialog::finished, box, [isClosed] { *isClosed = true; });
    QObject::connect(
        box, &QObject::destroyed, &m_notices,
        [this, isClosed, title, text] {
            if (!*isClosed)
                ShowNotice(title, text);
        },
        Qt::QueuedConnection);
    box->show();
}

QString KilnUtil_WidgetPrompt::AskOpenFileName(const QString &title, const QString &directory,
                                               const QString &filter)
{
    QFileDialog dialog{Parent(), title};
    dialog.setFileMode(QFileDialog::ExistingFile);
    return ChosenFile(dialog, directory, filter);
}

QString KilnUtil_WidgetPrompt::AskSaveFileName(const QString &title, const QString &directory,
                                               const QString &filter)
{
    QFileDialog dialog{Parent(), title};
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // Where there are several kinds of files, a name without an ending gets that of the chosen kind.
    const auto useEndingOf = [&dialog](const QString &kind) {
        dialog.setDefaultSuffix(kind.section(u"*."_s, 1).section(u')', 0, 0));
    };
    const QStringList kinds = filter.split(u";;"_s);
    if (kinds.size() > 1) {
        useEndingOf(kinds.first());
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, useEndingOf);
    }
    return ChosenFile(dialog, directory, filter);
}

KilnUtil_OpenFilesAnswer KilnUtil_WidgetPrompt::AskOpenFileNames(const KilnUtil_OpenFilesOptions &options)
{
    QStringList filters = options.NameFilters;
    std::ranges::transform(filters, filters.begin(), WithAllFiles);
    QFileDialog dialog{Parent(), options.Title};
    MakeModal(dialog);
    dialog.setOption(QFileDialog::DontUseNativeDialog, !options.UseNativeBrowser);
    KilnUtil_WidgetUtil::PrepQFileDialog(&dialog, options.Directory, filters);
    if (options.NameFilter >= 0 && options.NameFilter < filters.size())
        dialog.selectNameFilter(filters[options.NameFilter]);

    const QString name = u"File Browser"_s;
    if (!options.UseNativeBrowser)
        KilnUtil_WidgetUtil::LoadWindowSettings(&dialog, options.SettingsGroup, name);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (!options.UseNativeBrowser)
        KilnUtil_WidgetUtil::SaveWindowSettings(&dialog, options.SettingsGroup, name);
    if (!accepted)
        return {};
    const auto filter = filters.indexOf(dialog.selectedNameFilter());
    return {.Files = dialog.selectedFiles(), .NameFilter = static_cast<int>(qMax(filter, qsizetype{0}))};
}
