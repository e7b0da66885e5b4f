// SPDX-License-Identifier: MIT
#include "ui/tabmenus.h"

#include "ui/tabmenu.h"

using namespace Qt::Literals::StringLiterals;

namespace {
/// The text with a mark before the first letter that is not yet a key of the menu, at the beginning of a word
/// where there is one.
QString WithKey(const QString &text, QString &keys)
{
    const auto isFree = [&keys](QChar letter) {
        return letter.isLetter() && !keys.contains(letter, Qt::CaseInsensitive);
    };
    qsizetype best = -1;
    for (qsizetype place = 0; place < text.size(); ++place) {
        const bool beginsWord = place == 0 || text[place - 1] == u' ';
        if (!isFree(text[place]) || (best >= 0 && !beginsWord))
            continue;
        best = place;
        if (beginsWord)
            break;
    }
    if (best < 0)
        return text;
    keys += text[best];
    return QString{text}.insert(best, u'&');
}
} // namespace

class Taskmill_TabMenus::BarMenu final : public Taskmill_TabMenu
{
public:
    using Taskmill_TabMenu::Taskmill_TabMenu;
    void AddHelp(const QString &) override {}
};

Taskmill_TabMenus::Taskmill_TabMenus(QMenu &jobs, QMenu &queue, QObject *parent)
    : QObject{parent}
    , m_jobs{jobs}
    , m_queue{queue}
    , m_ownEntries{jobs.actions().size()}
{
    for (QMenu *menu : {&m_jobs, &m_queue}) {
        connect(menu, &QMenu::aboutToShow, this, &Taskmill_TabMenus::Fill);
        connect(menu, &QMenu::triggered, this, [this](const QAction *entry) {
            // The entry's action may open another menu or tab, which replaces m_menu.
            if (const auto chosenFrom = std::move(m_menu))
                chosenFrom->Choose(entry);
        });
    }
}

Taskmill_TabMenus::~Taskmill_TabMenus() = default;

void Taskmill_TabMenus::ShowThoseOf(Taskmill_TabWithMenu &tab, bool hasQueue)
{
    m_tab = &tab;
    m_queue.menuAction()->setEnabled(hasQueue);
}

void Taskmill_TabMenus::Fill()
{
    m_menu.reset();
    m_queue.clear();
    const QList<QAction *> actions = m_jobs.actions();
    for (QAction *action : actions.mid(m_ownEntries)) {
        // Its entry belongs to a menu that stands in this one.
        if (QMenu *submenu = action->menu())
            delete submenu;
        else
            delete action;
    }
    if (!m_tab)
        return;
    m_jobs.addSeparator();
    m_menu = std::make_unique<BarMenu>(m_jobs, m_queue);
    m_tab->FillMenu(*m_menu);
    AddKeys(m_jobs);
    AddKeys(m_queue);
}

/// The texts are those of the context menu, which has no keys.
void Taskmill_TabMenus::AddKeys(const QMenu &menu)
{
    QString keys;
    const QList<QAction *> actions = menu.actions();
    for (const QAction *action : actions) {
        if (const auto mark = action->text().indexOf(u'&'); mark >= 0)
            keys += action->text().mid(mark + 1, 1);
    }
    for (QAction *action : actions) {
        if (!action->isSeparator() && !action->text().contains(u'&'))
            action->setText(WithKey(action->text(), keys));
    }
}
