// SPDX-License-Identifier: MIT
#include "manager/processesofjobtypes.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A path as it is compared: a maker's folder is the same with and without the full stop at its end. No
/// regular expressions in here: this runs on a thread of its own, and what Qt keeps for them in a
/// thread is used after it was freed when that thread ends in a program built with MinGW.
QString Normalised(const QString &path)
{
    // A listing may come from a tool that writes either separator on any system.
    QString normalised = QDir::cleanPath(path.trimmed().replace(u'\\', u'/'));
    for (const QString &maker : {u"Kilnworks, Inc"_s, u"Gaussian, Inc"_s})
        normalised.replace(maker + u'.', maker, Qt::CaseInsensitive);
    return normalised;
}

/// An executable in the two forms in which it is compared; the second is looked up once, and only when it is
/// needed.
class ComparedPath
{
public:
    explicit ComparedPath(const QString &path)
        : m_path{path.trimmed()}
        , m_normalised{Normalised(path)}
    {
    }

    [[nodiscard]] bool IsEmpty() const { return m_path.isEmpty(); }

    [[nodiscard]] bool Matches(const ComparedPath &other) const
    {
        if (m_normalised.compare(other.m_normalised, Qt::CaseInsensitive) == 0)
            return true;
        const QString canonical = Canonical();
        return !canonical.isEmpty() && canonical.compare(other.Canonical(), Qt::CaseInsensitive) == 0;
    }

private:
    [[nodiscard]] QString Canonical() const
    {
        if (!m_canonical)
            m_canonical = QFileInfo{m_path}.canonicalFilePath().trimmed();
        return *m_canonical;
    }

    QString m_path;
    QString m_normalised;
    mutable std::optional<QString> m_canonical;
};
} // namespace

QList<Taskmill_ProcessRecord> Taskmill_ProcessesOfJobTypes(const QList<Taskmill_ProcessRecord> &processes,
                                                           const QStringList &jobTypeExecutables)
{
    QList<ComparedPath> known;
    for (const QString &executable : jobTypeExecutables) {
        if (const ComparedPath path{executable}; !path.IsEmpty())
            known.append(path);
    }
    QList<Taskmill_ProcessRecord> matching;
    for (const Taskmill_ProcessRecord &process : processes) {
        const ComparedPath path{process.ExecutablePath};
        const auto matches = [&path](const ComparedPath &other) {
            return path.Matches(other);
        };
        if (!path.IsEmpty() && std::ranges::any_of(known, matches))
            matching.append(process);
    }
    return matching;
}
