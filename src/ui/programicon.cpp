// SPDX-License-Identifier: MIT
#include "ui/programicon.h"

#include <QIcon>

using namespace Qt::Literals::StringLiterals;

QIcon Taskmill_ProgramIcon()
{
    // A static library's resources are not there by themselves.
    Q_INIT_RESOURCE(taskmill);
    QIcon icon{u":/taskmillgui"_s};
    for (const int size : {16, 22, 24, 32, 48, 64, 128})
        icon.addFile(u":/icons/taskmill-%1.png"_s.arg(size), {size, size});
    return icon;
}
