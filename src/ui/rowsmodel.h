// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>

/// The rows of a table that is read whole and shown again and again. What is read is merged into what is
/// shown: selection, current row, place and order of the view survive.
class Taskmill_RowsModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// Rows are known again by their text in the key column. The number columns are sorted by value.
    Taskmill_RowsModel(QStringList headers, int keyColumn, QList<int> numberColumns, QObject *parent);

    /// Each row has a text for every header. Reports to the views only what differs from before.
    void SetRows(const QList<QStringList> &rows);

    /// Shows the column's cells in the rows of these keys in the mark's colour and with the explanation in
    /// their tool tips, and no other cells of the column.
    void MarkCells(int column, const QSet<QString> &keys, const QString &explanation);
    /// Shows these texts, by key, in the tool tips of the rows' cells, and nothing in other rows.
    void SetExplanations(const QHash<QString, QString> &explanations);
    void SetMarkColour(const QColor &colour);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Row
    {
        QString key; ///< unique, also where the texts of the key column are not
        QStringList texts;
    };
    struct Mark
    {
        QSet<QString> keys;
        QString explanation;
    };

    [[nodiscard]] QList<Row> KeyedRows(const QList<QStringList> &rows) const;
    void RemoveVanished(const QHash<QString, int> &positions);
    void Reorder(const QHash<QString, int> &positions);
    void InsertNew(const QList<Row> &rows);
    void UpdateTexts(const QList<Row> &rows);
    [[nodiscard]] QVariant SortValue(const QString &text, int column) const;
    [[nodiscard]] QVariant MarkData(const QModelIndex &index, int role) const;

    const QStringList m_headers;
    const int m_keyColumn;
    const QList<int> m_numberColumns;
    QList<Row> m_rows;
    QHash<int, Mark> m_marks;               ///< by column
    QHash<QString, QString> m_explanations; ///< of whole rows
    QColor m_markColour;
};
