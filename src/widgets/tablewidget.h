// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QTableView>

#include <functional>
#include <memory>

class KilnUtil_TableColumns;
class KilnUtil_TableSortProxy;
class QDropEvent;
class QMenu;

/// A table of whole rows that the user can sort, and onto which files can be dropped. Rows and columns in its
/// signals are those of the view: what stands behind a row is found through the data of its cells.
class KilnUtil_TableWidget : public QTableView
{
    Q_OBJECT

public:
    explicit KilnUtil_TableWidget(QWidget *parent);
    ~KilnUtil_TableWidget() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_TableWidget)

    /// Shows the model, sorted by the first column at first. The model belongs to the caller; the table's own
    /// model() is a KilnUtil_TableSortProxy on it.
    void SetSourceModel(QAbstractItemModel *model);

    /// Initial widths in characters, for the columns from the first on. A column is never narrower at first
    /// than its header.
    void SetColumnHints(const QList<int> &characters);
    /// Columns that are narrower at first, down to so many characters, where the others would not be in view
    /// otherwise. They follow the width of the table until the user sets the width of a column.
    void SetElasticColumns(const QMap<int, int> &leastCharacters);
    /// At first these columns are hidden, and those of the map stand behind the other one.
    void SetColumnsAtFirst(const QList<int> &hidden, const QMap<int, int> &standingBehind);
    /// Restores what was saved under that name, and saves from then on what the user does to the columns:
    /// their widths and their order, which of them are shown, and by which the rows are sorted. To be called
    /// when the model and the hints are there. A column that was not known when they were saved is as at
    /// first.
    void RememberColumns(const QString &name);
    /// Adds what shows and hides columns, as the menu of the headers does. The table outlives the menu.
    void FillColumnsMenu(QMenu &menu);

    /// Shown in place of rows as long as there are none.
    void SetEmptyText(const QString &text);
    /// Off at first.
    void SetAcceptsFiles(bool accepts);

    /// The selected rows of the view, from the top.
    [[nodiscard]] QList<int> SelectedRows() const;
    /// The same with the row of that cell, if there is one.
    [[nodiscard]] QList<int> SelectedRowsWith(const QModelIndex &cell) const;
    /// The current cell if it is at that place of the viewport, where a menu is asked for: a click with Ctrl
    /// does not select its row. Else no cell.
    [[nodiscard]] QModelIndex ClickedCell(const QPoint &position) const;
    [[nodiscard]] QList<int> AllRows() const;
    /// What the cells of these rows hold under KilnUtil_TableSortProxy::PositionRole, where that is the row
    /// of the source model.
    [[nodiscard]] QList<int> PositionsOf(const QList<int> &rows) const;
    [[nodiscard]] QList<int> PositionsOfSelectedRows() const { return PositionsOf(SelectedRows()); }
    /// What the cell holds under KilnUtil_TableSortProxy::PositionRole; -1 when there is no such cell.
    [[nodiscard]] int PositionAt(int row) const;
    /// The same of the current cell.
    [[nodiscard]] int CurrentPosition() const;

    [[nodiscard]] const KilnUtil_TableSortProxy &Rows() const { return *m_proxy; }
    /// The source model wants other rows than before. Where many were selected, none is any more: one that is
    /// not shown is never acted on.
    void FilterChanged();

    /// Calls what changes the rows and keeps those in view where they are. At its very top the table stays
    /// there, where new rows may come.
    void ChangeRows(const std::function<void()> &change);

Q_SIGNALS:
    /// Files or directories of this computer, dropped from another program; absolute paths. Emitted from the
    /// event loop, so that the other program does not wait for what follows.
    void DropSignal(const QStringList &paths);
    /// A double click, or Enter on the current cell.
    void cellDoubleClicked(int row, int column);
    /// The Delete key.
    void RemoveRequestedSignal();

protected Q_SLOTS:
    /// No other row takes the place of the current one: a key or a menu would act on what nobody chose.
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void SetUpHeaders();
    void SetRowHeight();
    [[nodiscard]] bool ShowWholeText(const QHelpEvent &event);
    void AcceptDrop(QDropEvent *event);
    void SetDropHover(bool hover);

    KilnUtil_TableSortProxy *m_proxy;
    std::unique_ptr<KilnUtil_TableColumns> m_columns;
    QString m_emptyText;
    QPoint m_placeOfKeyboard; ///< column and row of the last current cell
    bool m_acceptsFiles = false;
    bool m_dropHover = false;
    bool m_takingFocus = false;
};
