// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Paths of installed programs and file-name helpers.
class KilnUtil_FileSys
{
public:
    enum class FileType
    {
        VeltraOutput
    };

    /// Absolute directory of the executable, without trailing separator; set at start-up and empty before.
    inline static QString m_appDirPath;
    /// Directory of the help manual; set at start-up and empty before.
    inline static QString m_appHelpDirPath;

    /// The four places of installed programs, the environment first. Never empty and without trailing
    /// separator, but what they name may not exist. The directory of Gaussian is the first that holds one of
    /// its programs: of the list in GAUSS_EXEDIR, of the search path with links resolved, of the usual ones;
    /// else the first of the list, else the first usual one.
    [[nodiscard]] static QString VeltraExePath();
    [[nodiscard]] static QString GaussExePath();
    [[nodiscard]] static QString GaussWExePath();
    [[nodiscard]] static QString GaussExeDirPath();

    /// The path with the separators of this system and, with `quote`, in the form that stands for one
    /// argument on a command line; KilnUtil_String::MakeStringList is its inverse. An empty path stays empty.
    [[nodiscard]] static QString ConvertFilename(const QString &path, bool quote, bool unused);

    /// Full path of a file that does not exist yet: base.extension, then base1.extension, base2.extension and
    /// so on. Another process may take the name first: open it with QIODevice::NewOnly and ask again when
    /// that fails.
    [[nodiscard]] static QString NewFileName(const QString &base, const QString &extension,
                                             const QString &directory, bool unused);

    /// Replaces what follows the last dot of the file name, or appends the extension (given with or without
    /// its dot) when there is no dot. An empty extension removes the dot too.
    static void SetFileExtension(QString &path, const QString &extension);
    /// Variant 0 gives the older extension of that type, 1 the newer.
    static void SetFileExtension(QString &path, FileType type, int variant);
    /// Whether the suffix (without dot, in any case) is of the newer kind of Veltra files.
    [[nodiscard]] static bool IsNewVeltraFileExtension(const QString &suffix);

    /// The path itself; on systems whose programs have no ".exe", the path without it when only that is a
    /// file.
    [[nodiscard]] static QString ExistingExecutable(const QString &pathWithExe);
    /// The same text for two names of one file: without its case where this system does not look at it.
    [[nodiscard]] static QString ComparablePath(const QString &path);
    /// What a path leads to.
    struct Place
    {
        QString Path; ///< the same one whichever links and spellings lead there; not comparable by itself
        bool IsFile;  ///< and neither a folder nor a device
    };
    /// Nothing where nothing is. Asks the drive.
    [[nodiscard]] static std::optional<Place> PlaceOf(const QString &path);

private:
    [[nodiscard]] static QStringList UsualGaussDirs();
    [[nodiscard]] static QStringList GaussExeNames();
    [[nodiscard]] static QStringList GaussDirsOfSearchPath();
    [[nodiscard]] static bool HoldsGaussProgram(const QString &directory);
};
