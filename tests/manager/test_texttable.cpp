// SPDX-License-Identifier: MIT
#include "manager/texttable.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

namespace {
const QStringList headers{u"Job ID"_s, u"Name"_s, u"Executable Path"_s, u"Command Line"_s, u"Submitted"_s};
const QStringList row{u"7"_s, u"water.mop"_s, u"/opt/mopac/bin/mopac-22.1"_s,
                      u"/opt/mopac/bin/mopac-22.1 \"/home/me/water.mop\""_s, u"11-22-2026 06:08:38"_s};
const QStringList leftOutFirst{u"Executable Path"_s, u"Command Line"_s};
} // namespace

class TestTextTable : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void LinesFitTheTerminal_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("secondLine");
        QTest::addColumn<QString>("below");
        QTest::newRow("any width")
            << 0
            << u"7       water.mop  /opt/mopac/bin/mopac-22.1  "
               "/opt/mopac/bin/mopac-22.1 \"/home/me/water.mop\"  11-22-2026 06:08:38"_s
            << QString{};
        QTest::newRow("long cells lose their middle")
            << 80 << u"7       water.mop  /opt/mop...pac-22.1  /opt/mop...ter.mop\"  11-22-2026 06:08:38"_s
            << QString{};
        QTest::newRow("columns are left out")
            << 60 << u"7       water.mop  /opt/mopa...ter.mop\"  11-22-2026 06:08:38"_s
            << u"(too wide to be shown here: Executable Path)"_s;
        QTest::newRow("hardly anything fits") << 20 << u"7       water.mop"_s << u"(3 column...wn here)"_s;
    }

    void LinesFitTheTerminal()
    {
        QFETCH(int, width);
        QFETCH(QString, secondLine);
        QFETCH(QString, below);
        const QStringList lines = Taskmill_FittedTextTable(headers, {row}, width, leftOutFirst).split(u'\n');
        QCOMPARE(lines.value(2).trimmed(), secondLine);
        QCOMPARE(lines.value(3), below);
        for (const QString &line : lines)
            QVERIFY(width == 0 || Taskmill_TextWidth(line) <= width);
    }

    void WideCharactersTakeTwoColumns()
    {
        QCOMPARE(Taskmill_TextWidth(u"aé ½"_s), 4);
        QCOMPARE(Taskmill_TextWidth(u"水ｱＡ한"_s), 7); // the second is halfwidth
        QCOMPARE(Taskmill_TextWidth(u"\U0001F600\U00020000"_s), 4);
        QCOMPARE(Taskmill_TextWidth(u"e\u0301\u200D"_s), 1);
        const QString name = u"分子動力学計算の結果.xyz"_s; // of 24 columns
        const auto fitted = [&](int width) {
            return Taskmill_FittedTextTable({u"N"_s, u"Name"_s}, {{u"1"_s, name}}, width, {})
                .split(u'\n', Qt::SkipEmptyParts);
        };
        for (int width = 1; width < 32; ++width) {
            for (const QString &line : fitted(width))
                QVERIFY2(Taskmill_TextWidth(line) <= width, qPrintable(line));
        }
        QCOMPARE(fitted(27)[2], u"1  "_s + name);
        QCOMPARE(fitted(20)[2], u"1  分子動...果.xyz"_s);
    }
};

QTEST_GUILESS_MAIN(TestTextTable)
#include "test_texttable.moc"
