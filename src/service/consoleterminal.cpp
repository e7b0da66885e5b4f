#include "service/consoleterminal.h"

#include <cstdio>

void Taskmill_WriteToStandardOutput(const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}
