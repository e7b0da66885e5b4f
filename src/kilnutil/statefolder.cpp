#include "kilnutil/statefolder.h"

#include "kilnutil/registry.h"
#include "wire/privatefolder.h"

#include <QtGlobal>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_StateFolder()
{
    // A relative one counts from the directory in which the program was started, which the registry knows.
    const QString preferences = KilnUtil_Registry::PreferencesDirPath();
    const std::string path = preferences.isEmpty() || qEnvironmentVariableIsEmpty("TASKMILLPREFS_DIR")
                                 ? Taskmill_StateFolderPath()
                                 : (preferences + u"/state"_s).toStdString();
    return Taskmill_MakePrivateFolder(path) ? QString::fromStdString(path) : QString{};
}
