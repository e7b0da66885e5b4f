// SPDX-License-Identifier: MIT
#include "viewer/tailsource.h"

#include "kilnutil/filesource.h"
#include "kilnutil/filethread.h"
#include "processes/process.h"

#include <QFileInfo>

#include <utility>

namespace {
/// From the first whole line on, where it does not begin with the text itself.
QByteArray WholeLines(const QByteArray &bytes)
{
    return bytes.mid(bytes.indexOf('\n') + 1);
}
} // namespace

/// What a look at a file has found.
struct KilnUtil_TailSource::News
{
    Change change = Change::None;
    QByteArray bytes; ///< all that is to be shown, or what has been added to it
    qint64 wholeSize = 0;
    QString state;
    bool isMissing = false;
    QDateTime changed{};
};

/// The file as the thread sees it.
class KilnUtil_TailSource::File
{
public:
    explicit File(const QString &path)
        : m_path{path}
        , m_source{path}
    {
    }

    News Look()
    {
        const bool isFirst = !m_isOpen;
        if (isFirst && !m_source.Open())
            return {.change = Change::Replaced, .bytes = {}, .wholeSize = 0, .state = {}, .isMissing = true};
        m_isOpen = true;
        Change change = m_source.Refresh();
        if (isFirst)
            change = Change::Replaced;
        News news{.change = change,
                  .bytes = {},
                  .wholeSize = m_source.End(),
                  .state = m_source.StateText(),
                  .isMissing = false,
                  .changed = QFileInfo{m_path}.lastModified()};
        if (change == Change::Grown && m_source.End() - m_end > Length)
            news.change = Change::Replaced;
        if (news.change == Change::Replaced)
            news.bytes = Tail();
        else if (news.change == Change::Grown)
            news.bytes = m_source.Read(m_end, m_source.End() - m_end);
        m_end = m_source.End();
        return news;
    }

private:
    QByteArray Tail()
    {
        const qint64 begin = qMax<qint64>(0, m_source.End() - Length);
        const QByteArray bytes = m_source.Read(begin, m_source.End() - begin);
        return begin == 0 ? bytes : WholeLines(bytes);
    }

    const QString m_path;
    KilnUtil_FileSource m_source;
    qint64 m_end = 0; ///< up to which it was read
    bool m_isOpen = false;
};

KilnUtil_TailSource::KilnUtil_TailSource(std::function<void()> hasNews)
    : KilnUtil_MemorySource{Kept}
    , m_hasNews{std::move(hasNews)}
    , m_thread{std::make_unique<KilnUtil_FileThread>(nullptr)}
{
}

KilnUtil_TailSource::~KilnUtil_TailSource() = default;

void KilnUtil_TailSource::Reset()
{
    m_thread->Forget();
    m_file.reset();
    m_process.clear();
    m_processOffset = 0;
    m_wholeSize = 0;
    m_state.clear();
    m_changed = {};
    m_isMissing = false;
    m_isFirstLook = false;
}

void KilnUtil_TailSource::Replace(const QByteArray &bytes)
{
    Clear();
    Append(bytes);
    m_isReplaced = true;
}

void KilnUtil_TailSource::ShowFile(const QString &path)
{
    Reset();
    m_file = std::make_shared<File>(path);
    m_isFirstLook = true;
    LookAgain();
}

void KilnUtil_TailSource::ShowProcess(KilnUtil_Process *process)
{
    Reset();
    Replace({});
    m_process = process;
    PullFromProcess();
}

void KilnUtil_TailSource::ShowText(const std::function<QByteArray()> &read)
{
    Reset();
    m_isFirstLook = true;
    m_thread->Run([this, read]() -> KilnUtil_FileThread::Deliver {
        const QByteArray text = read();
        return [this, news = News{.change = Change::Replaced,
                                  .bytes = text.size() > Length ? WholeLines(text.last(Length)) : text,
                                  .wholeSize = text.size(),
                                  .state = {},
                                  .isMissing = false}] {
            TakeNews(news);
        };
    });
}

void KilnUtil_TailSource::ShowNothing()
{
    Reset();
    Replace({});
}

bool KilnUtil_TailSource::IsReading() const
{
    return m_isFirstLook;
}

void KilnUtil_TailSource::LookAgain()
{
    if (m_process)
        PullFromProcess();
    // What has not answered yet is not asked again.
    if (!m_file || m_thread->IsBusy())
        return;
    m_thread->Run([this, file = m_file]() -> KilnUtil_FileThread::Deliver {
        return [this, news = file->Look()] {
            TakeNews(news);
        };
    });
}

void KilnUtil_TailSource::TakeNews(const News &news)
{
    m_isFirstLook = false;
    m_isMissing = news.isMissing;
    m_wholeSize = news.wholeSize;
    m_state = news.state;
    m_changed = news.changed;
    if (news.change == Change::Replaced)
        Replace(news.bytes);
    else
        Append(news.bytes);
    m_hasNews();
}

void KilnUtil_TailSource::PullFromProcess()
{
    const KilnUtil_ProcessOutput &output = m_process->Output();
    m_wholeSize = output.TotalSize();
    const bool isBehind = m_wholeSize - m_processOffset > Length;
    const bool isFirst = m_processOffset == 0;
    if (isBehind)
        m_processOffset = m_wholeSize - Length;
    const QByteArray bytes = output.ReadFrom(m_processOffset);
    if (isBehind)
        Replace(WholeLines(bytes));
    else if (isFirst)
        Replace(bytes);
    else
        Append(bytes);
}

KilnUtil_TextSource::Change KilnUtil_TailSource::Refresh()
{
    const Change change = KilnUtil_MemorySource::Refresh();
    return std::exchange(m_isReplaced, false) ? Change::Replaced : change;
}
