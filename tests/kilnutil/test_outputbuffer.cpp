#include "kilnutil/outputbuffer.h"
#include "kilnutil/textencoding.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
void AppendInPieces(KilnUtil_OutputBuffer &buffer, const QByteArray &bytes, qsizetype pieceSize)
{
    for (qsizetype at = 0; at < bytes.size(); at += pieceSize)
        buffer.Append(QByteArrayView{bytes}.sliced(at, qMin(pieceSize, bytes.size() - at)));
}

QByteArray NumberedLines(int count)
{
    QByteArray lines;
    for (int i = 0; i < count; ++i)
        lines += QByteArray::number(i) + '\n';
    return lines;
}

QByteArray Marker(qint64 dropped)
{
    return "\n[... " + QByteArray::number(dropped) + " bytes of output were left out here ...]\n";
}
} // namespace

class TestOutputBuffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void DropsTheMiddle();
    void CutsNoCharacterAtTheGap();
    void LetsReadersFollow();
    void SkipsDroppedBytesForALateReader();
    void GuessesTheEncoding_data();
    void GuessesTheEncoding();
};

void TestOutputBuffer::DropsTheMiddle()
{
    for (const qsizetype pieceSize : {1, 3, 100}) {
        KilnUtil_OutputBuffer buffer{10};
        AppendInPieces(buffer, "abcdefghij", pieceSize);
        QCOMPARE(buffer.Content(), "abcdefghij");
        buffer.Append("k");
        QCOMPARE(buffer.Content(), "abcde" + Marker(1) + "ghijk");
        AppendInPieces(buffer, "lmnopqrstuvwxyz", pieceSize);
        QCOMPARE(buffer.Content(), "abcde" + Marker(16) + "vwxyz");
        QCOMPARE(buffer.TotalSize(), 26);
    }
    // Also with pieces of the inner size, and all in one piece.
    constexpr qint64 half = 100'000;
    const QByteArray lines = NumberedLines(300'000);
    for (const qsizetype pieceSize : {1000, 64 * 1024, 100'000'000}) {
        KilnUtil_OutputBuffer buffer{2 * half};
        AppendInPieces(buffer, lines, pieceSize);
        QVERIFY(buffer.Content() == lines.first(half) + Marker(lines.size() - 2 * half) + lines.last(half));
    }
}

void TestOutputBuffer::CutsNoCharacterAtTheGap()
{
    for (const QString &character : {u"é"_s, u"€"_s, u"😀"_s}) {
        const QString begin = u"begin"_s + character.repeated(4);
        const QString end = character.repeated(4) + u"end"_s;
        const QByteArray bytes = begin.toUtf8() + QByteArray{1000, 'x'} + end.toUtf8();
        for (int capacity = 2; capacity <= 60; capacity += 2) {
            KilnUtil_OutputBuffer buffer{capacity};
            buffer.Append(bytes);
            const QString text = KilnUtil_TextEncoding::FromUtf8OrLatin1(buffer.Content());
            const QStringList parts = text.split(QString::fromLatin1(Marker(bytes.size() - capacity)));
            QCOMPARE(parts.size(), 2);
            QVERIFY2((begin + QString{50, u'x'}).startsWith(parts.first()), qPrintable(parts.first()));
            QVERIFY2((QString{50, u'x'} + end).endsWith(parts.last()), qPrintable(parts.last()));
            // Whole characters are kept.
            const qsizetype missing = capacity - (parts.first() + parts.last()).toUtf8().size();
            QVERIFY(missing >= 0 && missing < 2 * character.toUtf8().size());
        }
    }
}

void TestOutputBuffer::LetsReadersFollow()
{
    KilnUtil_OutputBuffer buffer{200'000};
    const QByteArray lines = NumberedLines(100'000);
    QByteArray seen;
    qint64 offset = 0;
    for (qsizetype at = 0; at < lines.size(); at += 777) {
        buffer.Append(QByteArrayView{lines}.sliced(at, qMin<qsizetype>(777, lines.size() - at)));
        seen += buffer.ReadFrom(offset);
    }
    QVERIFY(seen == lines);
    QCOMPARE(offset, buffer.TotalSize());
    QVERIFY(buffer.ReadFrom(offset).isEmpty());
}

void TestOutputBuffer::SkipsDroppedBytesForALateReader()
{
    constexpr qint64 half = 100'000;
    KilnUtil_OutputBuffer buffer{2 * half};
    const QByteArray lines = NumberedLines(300'000);
    buffer.Append(QByteArrayView{lines}.first(10));
    qint64 offset = 0;
    QCOMPARE(buffer.ReadFrom(offset), lines.first(10));
    buffer.Append(QByteArrayView{lines}.sliced(10));

    const QByteArray rest = buffer.ReadFrom(offset);
    QVERIFY(rest.startsWith(lines.sliced(10, half - 10)));
    QVERIFY(lines.endsWith(rest.sliced(half - 10)));
    QVERIFY(rest.size() >= 2 * half - 10);
    QCOMPARE(offset, lines.size());
}

void TestOutputBuffer::GuessesTheEncoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("UTF-8") << QByteArray{"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"} << u"é € 😀"_s;
    QTest::newRow("Latin-1") << QByteArray{"K\xF6ln"} << u"Köln"_s;
    QTest::newRow("Latin-1 letter at the end") << QByteArray{"caf\xE9"} << u"café"_s;
    QTest::newRow("one invalid byte makes all Latin-1") << QByteArray{"\xC3\xA9\xFF"} << u"Ã©ÿ"_s;
    QTest::newRow("overlong form is invalid") << QByteArray{"\xC0\xAF"} << u"À¯"_s;
}

void TestOutputBuffer::GuessesTheEncoding()
{
    QFETCH(QByteArray, bytes);
    QTEST(KilnUtil_TextEncoding::FromUtf8OrLatin1(bytes), "text");
}

QTEST_GUILESS_MAIN(TestOutputBuffer)
#include "test_outputbuffer.moc"
