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

/// One for each file, whichever links lead to it. Empty for what many may write to: folders and devices.
QString OneSpelling(const QString &path)
{
    const QFileInfo file{path};
    if (file.exists())
        return file.isFile() ? KilnUtil_FileSys::ComparablePath(file.canonicalFilePath()) : QString{};
    const QString folder = QFileInfo{FolderOf(path)}.canonicalFilePath();
    return KilnUtil_FileSys::ComparablePath(folder.isEmpty() ? path : folder + u'/' + file.fileName());
}
} // namespace

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
    for (const QString &file : {job.OutputFilePath(), job.StandardOutputFile, job.CheckpointFile,
                                job.CheckpointFile2, job.InputNeeds.Checkpoint, job.InputNeeds.Scratch}) {
        if (!file.isEmpty())
            question.Written.append(QDir::cleanPath(QDir{home}.absoluteFilePath(file)));
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
        if (const QString one = OneSpelling(file); !one.isEmpty() && !facts.Written.contains(one))
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
