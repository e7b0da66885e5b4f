#include "kilnutil/filesource.h"
#include "kilnutil/memorysource.h"
#include "kilnutil/textrows.h"
#include "kilnutil/textsaver.h"
#include "kilnutil/textsearch.h"
#include "support/testutil.h"

#include <QtTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

using Change = KilnUtil_TextSource::Change;
using Direction = KilnUtil_TextSearch::Direction;
using Action = std::function<void(const QString &)>;
Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Direction)
Q_DECLARE_METATYPE(Action)

namespace {
constexpr qsizetype mebibyte = 1024LL * 1024;

KilnUtil_MemorySource SourceOf(const QByteArray &content)
{
    KilnUtil_MemorySource source;
    source.Append(content);
    return source;
}

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
} // namespace

class TestFileSource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_directory.reset(); }
    void TellsWhatHasChanged_data();
    void TellsWhatHasChanged();
    void StaysReadableWhenDeleted();
    void OpensOnlyRegularFiles();
    void DropsTheOldestTextInMemory();
    void DividesIntoTheSameRowsFromEverywhere_data();
    void DividesIntoTheSameRowsFromEverywhere();
    void ReadsEachLineInItsEncoding();
    void FindsText_data();
    void FindsText();
    void SavesWholeCopiesOnly();

private:
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void TestFileSource::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
}

void TestFileSource::TellsWhatHasChanged_data()
{
    QTest::addColumn<Action>("change");
    QTest::addColumn<Change>("told");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("state");

    const QString anew = u"The file has been written anew."_s;
    const QString replaced = u"The file has been replaced by a new one."_s;
    QTest::newRow("nothing") << Action{[](const QString &) {
    }} << Change::None << QByteArray{"one\ntwo\n"}
                             << QString{};
    QTest::newRow("only its time") << Action{&Age} << Change::None << QByteArray{"one\ntwo\n"} << QString{};
    QTest::newRow("more text") << Action{[](const QString &path) {
        AppendTo(path, "three\n");
    }} << Change::Grown << QByteArray{"one\ntwo\nthree\n"}
                               << QString{};
    QTest::newRow("truncated") << Action{[](const QString &path) {
        WriteTestFile(path, "one\n");
    }} << Change::Replaced << QByteArray{"one\n"}
                               << anew;
    QTest::newRow("emptied") << Action{[](const QString &path) {
        WriteTestFile(path, {});
    }} << Change::Replaced << QByteArray{}
                             << anew;
    QTest::newRow("written anew and already longer") << Action{[](const QString &path) {
        WriteTestFile(path, "another run\nof it\n");
    }} << Change::Replaced << QByteArray{"another run\nof it\n"}
                                                     << anew;
    QTest::newRow("written anew in the same size") << Action{[](const QString &path) {
        WriteTestFile(path, "ONE\nTWO\n");
        Age(path);
    }} << Change::Replaced << QByteArray{"ONE\nTWO\n"}
                                                   << anew;
    QTest::newRow("another file under its name") << Action{[](const QString &path) {
        QVERIFY(QFile::rename(path, path + u".1"_s));
        WriteTestFile(path, "one\ntwo\nthree\n");
    }} << Change::Replaced << QByteArray{"one\ntwo\nthree\n"}
                                                 << replaced;
    QTest::newRow("a directory under its name") << Action{[](const QString &path) {
        QVERIFY(QFile::remove(path));
        QVERIFY(QDir{}.mkdir(path));
    }} << Change::None << QByteArray{"one\ntwo\n"}
                                                << u"The file has been deleted or renamed."_s;
}

