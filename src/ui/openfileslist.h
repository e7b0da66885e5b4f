// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobneeds.h"
#include "widgets/treewidget.h"

#include <QHash>

/// The input files of the Submit Jobs dialog, one row for each; those that are checked become jobs.
class Taskmill_OpenFilesList : public KilnUtil_TreeWidget
{
    Q_OBJECT

public:
    enum Column
    {
        IDColumn,
        FilePathColumn,
        FileNameColumn,
        DirectoryColumn,
        TypeColumn,
        SizeColumn,
        CreatedColumn,
        LastModifiedColumn,
        CoresColumn,  ///< this and the next can be edited
        MemoryColumn, ///< in units of 2^20 bytes
        ColumnCount
    };
    /// What the menu "Actions" does to rows. The numbers are part of the codes of its entries.
    enum class Operation
    {
        Clear = 0,
        Check = 1,
        Uncheck = 2,
        Toggle = 3
    };
    /// What becomes of a directory that is added.
    enum class Directories
    {
        AreFiles,          ///< an entry like any other
        StandForTheirFiles ///< those that are not hidden, by name; none of its subdirectories
    };
    static constexpr int LowDetail = 0;
    static constexpr int MediumDetail = 1;
    static constexpr int HighDetail = 2;

    explicit Taskmill_OpenFilesList(QWidget *parent = nullptr);

    /// Appends the files that exist, checked. Unless duplicates are allowed, a file that is in the list
    /// already stays out. Whether any was appended.
    bool AddFiles(const QStringList &paths, bool allowDuplicates, Directories directories);
    /// To the selected rows, or to all. Emits nothing: the caller knows.
    void Apply(Operation operation, bool allItems);
    /// What is asked for the file of that path, in place of what it says itself.
    void SetNeeds(const QString &path, const Taskmill_JobNeeds &needs);
    /// What is asked for checked files, by their paths as CheckedPaths() has them.
    [[nodiscard]] QHash<QString, Taskmill_JobNeeds> CheckedNeeds() const;
    /// Unchecks every row but the first.
    void CheckFirstOnly();

    /// Wide enough for the columns of the highest detail.
    [[nodiscard]] QSize sizeHint() const override;
    /// Shows and hides columns; the ID is left as it is. Any other number leaves them all.
    void SetDetail(int level);
    [[nodiscard]] int SelectedCount() const;
    [[nodiscard]] int CheckedCount() const;
    /// In the order of the list.
    [[nodiscard]] QStringList CheckedPaths() const;

private:
    /// Only what a job needs.
    [[nodiscard]] bool IsEditable(int column) const override;
    void SetUpEditor(QWidget &editor, int column) const override;
    void SetUpColumns();
    [[nodiscard]] int WidthAtFirst(int column) const;
    void RemoveRows(bool allItems);
};
