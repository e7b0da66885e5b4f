// SPDX-License-Identifier: MIT
#include "ui/openfileslist.h"

#include "widgets/treewidgetitem.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QPalette>
#include <QScrollBar>
#include <QSet>
#include <QSignalBlocker>
#include <QValidator>

#include <array>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int rowsAtFirst = 14;

struct ColumnSetup
{
    QLatin1StringView title;
    int characters; ///< width at first
};

constexpr std::array<ColumnSetup, Taskmill_OpenFilesList::ColumnCount> columns{{
    {"ID"_L1, 6},
    {"File Path"_L1, 44},
    {"File Name"_L1, 20},
    {"Directory"_L1, 26},
    {"Type"_L1, 6},
    {"Size (bytes)"_L1, 12},
    {"Created"_L1, 25},
    {"Last Modified"_L1, 25},
    {"Cores"_L1, 6},
    {"Memory (MB)"_L1, 10},
}};

/// From File Path on, for each level of detail.
constexpr std::array<std::array<bool, Taskmill_OpenFilesList::ColumnCount - 1>, 3> shownAtDetail{{
    {true, true, false, false, false, false, false, false, false},
    {false, true, true, true, false, false, false, true, true},
    {false, true, true, true, true, true, true, true, true},
}};

class FileItem final : public KilnUtil_TreeWidgetItem
{
public:
    FileItem(const QString &path, int id);

    [[nodiscard]] QVariant data(int column, int role) const override
    {
        if (IsNeed(column))
            return NeedData(column, role);
        // The whole path, whichever columns are shown and however wide.
        return KilnUtil_TreeWidgetItem::data(
            role == Qt::ToolTipRole ? Taskmill_OpenFilesList::FilePathColumn : column,
            role == Qt::ToolTipRole ? static_cast<int>(Qt::DisplayRole) : role);
    }

    void setData(int column, int role, const QVariant &value) override;

    static bool IsNeed(int column)
    {
        return column == Taskmill_OpenFilesList::CoresColumn ||
               column == Taskmill_OpenFilesList::MemoryColumn;
    }
    void SetAsked(const Taskmill_JobNeeds &needs)
    {
        m_asked = needs;
        emitDataChanged();
    }
    [[nodiscard]] const Taskmill_JobNeeds &Asked() const { return m_asked; }

private:
    void SetNumber(int column, qint64 number);
    void SetTime(int column, const QDateTime &time);
    [[nodiscard]] static std::optional<qint64> NumberIn(const Taskmill_JobNeeds &needs, int column);
    [[nodiscard]] QVariant NeedData(int column, int role) const;

    Taskmill_JobNeeds m_asked;
    /// What the file says; read when it is first shown: most of thousands never are.
    mutable std::optional<Taskmill_JobNeeds> m_said;
};

FileItem::FileItem(const QString &path, int id)
{
    using List = Taskmill_OpenFilesList;
    const QFileInfo file{path};
    setFlags((flags() & ~Qt::ItemIsDropEnabled) | Qt::ItemIsEditable);
    setCheckState(List::IDColumn, Qt::Checked);
    SetNumber(List::IDColumn, id);
    setText(List::FilePathColumn, path);
    setText(List::FileNameColumn, file.fileName());
    setText(List::DirectoryColumn, QDir::toNativeSeparators(file.absolutePath()));
    setText(List::TypeColumn, file.suffix());
    SetNumber(List::SizeColumn, file.size());
    setTextAlignment(List::SizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    SetTime(List::CreatedColumn, file.birthTime());
    SetTime(List::LastModifiedColumn, file.lastModified());
}

std::optional<qint64> FileItem::NumberIn(const Taskmill_JobNeeds &needs, int column)
{
    if (column == Taskmill_OpenFilesList::MemoryColumn)
        return needs.MemoryMB;
    return needs.Cores ? std::optional<qint64>{*needs.Cores} : std::nullopt;
}

QVariant FileItem::NeedData(int column, int role) const
{
    if (role == Qt::TextAlignmentRole)
        return QVariant{Qt::AlignRight | Qt::AlignVCenter};
    if (role == Qt::ToolTipRole)
        return u"<qt>What the job takes while it runs. What the file says is grey; another number can be "
               "typed in its place.</qt>"_s;
    const std::optional<qint64> asked = NumberIn(m_asked, column);
    if (role == Qt::ForegroundRole)
        return asked ? QVariant{} : QGuiApplication::palette().brush(QPalette::PlaceholderText);
    if (role != Qt::DisplayRole && role != Qt::EditRole && role != SortRole)
        return {};
    if (!asked && !m_said)
        m_said = Taskmill_NeedsOfInput(text(Taskmill_OpenFilesList::FilePathColumn));
    const std::optional<qint64> number = asked ? asked : NumberIn(*m_said, column);
    if (!number)
        return {};
    return role == SortRole ? QVariant{*number} : QVariant{QString::number(*number)};
}

void FileItem::setData(int column, int role, const QVariant &value)
{
    if (!IsNeed(column)) {
        KilnUtil_TreeWidgetItem::setData(column, role, value);
        return;
    }
    const QString before = NeedData(column, Qt::DisplayRole).toString();
    // Without a change the file's own number stays the file's; an empty text brings it back.
    if (role != Qt::EditRole || value.toString() == before)
        return;
    if (column == Taskmill_OpenFilesList::CoresColumn)
        m_asked.Cores = Taskmill_CoresFromText(value.toString());
    else
        m_asked.MemoryMB = Taskmill_MemoryFromText(value.toString());
    emitDataChanged();
}

void FileItem::SetNumber(int column, qint64 number)
{
    setText(column, QString::number(number));
    setData(column, SortRole, number);
}

void FileItem::SetTime(int column, const QDateTime &time)
{
    if (!time.isValid())
        return;
    setText(column, time.toString(u"ddd MMM d yyyy, h:mm:ss ap"_s));
    setData(column, SortRole, time);
}

/// Lets no number be typed that a job cannot have; nothing at all is the file's own number.
class NeedValidator final : public QValidator
{
public:
    NeedValidator(qint64 most, QObject *parent)
        : QValidator{parent}
        , m_most{most}
    {
    }

    State validate(QString &text, int & /*position*/) const override
    {
        text = text.trimmed();
        bool isNumber = false;
        const qint64 number = text.toLongLong(&isNumber);
        if (!text.isEmpty() && (!isNumber || number < 0 || number > m_most || !text.front().isDigit()))
            return Invalid;
        return text.isEmpty() || number > 0 ? Acceptable : Intermediate;
    }

private:
    const qint64 m_most;
};

QString Normalised(const QString &path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(QFileInfo{path}.absoluteFilePath()));
}