void TestFileSource::TellsWhatHasChanged()
{
    if (RunsUnderWine() && qstrcmp(QTest::currentDataTag(), "a directory under its name") == 0)
        QSKIP("Wine keeps the name of a file that is open");
    QFETCH(const Action, change);
    QFETCH(const Change, told);
    const QString path = WriteTestFile(Path(u"run ü.out"_s), "one\ntwo\n");
    KilnUtil_FileSource source{path};
    QVERIFY(source.Open());
    QCOMPARE(source.Refresh(), Change::None);

    change(path);
    QCOMPARE(source.Refresh(), told);
    QTEST(source.Read(0, 1000), "content");
    QTEST(source.StateText(), "state");
    QCOMPARE(source.Refresh(), Change::None);
}

void TestFileSource::StaysReadableWhenDeleted()
{
    const QString path = WriteTestFile(Path(u"run.out"_s), "before\n");
    KilnUtil_FileSource source{path};
    QVERIFY(source.Open());
    QVERIFY(QFile::rename(path, path + u".old"_s));
    QCOMPARE(source.Refresh(), Change::None);
    QCOMPARE(source.StateText(), u"The file has been deleted or renamed."_s);
    AppendTo(path + u".old"_s, "the writer goes on\n");
    QCOMPARE(source.Refresh(), Change::Grown);
    QCOMPARE(source.Read(0, 1000), "before\nthe writer goes on\n");

    QVERIFY(QFile::rename(path + u".old"_s, path));
    QCOMPARE(source.Refresh(), Change::None);
    QVERIFY(source.StateText().isEmpty());
}

void TestFileSource::OpensOnlyRegularFiles()
{
    QVERIFY(!KilnUtil_FileSource{Path(u"missing"_s)}.Open());
    QVERIFY(!KilnUtil_FileSource{m_directory->path()}.Open());
    if constexpr (isWindows)
        return;
    // Waits for ever when it is opened like a file.
    QCOMPARE(QProcess::execute(u"mkfifo"_s, {Path(u"pipe"_s)}), 0);
    QVERIFY(!KilnUtil_FileSource{Path(u"pipe"_s)}.Open());
}

void TestFileSource::DropsTheOldestTextInMemory()
{
    KilnUtil_MemorySource source{1000};
    for (int line = 0; line < 200; ++line)
        source.Append(QByteArray::number(line).rightJustified(9, '0') + '\n');
    QCOMPARE(source.Refresh(), Change::Grown);
    QCOMPARE(source.Refresh(), Change::None);
    QCOMPARE(source.End(), 2000);
    QVERIFY(source.Begin() >= 1000 && source.Begin() <= 1300);
    QCOMPARE(source.Read(source.Begin(), 10),
             QByteArray::number(source.Begin() / 10).rightJustified(9, '0') + '\n');
    QVERIFY(source.Read(source.Begin() - 1, 10).isEmpty());
    QVERIFY(source.StateText().contains(QLocale{}.toString(source.Begin())));

    // The rows begin where the text now begins.
    const KilnUtil_TextRows rows{source};
    QCOMPARE(rows.RowBegin(0), source.Begin());
    QCOMPARE(rows.Up(source.End(), 1000), source.Begin());
}

