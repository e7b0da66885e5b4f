#include "ctl/output.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {
void Write(std::FILE *stream, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    // Who reads through a pipe sees each result when it is known.
    std::fflush(stream);
}
} // namespace

void Taskmill_PrintLine(const QString &text)
{
    Write(stdout, (text + u'\n').toLocal8Bit());
}

void Taskmill_PrintJson(const QJsonObject &object)
{
    Write(stdout, QJsonDocument{object}.toJson(QJsonDocument::Compact) + '\n');
}

void Taskmill_PrintJson(const QJsonArray &list)
{
    Write(stdout, QJsonDocument{list}.toJson());
}

void Taskmill_PrintError(const QString &text)
{
    Write(stderr, (u"taskmillctl: "_s + text + u'\n').toLocal8Bit());
}
