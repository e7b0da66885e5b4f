// SPDX-License-Identifier: MIT
#include "manager/jobtext.h"

#include "manager/listings.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QString Taskmill_JobText(const Taskmill_JobRecord &job, const QString &output)
{
    const QStringList names = Taskmill_Listings::JobFields().Headers();
    QStringList values = Taskmill_Listings::JobFields().Row(job);
    const qsizetype width = std::ranges::max(names, {}, &QString::size).size();
    QString text;
    for (qsizetype field = 0; field < names.size(); ++field) {
        // A value of several lines goes on below its first one.
        values[field].replace("\n"_L1, u'\n' + QString{width + 2, u' '});
        text += names[field].leftJustified(width) + u"  "_s + values[field] + u'\n';
    }
    text += u"\nstdout and stderr:\n"_s + output;
    return text.endsWith(u'\n') ? text : text + u'\n';
}
