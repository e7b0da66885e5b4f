// SPDX-License-Identifier: MIT
#include "engines/program.h"

#include "engines/samples.h"
#include "support/testcase.h"

#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_ProgramNeeds NeedsOf(const Sample &sample, const std::string &text)
{
    return Taskmill_ReadNeeds(text, sample.values["file"].toStdString());
}

QByteArray Text(const Taskmill_ProgramNeeds &needs)
{
    QByteArray text = QByteArray::fromStdString(needs.Program);
    if (needs.Cores)
        text += ", cores " + QByteArray::number(*needs.Cores);
    if (needs.MemoryMB)
        text += ", MB " + QByteArray::number(*needs.MemoryMB);
    if (!needs.Checkpoint.empty())
        text += ", checkpoint " + QByteArray::fromStdString(needs.Checkpoint);
    if (!needs.Scratch.empty())
        text += ", scratch " + QByteArray::fromStdString(needs.Scratch);
    for (const std::string &file : needs.Written) {
        if (file != needs.Checkpoint && file != needs.Scratch)
            text += ", writes " + QByteArray::fromStdString(file);
    }
    return text;
}
} // namespace

/// What inputs ask for.
class TestProgramNeeds : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void InputsSayWhatTheyNeed_data()
    {
        QTest::addColumn<Sample>("sample");
        for (const Sample &sample : ReadSamples(u"inputs.txt"_s))
            QTest::newRow(sample.name) << sample;
    }

    void InputsSayWhatTheyNeed()
    {
        QFETCH(const Sample, sample);
        for (const std::string &text : {sample.text, sample.WindowsText()})
            QCOMPARE(Text(NeedsOf(sample, text)), sample.values["says"]);
    }

    void BrokenInputsAreRead()
    {
        std::mt19937 random{7}; // NOLINT: the same ones each time
        for (const Sample &sample : ReadSamples(u"inputs.txt"_s)) {
            for (int round = 0; round < 100 && !sample.text.empty(); ++round) {
                std::string text = sample.text;
                text[random() % text.size()] = static_cast<char>(random());
                text.erase(random() % text.size(), random() % 6);
                text += std::string(round, '9');
                const auto needs = NeedsOf(sample, text);
                QVERIFY(needs.Cores.value_or(1) >= 1);
                QVERIFY(needs.MemoryMB.value_or(1) > 0);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestProgramNeeds)
#include "test_programneeds.moc"
