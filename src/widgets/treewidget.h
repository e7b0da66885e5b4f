// SPDX-License-Identifier: MIT
#pragma once

#include <QTreeWidget>

/// A list of whole rows that the user can put into another order by dragging, or by their headings while
/// sorting is on, and onto which files can be dropped.
class KilnUtil_TreeWidget : public QTreeWidget
{
    Q_OBJECT

public:
    explicit KilnUtil_TreeWidget(QWidget *parent = nullptr);

    /// While sorting is on, the headings can be clicked and the rows cannot be dragged.
    void SetSorting(bool sorting);
    /// Shown in place of rows as long as there are none.
    void SetEmptyText(const QString &text);

Q_SIGNALS:
    /// Files or directories of this computer, dropped from another program; absolute paths. Emitted from the
    /// event loop, so that the other program does not wait for what follows.
    void DropSignal(const QStringList &paths);
    /// The user has dragged rows to another place.
    void ItemsMovedSignal();
    /// The editor of a cell is gone, with or without a new text.
    void ItemEditorClosedSignal();

protected:
    /// Whether the cells of the column can be edited, where a row allows it.
    [[nodiscard]] virtual bool IsEditable(int) const { return true; }
    /// An editor is about to be shown for a cell of the column; see IsEditable().
    virtual void SetUpEditor(QWidget &, int) const {}
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

protected Q_SLOTS:
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    void MoveSelectedRows(QDropEvent *event);
    void SetDropHover(bool hover);

    QString m_emptyText;
    bool m_dropHover = false;
};