/// The path without blanks around it, which other programs leave there; a file whose name has them is found
/// all the same. Empty when there is no such file.
QString ExistingPath(const QString &path)
{
    const QString trimmed = path.trimmed();
    for (const QString &candidate : {trimmed, path}) {
        QString normalised = candidate.trimmed().isEmpty() ? QString{} : Normalised(candidate);
        if (!normalised.isEmpty() && QFileInfo::exists(normalised))
            return normalised;
    }
    return {};
}

/// The files in a directory; any other path alone.
QStringList FilesOf(const QString &path)
{
    if (!QFileInfo{path}.isDir())
        return {path};
    QStringList files;
    const QDir directory{path};
    for (const QString &name : directory.entryList(QDir::Files, QDir::Name | QDir::IgnoreCase))
        files.append(Normalised(directory.absoluteFilePath(name)));
    return files;
}

QStringList ExistingFiles(const QStringList &paths, Taskmill_OpenFilesList::Directories directories)
{
    QStringList files;
    for (const QString &path : paths) {
        const QString existing = ExistingPath(path);
        if (directories == Taskmill_OpenFilesList::Directories::StandForTheirFiles && !existing.isEmpty())
            files.append(FilesOf(existing));
        else if (!existing.isEmpty())
            files.append(existing);
    }
    return files;
}
} // namespace

Taskmill_OpenFilesList::Taskmill_OpenFilesList(QWidget *parent)
    : KilnUtil_TreeWidget{parent}
{
    SetEmptyText(u"Drop input files or folders here, or press \"Add Files...\"."_s);
    setAccessibleName(u"Job input files"_s);
    setTextElideMode(Qt::ElideMiddle);
    SetUpColumns();
    SetDetail(HighDetail);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
}

void Taskmill_OpenFilesList::SetUpColumns()
{
    setColumnCount(ColumnCount);
    for (int column = 0; column < ColumnCount; ++column) {
        headerItem()->setText(column, columns[column].title);
        setColumnWidth(column, WidthAtFirst(column));
    }
    // Above the numbers, but not close to the next heading.
    headerItem()->setTextAlignment(SizeColumn, Qt::AlignCenter);
    header()->setSortIndicator(IDColumn, Qt::AscendingOrder);
}

int Taskmill_OpenFilesList::WidthAtFirst(int column) const
{
    // Two more for the margins, and for the check box of the first column.
    const int wanted = (columns[column].characters + 2) * fontMetrics().horizontalAdvance(u'0');
    return qMax(wanted, header()->sectionSizeHint(column));
}

QSize Taskmill_OpenFilesList::sizeHint() const
{
    int width = 0;
    for (int column = 0; column < ColumnCount; ++column) {
        if (column != FilePathColumn)
            width += WidthAtFirst(column);
    }
    return {width + verticalScrollBar()->sizeHint().width() + 2 * frameWidth(),
            rowsAtFirst * fontMetrics().height() * 3 / 2};
}

void Taskmill_OpenFilesList::SetDetail(int level)
{
    if (level < LowDetail || level > HighDetail)
        return;
    for (int column = FilePathColumn; column < ColumnCount; ++column) {
        const bool hidden = !shownAtDetail[level][column - FilePathColumn];
        if (isColumnHidden(column) != hidden)
            setColumnHidden(column, hidden);
    }
}

