// SPDX-License-Identifier: MIT
#include "processes/runkeepers.h"

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<KilnUtil_RunKeepers> KilnUtil_RunKeepers::Make(const QString &, const QString &)
{
    return nullptr;
}

QString KilnUtil_RunKeepers::ProgramName()
{
    return {};
}

KilnUtil_StoredOutput KilnUtil_RunKeepers::OutputIn(const QString &, const QString &)
{
    return {};
}

void KilnUtil_RunKeepers::EndRunsAtOnce() {}

void KilnUtil_RunKeepers::SpareRuns() {}
