// SPDX-License-Identifier: MIT
#include "ui/detailsswitch.h"

#include "kilnutil/registry.h"

#include <QAction>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString onKey = u"/Details/Shown"_s;
const QString pageKey = u"/Details/Page"_s;
const QString shareKey = u"/Details/Share"_s;
constexpr int pages = 4;
constexpr double usualShare = 0.42;
constexpr double leastShare = 0.1;
constexpr double mostShare = 0.8;
} // namespace

Taskmill_DetailsSwitch::Taskmill_DetailsSwitch(QObject *parent)
    : QObject{parent}
    , m_entry{new QAction{u"&Details"_s, this}}
    , m_page{qBound(0, KilnUtil_Registry::Value(pageKey, 0).toInt(), pages - 1)}
    , m_share{qBound(leastShare, KilnUtil_Registry::Value(shareKey, usualShare).toDouble(), mostShare)}
    , m_hasChosen{KilnUtil_Registry::Value(onKey).isValid()}
{
    m_entry->setCheckable(true);
    m_entry->setShortcut(Qt::Key_F4);
    m_entry->setChecked(KilnUtil_Registry::Value(onKey, false).toBool());
    connect(m_entry, &QAction::triggered, this, &Taskmill_DetailsSwitch::SetOn);
}

bool Taskmill_DetailsSwitch::IsOn() const
{
    return m_entry->isChecked();
}

void Taskmill_DetailsSwitch::SetOn(bool on)
{
    m_hasChosen = true;
    m_entry->setChecked(on);
    KilnUtil_Registry::SetValue(onKey, on);
    Q_EMIT SwitchedSignal(on);
}

void Taskmill_DetailsSwitch::SuggestFor(int windowHeight)
{
    // They never go by themselves: a window that becomes lower has its reasons.
    if (m_hasChosen || IsOn() || windowHeight <= LeastHeight)
        return;
    m_entry->setChecked(true);
    Q_EMIT SwitchedSignal(true);
}

void Taskmill_DetailsSwitch::SetPage(int page)
{
    if (m_page == page)
        return;
    m_page = page;
    KilnUtil_Registry::SetValue(pageKey, page);
}

void Taskmill_DetailsSwitch::SetShare(double share)
{
    m_share = qBound(leastShare, share, mostShare);
    KilnUtil_Registry::SetValue(shareKey, m_share);
}
