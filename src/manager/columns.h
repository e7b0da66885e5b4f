// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobstatus.h"
#include "jobs/jobtime.h"
#include "manager/texttable.h"

#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

class QJsonObject;

/// One column of a table of records: in the window, in the console's listings and in what the client prints.
template <typename Record>
struct Taskmill_Column
{
    /// A text that is a number, as a rule.
    struct NumberText
    {
        QString Record::*member;
        bool operator==(const NumberText &) const = default;
    };
    /// A number that may not be known, and then has no text, and how it is shown.
    struct Quantity
    {
        std::optional<qint64> (*of)(const Record &record);
        QString (*text)(qint64 value);
        bool operator==(const Quantity &) const = default;
    };
    /// What stands in a cell: a member of the record, or a text made of it.
    using Cell =
        std::variant<QString Record::*, qint32 Record::*, Taskmill_JobStatus Record::*,
                     Taskmill_JobTime Record::*, NumberText, Quantity, QString (*)(const Record &record)>;

    QString header;
    QString key{};          ///< its name for programs, in JSON; empty for what they do not get
    Cell cell;              ///< sorted by value when it is a number or a time, else as text
    int width = 0;          ///< in the window at first, in characters; a time needs fewer than it has
    int leastWidth = 0;     ///< to which it gives way in a narrow window; 0 for not at all
    bool isHidden = false;  ///< in the window at first
    QString standsBehind{}; ///< in the window at first, the header of another column; empty for its own place
    int leavesListing = 0;  ///< its turn to leave one that is too wide; with 0 after those, from the end
    QJsonValue (*json)(const Record &record) = nullptr; ///< where programs get another value than the cell's
};

/// The columns of a table. How many there are and what they hold is said in one place, manager/listings.cpp.
template <typename Record>
class Taskmill_Columns
{
public:
    using Column = Taskmill_Column<Record>;

    Taskmill_Columns(QList<Column> columns);

    [[nodiscard]] int Count() const { return static_cast<int>(m_columns.size()); }
    /// The column of that cell; -1 when there is none.
    [[nodiscard]] int IndexOf(const typename Column::Cell &cell) const;
    /// The column of that header; -1 when there is none.
    [[nodiscard]] int WithHeader(const QString &header) const;

    [[nodiscard]] QString Text(const Record &record, int column) const;
    /// The texts of one row.
    [[nodiscard]] QStringList Row(const Record &record) const;
    /// The values by their keys.
    [[nodiscard]] QJsonObject Json(const Record &record) const;

    /// These keys, in the order of the columns.
    [[nodiscard]] QStringList Keys() const;

    [[nodiscard]] QStringList Headers() const;
    [[nodiscard]] QList<int> Widths() const;
    /// Of those that give way in a narrow window.
    [[nodiscard]] QMap<int, int> LeastWidths() const;
    /// Those that are sorted as numbers.
    [[nodiscard]] QList<int> NumberColumns() const;
    /// In the window at first: those that are not shown, and those that stand behind another one.
    [[nodiscard]] QList<int> HiddenColumns() const;
    [[nodiscard]] QMap<int, int> MovedColumns() const;
    /// By what a record is sorted in a column of numbers, quantities or times; one that is not known comes
    /// first. Nothing in a column of texts.
    [[nodiscard]] std::optional<qint64> SortNumber(const Record &record, int column) const;
    /// The time that a column shows; nullptr when it shows something else.
    [[nodiscard]] Taskmill_JobTime Record::*TimeOf(int column) const;
    /// Whether the column shows a quantity.
    [[nodiscard]] bool IsQuantity(int column) const;

    /// A listing as the console prints it: title, table and an empty line, or one line that says that the
    /// list of that name is empty. With a width, the table is made to fit a terminal of so many columns.
    [[nodiscard]] QString Listing(const QString &title, const QString &listName,
                                  const QList<QStringList> &rows, int width) const;

    /// The same row by row, for as many as there may be.
    class Rows
    {
    public:
        void Add(const Record &record);
        [[nodiscard]] QString Listing(const QString &title, const QString &listName, int width) const;

    private:
        friend class Taskmill_Columns;
        explicit Rows(const Taskmill_Columns &columns);

        const Taskmill_Columns &m_columns;
        Taskmill_TextTableBuilder m_table;
    };
    [[nodiscard]] Rows NoRows() const { return Rows{*this}; }

private:
    [[nodiscard]] QStringList LeaveFirst() const;

    QList<Column> m_columns;
};
