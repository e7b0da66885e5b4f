// SPDX-License-Identifier: MIT
#include "manager/projectruns.h"

#include "db/database.h"
#include "processes/runkeepers.h"

#include <QDir>
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

QString Taskmill_ProjectRuns::LostJobsNotice(int firstNumber) const
{
    QStringList texts;
    const QList<KilnUtil_StrayRun> strays = m_keepers ? m_keepers->StrayRuns() : QList<KilnUtil_StrayRun>{};
    for (const KilnUtil_StrayRun &stray : strays)
        texts += u"process %1 in %2"_s.arg(QString::number(stray.ProcessID),
                                           QDir::toNativeSeparators(stray.Directory));
    return u"Jobs that were submitted since the last save may still run: see Running Jobs."_s +
           (texts.isEmpty() ? QString{} : u" These do: %1."_s.arg(texts.join(u"; "_s))) +
           u" New jobs are numbered from %1 on."_s.arg(firstNumber);
}

void Taskmill_ProjectRuns::ForgetResults() const
{
    if (m_keepers)
        m_keepers->ForgetResults();
}
