#include "kilnutil/filesys.h"
#include "kilnutil/stringutil.h"

#include <QDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestStringUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ArgumentTextIsSplit_data();
    void ArgumentTextIsSplit();
    void PlainSplitKnowsNoQuotes();
    void HardNamesSurviveTheCommandLine_data();
    void HardNamesSurviveTheCommandLine();
    void OnlyNamesThatNeedItAreQuoted();
};

void TestStringUtil::ArgumentTextIsSplit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("blanks and tabs only") << u" \t  "_s << QStringList{};
    QTest::newRow("quoted blank") << uR"(-inp="a b" c)"_s << QStringList{u"-inp=a b"_s, u"c"_s};
    QTest::newRow("empty argument") << uR"(a "" b)"_s << QStringList{u"a"_s, QString{u""_s}, u"b"_s};
    QTest::newRow("plain backslashes")
        << uR"(C:\w\x \\host\)"_s << QStringList{uR"(C:\w\x)"_s, uR"(\\host\)"_s};
    QTest::newRow("escaped quote") << uR"(a\"b c)"_s << QStringList{uR"(a"b)"_s, u"c"_s};
    QTest::newRow("even backslashes before a quote")
        << uR"("a b\\" c)"_s << QStringList{uR"(a b\)"_s, u"c"_s};
    QTest::newRow("odd backslashes before a quote") << uR"("a\\\" b")"_s << QStringList{uR"(a\" b)"_s};
    QTest::newRow("quote never closed") << uR"(a "b c)"_s << QStringList{u"a"_s, u"b c"_s};
    QTest::newRow("single quotes mean nothing") << u"'a b'"_s << QStringList{u"'a"_s, u"b'"_s};
}

void TestStringUtil::ArgumentTextIsSplit()
{
    QFETCH(const QString, text);
    QTEST(KilnUtil_String::MakeStringList(text, true), "expected");
}

void TestStringUtil::PlainSplitKnowsNoQuotes()
{
    const QStringList expected{uR"("a)"_s, uR"(b")"_s};
    QCOMPARE(KilnUtil_String::MakeStringList(uR"( "a  b" )"_s, false), expected);
}

void TestStringUtil::HardNamesSurviveTheCommandLine_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name :
         {u"plain.gjf"_s, u"a b"_s, u"a\tb"_s, uR"(a"b)"_s, uR"(")"_s, uR"( ")"_s, uR"(a\"b)"_s,
          uR"(a\\" b)"_s, uR"(a\b c\)"_s, uR"(a b\\)"_s, uR"(\)"_s, uR"(c\)"_s, u"it's"_s, u"$HOME *.gjf?"_s,
          u"`x` ; rm & | < > %PATH% ^ !"_s, u"Größe Ω 水.gjf"_s, u" "_s})
        QTest::addRow("%s", name.toUtf8().constData()) << name;
}

void TestStringUtil::HardNamesSurviveTheCommandLine()
{
    QFETCH(const QString, name);
    const QString expected = QDir::toNativeSeparators(name);
    const QString converted = KilnUtil_FileSys::ConvertFilename(name, true, false);
    const QStringList expectedList{u"-f"_s, expected, u"last"_s};
    QCOMPARE(KilnUtil_String::MakeStringList("-f "_L1 + converted + " last"_L1, true), expectedList);
    QCOMPARE(KilnUtil_FileSys::ConvertFilename(name, false, false), expected);
}

void TestStringUtil::OnlyNamesThatNeedItAreQuoted()
{
    QCOMPARE(KilnUtil_FileSys::ConvertFilename({}, true, false), QString{});
    QCOMPARE(KilnUtil_FileSys::ConvertFilename(uR"(it's\x)"_s, true, false), uR"(it's\x)"_s);
    QCOMPARE(KilnUtil_FileSys::ConvertFilename(uR"(a b"c\)"_s, true, false), uR"("a b\"c\\")"_s);
}

QTEST_GUILESS_MAIN(TestStringUtil)
#include "test_stringutil.moc"
