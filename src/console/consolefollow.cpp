// SPDX-License-Identifier: MIT
#include "console/console.h"
#include "console/consoleworker.h"
#include "jobs/job.h"
#include "kilnutil/filesource.h"

#include "console/outputfollower.h"
#include "manager/manager.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QStringDecoder>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int roundMs = 200;
constexpr qint64 mostAtFirst = 4096;               ///< bytes of what was written before
constexpr qint64 mostAtOnce = qint64{1024} * 1024; ///< bytes that are read of a file

/// The file that a job writes, from the moment on at which its program has begun it.
class FollowedFile
{
public:
    FollowedFile() = default;
    explicit FollowedFile(const Taskmill_JobRecord &job)
        : m_paths{job.OutputFilePath(), job.StandardOutputFile}
        // Times of files lag behind the clock a little.
        , m_earliest{job.Started.ClockTime().addSecs(-1)}
    {
    }

    [[nodiscard]] bool IsFound() const { return m_source != nullptr; }
    [[nodiscard]] QString Path() const { return m_path; }

    /// True when it has just been found.
    bool Find()
    {
        const auto isOfThisRun = [this](const QString &path) {
            const QFileInfo file{path};
            return file.isFile() && Taskmill_JobTime{file.lastModified()}.ClockTime() >= m_earliest;
        };
        const auto path = std::ranges::find_if(m_paths, isOfThisRun);
        if (m_source || path == m_paths.end())
            return false;
        auto source = std::make_unique<KilnUtil_FileSource>(*path);
        if (!source->Open())
            return false;
        m_path = *path;
        m_source = std::move(source);
        m_offset = qMax(qint64{0}, m_source->End() - mostAtFirst);
        return true;
    }

    /// What is new in it.
    QByteArray Take()
    {
        if (m_source->Refresh() == KilnUtil_TextSource::Change::Replaced)
            m_offset = 0;
        QByteArray bytes = m_source->Read(m_offset, qMin(m_source->End() - m_offset, mostAtOnce));
        m_offset += bytes.size();
        return bytes;
    }

private:
    QStringList m_paths;
    QDateTime m_earliest;
    QString m_path;
    std::unique_ptr<KilnUtil_FileSource> m_source;
    qint64 m_offset = 0;
};

void WaitARound()
{
    QEventLoop loop;
    QTimer::singleShot(roundMs, &loop, &QEventLoop::quit);
    loop.exec();
}

/// A follower belongs to the main thread.
struct DeleteLater
{
    void operator()(QObject *object) const { object->deleteLater(); }
};
} // namespace

/// A job that is being followed, and how far that has come.
struct Taskmill_Console_Worker::FollowedJob
{
    int jobID = 0;
    std::unique_ptr<Taskmill_OutputFollower, DeleteLater> output;
    FollowedFile file;
    QStringDecoder decoder{QStringDecoder::Utf8};
    bool endsLine = true; ///< what was printed
    bool hasEnded = false;
};

QString Taskmill_Console_Worker::BeginToFollow(FollowedJob &followed)
{
    QString problem = u"There is no job %1."_s.arg(followed.jobID);
    OnMainThread([&] {
        const Taskmill_ConsoleActions &actions = m_console.Actions();
        Taskmill_QueueOwner *owner = actions.OwnerOfJob(followed.jobID);
        const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(followed.jobID) : nullptr;
        if (job && job->Process()) {
            problem.clear();
            followed.output.reset(new Taskmill_OutputFollower{*job, mostAtFirst});
            followed.file = FollowedFile{job->Record()};
        } else if (job) {
            problem = u"Job %1 does not run yet."_s.arg(followed.jobID);
        } else if (actions.FindRecord(followed.jobID)) {
            problem = u"Job %1 has ended; show job %1 shows its output."_s.arg(followed.jobID);
        }
    });
    return problem;
}

/// False when there is nothing new.
bool Taskmill_Console_Worker::PrintWhatFollows(FollowedJob &followed)
{
    QByteArray bytes;
    OnMainThread([&] {
        // In this order: what was written last is there when it has ended.
        followed.hasEnded = followed.output->HasEnded();
        bytes = followed.output->Take();
    });
    if (followed.file.Find())
        Print((followed.endsLine ? QString{} : u"\n"_s) + u"<Taskmill> %1:\n\n"_s.arg(followed.file.Path()));
    // What the program writes into its output file is what counts.
    if (followed.file.IsFound())
        bytes = followed.file.Take();
    const QString text = followed.decoder.decode(bytes);
    if (!text.isEmpty())
        followed.endsLine = text.endsWith(u'\n');
    // Also what was posted meanwhile.
    Print(text);
    return !bytes.isEmpty();
}

void Taskmill_Console_Worker::FollowJob(const QString &argument)
{
    bool isNumber = false;
    FollowedJob followed;
    followed.jobID = argument.toInt(&isNumber);
    const QString problem = isNumber ? BeginToFollow(followed) : u"There is no job %1."_s.arg(argument);
    if (!followed.output) {
        Print(u"\n<Taskmill> "_s + problem + u"\n\n"_s);
        return;
    }
    const QString key = m_console.Terminal().BreakOffKey();
    Print(u"\n<Taskmill> Following job %1%2.\n\n"_s.arg(QString::number(followed.jobID),
                                                        key.isEmpty() ? key : u"; %1 ends this"_s.arg(key)));
    while (!m_console.IsQuitting() && !m_console.Terminal().IsBrokenOff()) {
        if (PrintWhatFollows(followed))
            continue;
        if (followed.hasEnded)
            break;
        WaitARound();
    }
    if (!followed.hasEnded)
        return;
    PrintFromMainThread([&](Taskmill_ConsoleActions &actions) {
        const Taskmill_JobRecord *job = actions.FindRecord(followed.jobID);
        const QString status = job ? u": "_s + Taskmill_JobStatusText(job->Status).toLower() : QString{};
        return (followed.endsLine ? u"\n"_s : u"\n\n"_s) +
               u"<Taskmill> Job %1 has ended%2.\n\n"_s.arg(QString::number(followed.jobID), status);
    });
}
