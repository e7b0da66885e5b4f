#include "service/texttable.h"
#include "service/timetext.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestTextTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void WidthIsThatOfTheTerminal_data();
    void WidthIsThatOfTheTerminal();
    void ColumnsAreAligned();
    void CellsStayInTheirLine();
    void OddRowsAndTables();
    void TimesBeginWithTheMonth();
};

void TestTextTable::WidthIsThatOfTheTerminal_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("width");
    const auto row = [](const char *name, const QString &text, qsizetype width) {
        QTest::newRow(name) << text << width;
    };
    row("empty", u""_s, 0);
    row("composed", u"Größe"_s, 5);
    row("combining character", u"Gro\u0308ße"_s, 5);
    row("ideographs", u"水分子"_s, 6);
    row("Hangul in pieces", u"\u1112\u1161\u11ab"_s, 2);
    row("fullwidth beside halfwidth", u"\uFF01\uFF61"_s, 3);
    row("beyond the first plane", u"\U00020000\U0001D400"_s, 3);
    row("joiner", u"a\u200Db"_s, 2);
}

void TestTextTable::WidthIsThatOfTheTerminal()
{
    QFETCH(const QString, text);
    QTEST(Taskmill_TextWidth(text), "width");
}

void TestTextTable::ColumnsAreAligned()
{
    const QString table =
        Taskmill_TextTable({u"Job ID"_s, u"Name"_s, u"水"_s}, {{u"1"_s, u"water.mop"_s, u"x"_s},
                                                               {u"1234567"_s, u"Gro\u0308ße"_s, u""_s},
                                                               {u"3"_s, u"水"_s, u"abc"_s}});
    QCOMPARE(table, u"Job ID   Name       水 \n"
                    "-----------------------\n"
                    "1        water.mop  x  \n"
                    "1234567  Gro\u0308ße         \n"
                    "3        水         abc\n"_s);
}

void TestTextTable::CellsStayInTheirLine()
{
    const QString table = Taskmill_TextTable({u"A\nB"_s}, {{u"a\r\nb\tc\u001b[0m\u2028d"_s}});
    QCOMPARE(table, u"A B        \n-----------\na b c [0m d\n"_s);
}

void TestTextTable::OddRowsAndTables()
{
    QCOMPARE(Taskmill_TextTable({u"A"_s, u"B"_s}, {{}, {u"1"_s, u"2"_s, u"beyond"_s}}),
             u"A  B\n----\n    \n1  2\n"_s);
    QCOMPARE(Taskmill_TextTable({u"A"_s}, {}), u"A\n-\n"_s);
}

void TestTextTable::TimesBeginWithTheMonth()
{
    QCOMPARE(Taskmill_TimeText(QDateTime{{2024, 3, 9}, {17, 5, 6}}), u"03-09-2024 17:05:06"_s);
    QCOMPARE(Taskmill_TimeText({}), QString{});
}

QTEST_GUILESS_MAIN(TestTextTable)
#include "test_texttable.moc"
