// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

class KilnUtil_FileThread;
class KilnUtil_TableWidget;

/// A button in the middle of an empty table that opens the last project.
class Taskmill_ProjectOffer final : public QPushButton
{
    Q_OBJECT

public:
    /// Lies over the table, whose parent owns it, as long as the table has no rows.
    Taskmill_ProjectOffer(KilnUtil_TableWidget &table, const QString &path);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void PutInPlace();

    KilnUtil_TableWidget &m_table;
    KilnUtil_FileThread *const m_thread;
};
