// SPDX-License-Identifier: MIT
#include "kilnutil/loginstart.h"

KilnUtil_LoginStart::KilnUtil_LoginStart(const QString &name, const QString &program,
                                         const QStringList &arguments)
    : m_name{name}
    , m_program{program}
    , m_arguments{arguments}
{
}
