// SPDX-License-Identifier: MIT
#include "console/postedtext.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

void Taskmill_PostedText::Add(const QString &text)
{
    const std::scoped_lock lock{m_mutex};
    if (m_isFull)
        return;
    m_isFull = m_text.size() + text.size() > MostCharacters;
    m_text += m_isFull ? u"\n<Taskmill> Nobody read this output: what came next is lost.\n"_s : text;
}

QString Taskmill_PostedText::Take()
{
    const std::scoped_lock lock{m_mutex};
    m_isFull = false;
    return std::exchange(m_text, {});
}

bool Taskmill_PostedText::IsEmpty() const
{
    const std::scoped_lock lock{m_mutex};
    return m_text.isEmpty();
}
