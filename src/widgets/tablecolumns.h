// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QTimer>

class QHeaderView;
class QMenu;
class QTableView;

/// The columns of a table: how wide they are, in which order they stand, which of them are shown, and what
/// the user has made of all that, which is remembered.
class KilnUtil_TableColumns : public QObject
{
    Q_OBJECT

public:
    /// Part of the table, whose header is complete by then.
    explicit KilnUtil_TableColumns(QTableView &table);
    ~KilnUtil_TableColumns() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_TableColumns)

    /// For these see the functions of KilnUtil_TableWidget.
    void SetHints(const QList<int> &characters);
    void SetElastic(const QMap<int, int> &leastCharacters);
    void SetAtFirst(const QList<int> &hidden, const QMap<int, int> &standingBehind);
    void Remember(const QString &name);
    void FillMenu(QMenu &menu);

    /// To be called for a new model: gives its columns their widths.
    void ApplyHints();
    /// To be called when the table has another width: the elastic columns follow it.
    void Fit();
    /// The column itself when it is shown, else the first one that is.
    [[nodiscard]] int ShownInPlaceOf(int column) const;

private Q_SLOTS:
    void SaveSlot();
    void HeaderMenuSlot(const QPoint &position);
    void ResizedSlot(int column);

private:
    [[nodiscard]] QHeaderView *Header() const;
    [[nodiscard]] int WidthOf(int characters) const;
    void PlaceAsAtFirst();
    void PutBehindOther(int column);
    void Restore();
    void RestoreOrder();
    void Show(int column, bool isShown);
    void MoveCurrent(int places);
    void ShowAsAtFirst();
    void Changed();
    [[nodiscard]] QList<int> Shown() const;

    QTableView &m_table;
    QList<int> m_columnHints;
    QMap<int, int> m_elasticColumns; ///< least numbers of characters
    QList<int> m_hiddenAtFirst;
    QMap<int, int> m_behindAtFirst;
    bool m_hasUserWidths = false;
    bool m_settingWidths = false; ///< it is not the user who does
    QString m_settingsKey;        ///< of the user's settings; empty when the columns are not remembered
    QTimer m_saveTimer;           ///< a drag changes a width many times
};
