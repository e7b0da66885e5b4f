// SPDX-License-Identifier: MIT
#include "manager/projectruns.h"

#include "db/database.h"
#include "processes/runkeepers.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString identityField = u"Identity"_s;

/// Such a text holds neither blanks nor colons.
QString TextOfPath(const QString &path)
{
    return QString::fromLatin1(path.toUtf8().toPercentEncoding("/"));
}
} // namespace

QString Taskmill_PathOfRunOwner(const QString &text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.toLatin1()));
}

void Taskmill_ProjectRuns::BelongTo(Taskmill_Database &database, const QString &path)
{
    if (!m_keepers)
        return;
    m_identity = database.GetProjectField(identityField);
    if (m_identity.isEmpty()) {
        m_identity = m_keepers->NewRunID();
        database.SetProjectField(identityField, m_identity);
    }
    MoveTo(path);
}

void Taskmill_ProjectRuns::MoveTo(const QString &path) const
{
    if (!m_keepers || m_identity.isEmpty())
        return;
    // The file may have been moved, but where it still is, this one is a copy of it.
    const auto mayTake = [path](const QString &ownerText) {
        const QFileInfo other{Taskmill_PathOfRunOwner(ownerText)};
        return ownerText.isEmpty() || !other.exists() ||
               other.canonicalFilePath() == QFileInfo{path}.canonicalFilePath();
    };
    m_keepers->SetOwner(m_identity, TextOfPath(path), mayTake);
}

void Taskmill_ProjectRuns::SetDurable(bool isDurable) const
{
    if (m_keepers)
        m_keepers->SetForgetsByItself(isDurable);
}

void Taskmill_ProjectRuns::ForgetResults() const
{
    if (m_keepers)
        m_keepers->ForgetResults();
}