void TestFileSource::DividesIntoTheSameRowsFromEverywhere_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("rows"); // -1: not told
    constexpr qint64 piece = KilnUtil_TextRows::PieceSize;
    const QByteArray line = QByteArray(piece - 1, 'x') + '\n';

    QTest::newRow("no text") << QByteArray{} << 0;
    QTest::newRow("a text without line feed at its end") << QByteArray{"one\n\ntwo\r\nthree"} << 4;
    QTest::newRow("lines as long as a piece, on the grid") << line + line + line << 3;
    QTest::newRow("lines as long as a piece, beside the grid") << "abc\n" + line + line + "d\n" << 4;
    QTest::newRow("a line that is too long") << "a\n" + QByteArray(100'000, 'y') + "\nb\n" << -1;
    QTest::newRow("long lines one after the other")
        << QByteArray(3 * piece, 'y') + '\n' + QByteArray(2 * piece + 1, 'z') + "\n\n"
        << -1;
    QTest::newRow("a long line of characters of three bytes")
        << "ab" + QByteArray{"€"}.repeated(20'000) << -1;
    QTest::newRow("a long line of stray continuation bytes") << QByteArray(50'000, '\x9F') << -1;
}

void TestFileSource::DividesIntoTheSameRowsFromEverywhere()
{
    QFETCH(const QByteArray, content);
    QFETCH(const int, rows);
    KilnUtil_MemorySource source = SourceOf(content);
    const KilnUtil_TextRows divided{source};

    QByteArray joined;
    int count = 0;
    for (qint64 begin = 0; begin < source.End(); ++count) {
        const KilnUtil_TextRows::Row row = divided.RowAt(begin);
        QVERIFY(!row.bytes.isEmpty());
        QVERIFY(row.bytes.size() <= 2 * KilnUtil_TextRows::PieceSize + 4);
        QVERIFY(!row.bytes.chopped(1).contains('\n'));
        QCOMPARE(row.bytes.isValidUtf8(), content.isValidUtf8());
        for (qint64 offset : {begin, begin + 1, begin + 2, begin + row.bytes.size() / 2, row.End() - 1})
            QCOMPARE(divided.RowBegin(qMin(offset, row.End() - 1)), begin);
        if (begin > 0)
            QCOMPARE(divided.Down(divided.Up(begin, 1), 1), begin);
        joined += row.bytes;
        begin = row.End();
    }
    QVERIFY(joined == content);
    if (rows >= 0)
        QCOMPARE(count, rows);
    QCOMPARE(divided.Up(source.End(), count), 0);
}

void TestFileSource::ReadsEachLineInItsEncoding()
{
    QCOMPARE(KilnUtil_TextRows::Text("Grün\nGr\xFCn\nend"), u"Grün\nGrün\nend"_s);
}

void TestFileSource::FindsText_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("matchCase");
    QTest::addColumn<Direction>("direction");
    QTest::addColumn<qint64>("from");
    QTest::addColumn<QByteArray>("found"); // empty: nothing
    QTest::addColumn<qint64>("begin");
    QTest::addColumn<bool>("wrapped");

    const QByteArray poem = "Alpha beta\ngamma ALPHA\nalpha";
    QTest::newRow("first from the beginning")
        << poem << u"alpha"_s << false << Direction::Forward << 0LL << QByteArray{"Alpha"} << 0LL << false;
    QTest::newRow("case matters") << poem << u"alpha"_s << true << Direction::Forward << 0LL
                                  << QByteArray{"alpha"} << 23LL << false;
    QTest::newRow("next one") << poem << u"alpha"_s << false << Direction::Forward << 1LL
                              << QByteArray{"ALPHA"} << 17LL << false;
    QTest::newRow("over the end") << poem << u"alpha"_s << false << Direction::Forward << 24LL
                                  << QByteArray{"Alpha"} << 0LL << true;
    QTest::newRow("backwards") << poem << u"alpha"_s << false << Direction::Backward << 23LL
                               << QByteArray{"ALPHA"} << 17LL << false;
    QTest::newRow("backwards over the beginning")
        << poem << u"alpha"_s << false << Direction::Backward << 0LL << QByteArray{"alpha"} << 23LL << true;
    QTest::newRow("the only one again")
        << poem << u"gamma"_s << false << Direction::Forward << 12LL << QByteArray{"gamma"} << 11LL << true;
    QTest::newRow("nowhere") << poem << u"delta"_s << false << Direction::Forward << 5LL << QByteArray{}
                             << -1LL << true;
    QTest::newRow("in nothing") << QByteArray{} << u"x"_s << false << Direction::Backward << 0LL
                                << QByteArray{} << -1LL << true;

    const QByteArray padding(mebibyte - 2, '.');
    QTest::newRow("across two blocks")
        << padding + "Needle" + padding << u"needle"_s << false << Direction::Forward << 0LL
        << QByteArray{"Needle"} << mebibyte - 2 << false;
    QTest::newRow("backwards across two blocks")
        << padding + "Needle" + padding << u"needle"_s << false << Direction::Backward << 2 * mebibyte + 2
        << QByteArray{"Needle"} << mebibyte - 2 << false;
    QTest::newRow("other letters in any case")
        << QByteArray{"\xEF\xBB\xBFΑ ÄÖ ende"} << u"äö"_s << false << Direction::Forward << 0LL
        << QByteArray{"ÄÖ"} << 6LL << false;
    QTest::newRow("other letters in Latin-1")
        << QByteArray{"Gr\xC4\xDF\n\nstra\xDF\x65 x"} << u"stRAße"_s << false << Direction::Backward << 15LL
        << QByteArray{"stra\xDF\x65"} << 6LL << false;
    QTest::newRow("other letters across two blocks of one line")
        << padding + "größe" + padding << u"GRÖßE"_s << false << Direction::Forward << 0LL
        << QByteArray{"größe"} << mebibyte - 2 << false;
    QTest::newRow("other letters backwards across two blocks of lines")
        << "größe\n" + QByteArray{"a line of it\n"}.repeated(100'000) << u"größe"_s << true
        << Direction::Backward << 1'200'000LL << QByteArray{"größe"} << 0LL << false;
}

void TestFileSource::FindsText()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, text);
    QFETCH(const bool, matchCase);
    QFETCH(const Direction, direction);
    QFETCH(const qint64, from);
    QFETCH(const QByteArray, found);
    KilnUtil_MemorySource source = SourceOf(content);
    KilnUtil_TextSearch search{source, text, matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive, direction,
                               from};
    auto result = KilnUtil_TextSearch::Result::Searching;
    for (int step = 0; result == KilnUtil_TextSearch::Result::Searching && step < 20; ++step) {
        QVERIFY(search.Percent() >= 0 && search.Percent() <= 100);
        result = search.Step();
    }

    QCOMPARE(result,
             found.isEmpty() ? KilnUtil_TextSearch::Result::NotFound : KilnUtil_TextSearch::Result::Found);
    QTEST(search.FoundBegin(), "begin");
    QTEST(search.HasWrapped(), "wrapped");
    QCOMPARE(content.mid(search.FoundBegin(), search.FoundEnd() - search.FoundBegin()), found);
}