bool Taskmill_OpenFilesList::AddFiles(const QStringList &paths, bool allowDuplicates, Directories directories)
{
    QSet<QString> present;
    for (int row = 0; row < topLevelItemCount(); ++row)
        present.insert(Normalised(topLevelItem(row)->text(FilePathColumn)));

    QList<QTreeWidgetItem *> added;
    for (const QString &path : ExistingFiles(paths, directories)) {
        if (!allowDuplicates && present.contains(path))
            continue;
        present.insert(path);
        added.append(new FileItem{path, topLevelItemCount() + static_cast<int>(added.size()) + 1});
    }
    if (added.isEmpty())
        return false;
    // Sorted once, not at each one.
    const bool sorting = isSortingEnabled();
    setSortingEnabled(false);
    addTopLevelItems(added);
    setSortingEnabled(sorting);
    scrollToItem(added.last());
    return true;
}

void Taskmill_OpenFilesList::Apply(Operation operation, bool allItems)
{
    const QSignalBlocker quiet{this};
    if (operation == Operation::Clear) {
        RemoveRows(allItems);
        return;
    }
    for (int row = 0; row < topLevelItemCount(); ++row) {
        QTreeWidgetItem *item = topLevelItem(row);
        if (!allItems && !item->isSelected())
            continue;
        const bool isChecked = item->checkState(IDColumn) == Qt::Checked;
        const bool check = operation == Operation::Check || (operation == Operation::Toggle && !isChecked);
        item->setCheckState(IDColumn, check ? Qt::Checked : Qt::Unchecked);
    }
}

bool Taskmill_OpenFilesList::IsEditable(int column) const
{
    return FileItem::IsNeed(column);
}

void Taskmill_OpenFilesList::SetUpEditor(QWidget &editor, int column) const
{
    auto *line = qobject_cast<QLineEdit *>(&editor);
    if (!line)
        return;
    const qint64 most = column == CoresColumn ? Taskmill_MostCores : Taskmill_MostMemoryMB;
    line->setValidator(new NeedValidator{most, line});
    line->setToolTip(u"From 1 to %1; empty for what the file says."_s.arg(most));
}

void Taskmill_OpenFilesList::SetNeeds(const QString &path, const Taskmill_JobNeeds &needs)
{
    const QString wanted = Normalised(path);
    for (int row = 0; row < topLevelItemCount(); ++row) {
        if (topLevelItem(row)->text(FilePathColumn) == wanted)
            static_cast<FileItem *>(topLevelItem(row))->SetAsked(needs);
    }
}

QHash<QString, Taskmill_JobNeeds> Taskmill_OpenFilesList::CheckedNeeds() const
{
    QHash<QString, Taskmill_JobNeeds> needs;
    for (int row = 0; row < topLevelItemCount(); ++row) {
        const auto *item = static_cast<const FileItem *>(topLevelItem(row));
        if (item->checkState(IDColumn) == Qt::Checked && item->Asked() != Taskmill_JobNeeds{})
            needs.insert(item->text(FilePathColumn), item->Asked());
    }
    return needs;
}

void Taskmill_OpenFilesList::CheckFirstOnly()
{
    const QSignalBlocker quiet{this};
    for (int row = 1; row < topLevelItemCount(); ++row)
        topLevelItem(row)->setCheckState(IDColumn, Qt::Unchecked);
}

void Taskmill_OpenFilesList::RemoveRows(bool allItems)
{
    QSet<QTreeWidgetItem *> removed;
    for (QTreeWidgetItem *item : selectedItems())
        removed.insert(item);
    // The row that comes to stand where the first of them was is next.
    int next = 0;
    while (next < topLevelItemCount() && !removed.contains(topLevelItem(next)))
        ++next;

    // All at once: taking thousands out one by one takes seconds.
    QList<QTreeWidgetItem *> kept = invisibleRootItem()->takeChildren();
    kept.removeIf([&](QTreeWidgetItem *item) {
        const bool remove = allItems || removed.contains(item);
        if (remove)
            delete item;
        return remove;
    });
    addTopLevelItems(kept);
    if (!kept.isEmpty())
        setCurrentItem(topLevelItem(qMin(next, topLevelItemCount() - 1)));
}

int Taskmill_OpenFilesList::SelectedCount() const
{
    int count = 0;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        count += range.height();
    return count;
}

int Taskmill_OpenFilesList::CheckedCount() const
{
    int count = 0;
    for (int row = 0; row < topLevelItemCount(); ++row)
        count += topLevelItem(row)->checkState(IDColumn) == Qt::Checked ? 1 : 0;
    return count;
}

QStringList Taskmill_OpenFilesList::CheckedPaths() const
{
    QStringList paths;
    for (int row = 0; row < topLevelItemCount(); ++row) {
        if (topLevelItem(row)->checkState(IDColumn) == Qt::Checked)
            paths.append(topLevelItem(row)->text(FilePathColumn));
    }
    return paths;
}
