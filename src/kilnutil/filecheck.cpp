// SPDX-License-Identifier: MIT
#include "kilnutil/filecheck.h"

#include <QFileInfo>

using namespace std::chrono_literals;

namespace {
/// Of the event loop.
constexpr auto longestWait = 8ms;

bool IsPossible(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar::Null);
}
} // namespace

KilnUtil_FileCheck::KilnUtil_FileCheck(QObject *parent)
    : QObject{parent}
    , m_thread{nullptr}
{
}

KilnUtil_FileCheck &KilnUtil_FileCheck::Of(QObject &owner)
{
    auto *check = owner.findChild<KilnUtil_FileCheck *>({}, Qt::FindDirectChildrenOnly);
    return check ? *check : *new KilnUtil_FileCheck{&owner};
}

void KilnUtil_FileCheck::Find(const QStringList &paths, Check check, const Take &take)
{
    m_thread.Run([paths, check, take]() -> KilnUtil_FileThread::Deliver {
        QStringList found;
        for (const QString &path : paths) {
            if (check(path))
                found.append(path);
        }
        return [take, found] {
            take(found);
        };
    });
    m_thread.Wait(longestWait);
}

bool KilnUtil_FileCheck::Exists(const QString &path)
{
    return IsPossible(path) && QFileInfo::exists(path);
}

bool KilnUtil_FileCheck::IsFile(const QString &path)
{
    return IsPossible(path) && QFileInfo{path}.isFile();
}

bool KilnUtil_FileCheck::IsFolder(const QString &path)
{
    return IsPossible(path) && QFileInfo{path}.isDir();
}
