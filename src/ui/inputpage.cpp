// SPDX-License-Identifier: MIT
#include "ui/inputpage.h"

#include "kilnutil/filesource.h"
#include "kilnutil/filethread.h"
#include "manager/timetext.h"
#include "viewer/memorysource.h"
#include "viewer/textview.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

/// A text that is shown as a whole.
class Taskmill_InputPage::Source final : public KilnUtil_MemorySource
{
public:
    /// False when it is the one that is shown.
    bool Replace(const QByteArray &text)
    {
        if (text.size() == End() - Begin() && text == Read(Begin(), text.size()))
            return false;
        Clear();
        Append(text);
        return true;
    }
};

/// What was found at the path of an input file.
struct Taskmill_InputPage::Content
{
    bool isThere = false;
    QByteArray text; ///< its beginning
    qint64 size = 0;
    Taskmill_JobTime changed;

    /// Takes its time on a slow drive.
    [[nodiscard]] static Content Of(const QString &path)
    {
        KilnUtil_FileSource file{path};
        if (!file.Open())
            return {};
        (void)file.Refresh();
        return {.isThere = true,
                .text = file.Read(0, Length),
                .size = file.End(),
                .changed = QFileInfo{path}.lastModified()};
    }
};

Taskmill_InputPage::Taskmill_InputPage(QWidget *parent)
    : Taskmill_InputPage{parent, new Source}
{
}

Taskmill_InputPage::Taskmill_InputPage(QWidget *parent, Source *source)
    : Taskmill_TextPage{parent, std::unique_ptr<KilnUtil_TextSource>{source}, u"Input"_s, u"Input file"_s}
    , m_source{source}
    , m_thread{std::make_unique<KilnUtil_FileThread>(nullptr)}
{
}

Taskmill_InputPage::~Taskmill_InputPage() = default;

void Taskmill_InputPage::ShowJob(const Taskmill_ShownJob &job)
{
    const bool isAnother = !m_job || m_job->InputFilePath != job.Record.InputFilePath;
    m_job = job.Record;
    if (m_job->InputFilePath.isEmpty()) {
        m_thread->Forget();
        Take({});
        return;
    }
    if (!isAnother && m_thread->IsBusy())
        return;
    if (isAnother)
        SetCaption({QDir::toNativeSeparators(m_job->InputFilePath), u"reading..."_s}, false);
    Read();
}

void Taskmill_InputPage::Rest()
{
    m_thread->Forget();
}

void Taskmill_InputPage::Read()
{
    m_thread->Run([this, path = m_job->InputFilePath]() -> KilnUtil_FileThread::Deliver {
        return [this, content = Content::Of(path)] {
            Take(content);
        };
    });
}

void Taskmill_InputPage::Take(const Content &content)
{
    const bool isReplaced = m_source->Replace(content.text);
    (void)m_source->Refresh();
    if (isReplaced)
        View().SourceChanged(KilnUtil_TextSource::Change::Replaced);
    if (m_shownPath != m_job->InputFilePath)
        View().ScrollToBeginSlot();
    m_shownPath = m_job->InputFilePath;
    if (m_shownPath.isEmpty()) {
        SetCaption({u"This job has no input file."_s}, false);
        return;
    }
    QStringList parts{QDir::toNativeSeparators(m_shownPath)};
    const QLocale locale;
    if (!content.isThere)
        parts += u"not there any more"_s;
    else if (content.size > content.text.size())
        parts += u"the first %1 of %2"_s.arg(locale.formattedDataSize(content.text.size()),
                                             locale.formattedDataSize(content.size));
    if (content.isThere)
        parts += TextOfChange(content.changed);
    SetCaption(parts, content.isThere);
}

/// Times are stored in whole seconds: one and the same second is no change.
QString Taskmill_InputPage::TextOfChange(const Taskmill_JobTime &changed) const
{
    if (m_job->Submitted.isNull())
        return u"last changed on %1"_s.arg(Taskmill_TimeText(changed));
    if (changed.IsoText() <= m_job->Submitted.IsoText())
        return u"not changed since the job was submitted"_s;
    const bool hasStarted = !m_job->Started.isNull();
    const bool isAfterEnd = m_job->IsFinished() && changed.IsoText() > m_job->Finished.IsoText();
    const bool isAfterStart = hasStarted && changed.IsoText() > m_job->Started.IsoText();
    return u"changed on %1, %2"_s.arg(Taskmill_TimeText(changed), isAfterEnd ? u"after the job had ended"_s
                                                                  : isAfterStart
                                                                      ? u"while the job ran"_s
                                                                      : u"after the job was submitted"_s);
}
