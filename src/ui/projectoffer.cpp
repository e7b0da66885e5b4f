// SPDX-License-Identifier: MIT
#include "ui/projectoffer.h"

#include "db/waitingjobcount.h"
#include "kilnutil/filethread.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Such as "Open day.mill, 3 waiting jobs".
QString TextOf(const QString &path, std::optional<int> count)
{
    QString text = u"Open "_s + QFileInfo{path}.fileName();
    if (count)
        text += *count == 1 ? u", 1 waiting job"_s : u", %1 waiting jobs"_s.arg(*count);
    return text.replace(u'&', u"&&"_s);
}
} // namespace

Taskmill_ProjectOffer::Taskmill_ProjectOffer(KilnUtil_TableWidget &table, const QString &path)
    : Taskmill_TableOffer{table, TextOf(path, std::nullopt)}
    , m_thread{new KilnUtil_FileThread{this}}
{
    setToolTip(QDir::toNativeSeparators(path));
    setVisible(IsTableEmpty());
    m_thread->Run([this, path]() -> KilnUtil_FileThread::Deliver {
        return [this, text = TextOf(path, Taskmill_CountWaitingJobs(path))] {
            SetText(text);
        };
    });
    m_thread->Wait();
}
