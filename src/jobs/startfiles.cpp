// SPDX-License-Identifier: MIT
#include "jobs/startfiles.h"

#include "jobs/jobrecord.h"
#include "kilnutil/filesys.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 bytesOfMB = qint64{1} << 20;
/// No job waits long for its input to be read.
constexpr qint64 longestHashed = 64 * bytesOfMB;

/// Without a look at the drive.
QString FolderOf(const QString &path)
{
    return QFileInfo{path}.absolutePath();
}

/// Where a file would be that is not there yet, nor perhaps its folder.
QString FuturePath(QString path)
{
    // Writing to a link makes what it leads to.
    constexpr int mostLinks = 40;
    for (int links = 0; links < mostLinks && QFileInfo{path}.isSymbolicLink(); ++links)
        path = QFileInfo{path}.symLinkTarget();
    for (qsizetype end = path.lastIndexOf(u'/'); end > 0; end = path.lastIndexOf(u'/', end - 1)) {
        if (const auto folder = KilnUtil_FileSys::PlaceOf(path.first(end + 1)))
            return QDir::cleanPath(folder->Path + u'/' + path.sliced(end + 1));
    }
    return QDir::cleanPath(path);
}
} // namespace

QString Taskmill_ComparableFile(const QString &path)
{
    const auto place = KilnUtil_FileSys::PlaceOf(path);
    if (place && !place->IsFile)
        return {};
    return KilnUtil_FileSys::ComparablePath(place ? place->Path : FuturePath(path));
}

Taskmill_FileQuestion Taskmill_FileQuestionOf(const Taskmill_JobRecord &job)
{
    Taskmill_FileQuestion question;
    // Such a job is ended when it starts.
    if (job.HoldsNulInFileName())
        return question;
    question.Input = job.InputFilePath;
    question.InputHash = job.InputHash;
    question.AsksSpace = job.JobType.LeastFreeMB > 0;
    const QString home = job.InputFilePath.isEmpty() ? QDir::currentPath() : FolderOf(job.InputFilePath);
    const QStringList named{job.OutputFilePath(), job.StandardOutputFile, job.CheckpointFile,
                            job.CheckpointFile2};
    for (const QString &file : named + job.InputNeeds.Written) {
        if (!file.isEmpty())
            question.Written.append(QDir{home}.absoluteFilePath(QDir::fromNativeSeparators(file)));
    }
    const QString output = job.OutputFilePath().isEmpty() ? job.StandardOutputFile : job.OutputFilePath();
    question.Writes = !output.isEmpty();
    question.Folder = output.isEmpty() ? home : FolderOf(output);
    return question;
}

Taskmill_FileFacts Taskmill_LookAtFiles(const Taskmill_FileQuestion &question)
{
    Taskmill_FileFacts facts;
    const QFileInfo input{question.Input};
    if (!question.Input.isEmpty() && input.isFile()) {
        facts.IsInputReadable = input.isReadable();
        const QString hash = question.InputHash.isEmpty() ? QString{} : Taskmill_HashOfInput(question.Input);
        facts.IsInputChanged = !hash.isEmpty() && hash != question.InputHash;
    }
    if (question.Folder.isEmpty())
        return facts;
    const QFileInfo folder{question.Folder};
    facts.IsFolderWritable = !question.Writes || !folder.isDir() || folder.isWritable();
    if (question.AsksSpace) {
        if (const QStorageInfo drive{question.Folder}; drive.isValid() && drive.bytesAvailable() >= 0)
            facts.FreeMB = drive.bytesAvailable() / bytesOfMB;
    }
    for (const QString &file : question.Written) {
        if (const QString one = Taskmill_ComparableFile(file); !one.isEmpty() && !facts.Written.contains(one))
            facts.Written.append(one);
    }
    return facts;
}

QString Taskmill_ReasonOfFiles(const Taskmill_JobRecord &job, const Taskmill_FileFacts &facts)
{
    const QString folder = QDir::toNativeSeparators(Taskmill_FileQuestionOf(job).Folder);
    if (!facts.IsInputReadable)
        return u"waits until its input can be read"_s;
    if (facts.IsInputChanged && job.JobType.HoldsChangedInput)
        return u"held: its input has changed since it was submitted"_s;
    if (!facts.IsFolderWritable)
        return u"waits until it can write into %1"_s.arg(folder);
    if (facts.FreeMB && *facts.FreeMB < job.JobType.LeastFreeMB)
        return u"waits for %1 MB of free space, %2 MB free in %3"_s.arg(job.JobType.LeastFreeMB)
            .arg(*facts.FreeMB)
            .arg(folder);
    return {};
}

QString Taskmill_HashOfInput(const QString &path)
{
    // A pipe would be waited for, a device may never end.
    if (path.isEmpty() || path.contains(QChar::Null) || !QFileInfo{path}.isFile())
        return {};
    QFile file{path};
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    QCryptographicHash hash{QCryptographicHash::Sha256};
    qint64 left = longestHashed;
    std::array<char, 64UL * 1024> piece;
    while (left > 0) {
        const qint64 size = file.read(piece.data(), std::min<qint64>(left, std::ssize(piece)));
        if (size <= 0)
            break;
        hash.addData(QByteArrayView{piece.data(), size});
        left -= size;
    }
    if (file.error() != QFileDevice::NoError)
        return {};
    if (left <= 0)
        hash.addData(QByteArray::number(file.size()));
    return QString::fromLatin1(hash.result().toHex());
}
