// SPDX-License-Identifier: MIT
#include "kilnutil/filesource.h"
#include "support/testcase.h"
#include "viewer/memorysource.h"
#include "viewer/textrows.h"
#include "viewer/textsearch.h"

using namespace Qt::Literals::StringLiterals;

using Change = KilnUtil_TextSource::Change;
using Direction = KilnUtil_TextSearch::Direction;

namespace {
constexpr qsizetype mebibyte = 1024LL * 1024;

/// As if some time had passed: two quick writes may bear the same time.
void Age(const QString &path)
{
    QFile file{path};
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(10), QFileDevice::FileModificationTime));
}

void AppendTo(const QString &path, const QByteArray &bytes)
{
    QFile file{path};
    QVERIFY(file.open(QIODevice::Append));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// Where the word is found in any case, "+" behind it when the search went over an end.
QString Find(const QByteArray &content, const QString &word, Direction direction, qint64 from)
{
    using Result = KilnUtil_TextSearch::Result;
    KilnUtil_MemorySource source;
    source.Append(content);
    KilnUtil_TextSearch search{source, word, Qt::CaseInsensitive, direction, from};
    Result result = Result::Searching;
    for (int step = 0; result == Result::Searching && step < 20; ++step)
        result = search.Step();
    if (result != Result::Found)
        return u"nowhere"_s;
    const QByteArray found = content.mid(search.FoundBegin(), search.FoundEnd() - search.FoundBegin());
    if (KilnUtil_TextRows::Text(found).compare(word, Qt::CaseInsensitive) != 0)
        return u"something else"_s;
    return QString::number(search.FoundBegin()) + (search.HasWrapped() ? u"+"_s : QString{});
}
} // namespace

class TestFileSource : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void ReportsWhatHasChanged()
    {
        const QString path = WriteTestFile(Path(u"run ü.out"_s), "one\ntwo\n");
        KilnUtil_FileSource source{path};
        QVERIFY(source.Open());
        const auto reports = [&source](Change change, const QByteArray &content, const QString &state) {
            QCOMPARE(source.Refresh(), change);
            QCOMPARE(source.Read(0, 1000), content);
            QCOMPARE(source.StateText(), state);
            QCOMPARE(source.Refresh(), Change::None);
        };
        const QString anew = u"The file has been written anew."_s;
        const QString gone = u"The file has been deleted or renamed."_s;
        Age(path);
        reports(Change::None, "one\ntwo\n", {});
        AppendTo(path, "three\n");
        reports(Change::Grown, "one\ntwo\nthree\n", {});
        WriteTestFile(path, "one\n");
        reports(Change::Replaced, "one\n", anew);
        WriteTestFile(path, "another run\n");
        reports(Change::Replaced, "another run\n", anew);
        WriteTestFile(path, "another RUN\n");
        Age(path);
        reports(Change::Replaced, "another RUN\n", anew);
        if (RunsUnderWine())
            return; // it keeps the name of a file that is open

        QVERIFY(QFile::rename(path, path + u".old"_s));
        reports(Change::None, "another RUN\n", gone);
        AppendTo(path + u".old"_s, "goes on\n");
        reports(Change::Grown, "another RUN\ngoes on\n", gone);
        QVERIFY(QDir{}.mkdir(path));
        reports(Change::None, "another RUN\ngoes on\n", gone);
        QVERIFY(QDir{}.rmdir(path));
        WriteTestFile(path, "another RUN\ngoes on\nand on\n");
        reports(Change::Replaced, "another RUN\ngoes on\nand on\n",
                u"The file has been replaced by a new one."_s);
    }

    void OpensOnlyRegularFiles()
    {
        QVERIFY(!KilnUtil_FileSource{Path(u"missing"_s)}.Open());
        QVERIFY(!KilnUtil_FileSource{Path()}.Open());
        if constexpr (isWindows)
            return;
        // Waits for ever when it is opened like a file.
        QCOMPARE(QProcess::execute(u"mkfifo"_s, {Path(u"pipe"_s)}), 0);
        QVERIFY(!KilnUtil_FileSource{Path(u"pipe"_s)}.Open());
    }

    void DividesIntoTheSameRowsFromEverywhere()
    {
        constexpr qint64 piece = KilnUtil_TextRows::PieceSize;
        const QByteArray line = QByteArray(piece - 1, 'x') + '\n';
        for (const QByteArray &content :
             {QByteArray{"one\n\ntwo\r\nthree"}, line + line + "abc\n" + line,
              QByteArray(3 * piece, 'y') + '\n' + QByteArray(2 * piece + 1, 'z') + "\n\n",
              "ab" + QByteArray{"€"}.repeated(20'000), QByteArray(50'000, '\x9F')}) {
            KilnUtil_MemorySource source;
            source.Append(content);
            const KilnUtil_TextRows divided{source};
            QByteArray joined;
            for (qint64 begin = 0; begin < source.End();) {
                const KilnUtil_TextRows::Row row = divided.RowAt(begin);
                QVERIFY(!row.bytes.isEmpty());
                QVERIFY(row.bytes.size() <= 2 * piece + 4);
                QVERIFY(!row.bytes.chopped(1).contains('\n'));
                QCOMPARE(row.bytes.isValidUtf8(), content.isValidUtf8());
                for (qint64 offset : {begin, begin + 1, begin + 2, row.End() - 1})
                    QCOMPARE(divided.RowBegin(qMin(offset, row.End() - 1)), begin);
                if (begin > 0)
                    QCOMPARE(divided.Down(divided.Up(begin, 1), 1), begin);
                joined += row.bytes;
                begin = row.End();
            }
            QVERIFY(joined == content);
        }
    }

    void FindsText()
    {
        constexpr auto forward = Direction::Forward;
        constexpr auto backward = Direction::Backward;
        const QByteArray poem = "Alpha beta\ngamma ALPHA\nalpha";
        QCOMPARE(Find(poem, u"alpha"_s, forward, 0), u"0"_s);
        QCOMPARE(Find(poem, u"alpha"_s, forward, 1), u"17"_s);
        QCOMPARE(Find(poem, u"alpha"_s, forward, 24), u"0+"_s);
        QCOMPARE(Find(poem, u"alpha"_s, backward, 23), u"17"_s);
        QCOMPARE(Find(poem, u"alpha"_s, backward, 0), u"23+"_s);
        QCOMPARE(Find(poem, u"delta"_s, forward, 5), u"nowhere"_s);
        QCOMPARE(Find("\xEF\xBB\xBFΑ ÄÖ ende", u"äö"_s, forward, 0), u"6"_s);
        QCOMPARE(Find("Gr\xC4\xDF\n\nstra\xDF\x65 x", u"stRAße"_s, backward, 15), u"6"_s);

        const QString acrossTwoBlocks = QString::number(mebibyte - 2);
        const QByteArray padding(mebibyte - 2, '.');
        QCOMPARE(Find(padding + "Needle" + padding, u"needle"_s, forward, 0), acrossTwoBlocks);
        QCOMPARE(Find(padding + "Needle" + padding, u"needle"_s, backward, 2 * mebibyte), acrossTwoBlocks);
        QCOMPARE(Find(padding + "größe" + padding, u"GRÖßE"_s, forward, 0), acrossTwoBlocks);
        const QByteArray lines = "größe\n" + QByteArray{"a line of it\n"}.repeated(100'000);
        QCOMPARE(Find(lines, u"größe"_s, backward, 1'200'000), u"0"_s);
    }

private:
};

QTEST_GUILESS_MAIN(TestFileSource)
#include "test_filesource.moc"
