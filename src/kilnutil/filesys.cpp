// SPDX-License-Identifier: MIT
#include "kilnutil/filesys.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
const QStringList gaussWExeNames{u"g16w.exe"_s, u"g09w.exe"_s, u"gdvw.exe"_s};
constexpr std::array gaussUtilityNames{"cubegen"_L1, "cubman"_L1, "formchk"_L1, "freqchk"_L1};

QString WithoutDot(const QString &extension)
{
    return extension.startsWith(u'.') ? extension.sliced(1) : extension;
}

QString AbsoluteDir(const QString &path)
{
    QString directory = QFileInfo{QDir::fromNativeSeparators(path)}.absoluteFilePath();
    while (directory.size() > 1 && directory.endsWith(u'/'))
        directory.chop(1);
    return directory;
}

/// The first of the names that is a file in the directory, else the first name there.
QString FirstFile(const QString &directory, const QStringList &names)
{
    for (const QString &name : names) {
        QString path = directory + u'/' + name;
        if (QFileInfo{path}.isFile())
            return path;
    }
    return directory + u'/' + names.first();
}

/// Quoting rule of the Microsoft C run-time: backslashes count only where a double quote follows them.
QString Quoted(const QString &text)
{
    QString result = u"\""_s;
    qsizetype backslashes = 0;
    for (const QChar character : text) {
        if (character == u'"')
            result += QString{backslashes + 1, u'\\'};
        backslashes = character == u'\\' ? backslashes + 1 : 0;
        result += character;
    }
    return result + QString{backslashes, u'\\'} + u'"';
}
} // namespace

QString KilnUtil_FileSys::VeltraExePath()
{
    const QString fromEnvironment = qEnvironmentVariable("VELTRA_EXE");
    if (!fromEnvironment.isEmpty())
        return QFileInfo{QDir::fromNativeSeparators(fromEnvironment)}.absoluteFilePath();
    const QString fromPath = QStandardPaths::findExecutable(u"veltra"_s);
    return fromPath.isEmpty() ? ExistingExecutable(m_appDirPath + "/veltra.exe"_L1) : fromPath;
}

QString KilnUtil_FileSys::GaussExePath()
{
    return FirstFile(GaussExeDirPath(), GaussExeNames());
}

QString KilnUtil_FileSys::GaussWExePath()
{
    return FirstFile(GaussExeDirPath(), gaussWExeNames);
}

QString KilnUtil_FileSys::GaussExeDirPath()
{
    // As Gaussian itself reads it, a list: the directories of its scripts often stand before its own.
    QStringList listed =
        qEnvironmentVariable("GAUSS_EXEDIR").split(QDir::listSeparator(), Qt::SkipEmptyParts);
    std::ranges::transform(listed, listed.begin(), AbsoluteDir);
    const QStringList usual = UsualGaussDirs();
    for (const QStringList &directories : {listed, GaussDirsOfSearchPath(), usual}) {
        const auto holder = std::ranges::find_if(directories, HoldsGaussProgram);
        if (holder != directories.end())
            return *holder;
    }
    return listed.isEmpty() ? usual.first() : listed.first();
}

bool KilnUtil_FileSys::HoldsGaussProgram(const QString &directory)
{
    const auto isThere = [&directory](const QString &name) {
        return QFileInfo{directory + u'/' + name}.isFile();
    };
    return std::ranges::any_of(GaussExeNames() + gaussWExeNames, isThere) ||
           std::ranges::any_of(gaussUtilityNames, [&](QLatin1StringView name) {
               return isThere(name) || isThere(name + ".exe"_L1);
           });
}

QStringList KilnUtil_FileSys::GaussDirsOfSearchPath()
{
    QStringList directories;
    for (const QString &name : {u"g16"_s, u"g09"_s, u"gdv"_s}) {
        const QString found = QStandardPaths::findExecutable(name);
        // The rest of Gaussian stands beside the program, not beside a link to it.
        if (!found.isEmpty())
            directories += {QFileInfo{QFileInfo{found}.canonicalFilePath()}.absolutePath(),
                            QFileInfo{found}.absolutePath()};
    }
    return directories;
}

QString KilnUtil_FileSys::ConvertFilename(const QString &path, bool quote, bool /*unused*/)
{
    const QString native = QDir::toNativeSeparators(path);
    const bool needsQuotes = native.contains(u' ') || native.contains(u'\t') || native.contains(u'"');
    return quote && needsQuotes ? Quoted(native) : native;
}

QString KilnUtil_FileSys::NewFileName(const QString &base, const QString &extension, const QString &directory,
                                      bool /*unused*/)
{
    const QDir place{directory};
    const QString tail = u'.' + WithoutDot(extension);
    QString path = place.absoluteFilePath(base + tail);
    // A dangling link does not "exist" and yet takes the name.
    for (int number = 1; QFileInfo::exists(path) || QFileInfo{path}.isSymLink(); ++number)
        path = place.absoluteFilePath(base + QString::number(number) + tail);
    return path;
}

void KilnUtil_FileSys::SetFileExtension(QString &path, const QString &extension)
{
    path = QDir::fromNativeSeparators(path);
    const qsizetype dot = path.lastIndexOf(u'.');
    if (dot > path.lastIndexOf(u'/'))
        path.truncate(dot);
    const QString bare = WithoutDot(extension);
    if (!bare.isEmpty())
        path += u'.' + bare;
}

void KilnUtil_FileSys::SetFileExtension(QString &path, FileType type, int variant)
{
    switch (type) {
    case FileType::VeltraOutput:
        SetFileExtension(path, variant == 0 ? u"out"_s : u"vout"_s);
        break;
    }
}

bool KilnUtil_FileSys::IsNewVeltraFileExtension(const QString &suffix)
{
    return suffix.compare("vdat"_L1, Qt::CaseInsensitive) == 0;
}
