// SPDX-License-Identifier: MIT
#include "ui/projectoffer.h"

#include "db/waitingjobcount.h"
#include "kilnutil/filethread.h"
#include "widgets/tablewidget.h"

#include <QDir>
#include <QEvent>
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
    : QPushButton{TextOf(path, std::nullopt), table.parentWidget()}
    , m_table{table}
    , m_thread{new KilnUtil_FileThread{this}}
{
    m_thread->Run([this, path]() -> KilnUtil_FileThread::Deliver {
        return [this, text = TextOf(path, Taskmill_CountWaitingJobs(path))] {
            setText(text);
            PutInPlace();
        };
    });
    setAutoDefault(false);
    setToolTip(QDir::toNativeSeparators(path));
    m_table.viewport()->installEventFilter(this);
    connect(m_table.model(), &QAbstractItemModel::rowsInserted, this, &QWidget::hide);
    PutInPlace();
    setVisible(m_table.model()->rowCount() == 0);
}

bool Taskmill_ProjectOffer::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show)
        PutInPlace();
    return QPushButton::eventFilter(watched, event);
}

/// Beneath the text in the middle, which has two lines.
void Taskmill_ProjectOffer::PutInPlace()
{
    const QWidget &viewport = *m_table.viewport();
    const QPoint middle = viewport.mapTo(parentWidget(), viewport.rect().center());
    resize(sizeHint().boundedTo(viewport.size()));
    move(middle.x() - width() / 2, middle.y() + 2 * fontMetrics().lineSpacing());
    raise();
}