void TestFileSource::SavesWholeCopiesOnly()
{
    using Result = KilnUtil_TextSaver::Result;
    const QByteArray content = QByteArray{"0123456\n"}.repeated(400'000);
    const QString path = WriteTestFile(Path(u"run.out"_s), content);
    const QString target = WriteTestFile(Path(u"copy.out"_s), "older copy");
    KilnUtil_FileSource source{path};
    QVERIFY(source.Open());
    {
        KilnUtil_TextSaver abandoned{source, target};
        QCOMPARE(abandoned.Step(), Result::Saving);
    }
    QCOMPARE(ReadTestFile(target), "older copy");
    QCOMPARE(QDir{m_directory->path()}.entryList(QDir::Files).size(), 2);

    KilnUtil_TextSaver saver{source, target};
    Result result = Result::Saving;
    for (int step = 0; result == Result::Saving && step < 10; ++step)
        result = saver.Step();
    QCOMPARE(result, Result::Saved);
    QVERIFY(ReadTestFile(target) == content);

    KilnUtil_TextSaver cut{source, target};
    QCOMPARE(cut.Step(), Result::Saving);
    WriteTestFile(path, {});
    QCOMPARE(cut.Step(), Result::Failed);
    QVERIFY(!cut.ErrorText().isEmpty());
    KilnUtil_TextSaver nowhere{source, Path(u"missing/copy.out"_s)};
    QCOMPARE(nowhere.Step(), Result::Failed);
    QVERIFY(!nowhere.ErrorText().isEmpty());
    QVERIFY(ReadTestFile(target) == content);
}

QTEST_GUILESS_MAIN(TestFileSource)
#include "test_filesource.moc"
