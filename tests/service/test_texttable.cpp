#include "service/texttable.h"
#include "service/timetext.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestTextTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ColumnsAreAligned()
    {
        // Each entry keeps to its line.
        QCOMPARE(
            Taskmill_TextTable({u"Job ID"_s, u"Name"_s, u"水"_s}, {{u"1"_s, u"a\r\nb\tc\u001b[0m\u2028d"_s},
                                                                   {u"1234567"_s, u"Gro\u0308ße"_s, u""_s},
                                                                   {u"3"_s, u"水"_s, u"abc"_s, u"beyond"_s}}),
            u"Job ID   Name         水 \n"
            "-------------------------\n"
            "1        a b c [0m d     \n"
            "1234567  Gro\u0308ße           \n"
            "3        水           abc\n"_s);
    }

    void TimesBeginWithTheMonth()
    {
        QCOMPARE(Taskmill_TimeText(QDateTime{{2024, 3, 9}, {17, 5, 6}}), u"03-09-2024 17:05:06"_s);
        QCOMPARE(Taskmill_TimeText({}), QString{});
    }
};

QTEST_GUILESS_MAIN(TestTextTable)
#include "test_texttable.moc"
