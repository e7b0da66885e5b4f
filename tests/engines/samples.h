// SPDX-License-Identifier: MIT
#pragma once

#include "support/testutil.h"

#include <QHash>
#include <QList>

#include <string>

/// An entry of a file of samples: "[name]", lines "key: value", and the text, each line behind a "|" or in
/// the file that the key "real" names.
struct Sample
{
    QByteArray name;
    QHash<QByteArray, QByteArray> values;
    std::string text;

    /// With the line ends of Windows.
    [[nodiscard]] std::string WindowsText() const
    {
        return QByteArray::fromStdString(text).replace("\n", "\r\n").toStdString();
    }
};

/// The samples of a file in tests/engines.
[[nodiscard]] inline QList<Sample> ReadSamples(const QString &fileName)
{
    QList<Sample> samples;
    for (const QByteArray &line : ReadTestFile(QStringLiteral(TASKMILL_SAMPLES) + fileName).split('\n')) {
        if (line.startsWith('['))
            samples.append({line.sliced(1).chopped(1), {}, {}});
        else if (line.startsWith('|'))
            samples.last().text += line.sliced(1).toStdString() + '\n';
        else if (const qsizetype colon = line.indexOf(':'); colon > 0 && !line.startsWith('#'))
            samples.last().values.insert(line.first(colon), line.sliced(colon + 1).trimmed());
    }
    for (Sample &sample : samples) {
        if (const QByteArray file = sample.values.value("real"); !file.isEmpty())
            sample.text = ReadTestFile(QStringLiteral(TASKMILL_SAMPLES "real/") + QString::fromLatin1(file))
                              .toStdString();
    }
    return samples;
}
