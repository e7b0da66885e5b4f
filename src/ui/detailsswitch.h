// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QAction;
class QWidget;

/// Whether the details are shown beneath the tables of jobs, on which page and how high: the same for all
/// tabs, and remembered.
class Taskmill_DetailsSwitch final : public QObject
{
    Q_OBJECT

public:
    /// The least height of a window, in pixels, that has the details before the user has chosen.
    static constexpr int LeastHeight = 600;

    explicit Taskmill_DetailsSwitch(QObject *parent);

    /// The entry of a menu, with its key.
    [[nodiscard]] QAction &Entry() const { return *m_entry; }
    [[nodiscard]] bool IsOn() const;
    void SetOn(bool on);
    /// Shows them in a window of that height, unless the user has chosen.
    void SuggestFor(int windowHeight);

    [[nodiscard]] int Page() const { return m_page; }
    void SetPage(int page);
    /// Of a tab's height.
    [[nodiscard]] double Share() const { return m_share; }
    void SetShare(double share);

Q_SIGNALS:
    void SwitchedSignal(bool on);

private:
    QAction *m_entry;
    int m_page;
    double m_share;
    bool m_hasChosen; ///< the user
};
