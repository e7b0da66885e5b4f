#include "service/requestmessage.h"

#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using Message = Taskmill_RequestMessage;
Q_DECLARE_METATYPE(QString Message::*)

class TestRequestMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void TextKeysKeepOrTrimTheirValues_data();
    void TextKeysKeepOrTrimTheirValues();
    void NumbersOrZero_data();
    void NumbersOrZero();
    void NotificationNeedsANumber_data();
    void NotificationNeedsANumber();
    void ConfirmationByWholePrefixes_data();
    void ConfirmationByWholePrefixes();
    void PlaceholderLines_data();
    void PlaceholderLines();
    void LinesEndWithOrWithoutCarriageReturn();
    void IgnoredLinesChangeNothing_data();
    void IgnoredLinesChangeNothing();
    void BytesThatAreNoUtf8AreLatin1();
    void HundredThousandPlaceholders();
    void OnlyTheLastLineAsksForAReply_data();
    void OnlyTheLastLineAsksForAReply();
};

void TestRequestMessage::TextKeysKeepOrTrimTheirValues_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString Message::*>("field");
    QTest::addColumn<bool>("trimmed");
    QTest::newRow("client name") << "clientname="_ba << &Message::ClientName << false;
    QTest::newRow("application") << "clientappname="_ba << &Message::ClientAppName << false;
    QTest::newRow("address") << "clientaddress="_ba << &Message::ClientAddress << false;
    QTest::newRow("action") << "action="_ba << &Message::Action << false;
    QTest::newRow("job type") << "jobtypename="_ba << &Message::JobTypeName << false;
    QTest::newRow("job name") << "jobname="_ba << &Message::JobName << false;
    QTest::newRow("queue") << "jobqueue="_ba << &Message::JobQueue << false;
    QTest::newRow("input") << "jobinputfile="_ba << &Message::JobInputFile << true;
    QTest::newRow("second input") << "jobinputfile2="_ba << &Message::JobInputFile2 << true;
    QTest::newRow("standard input") << "jobstandardinputfile="_ba << &Message::JobStandardInputFile << true;
    QTest::newRow("output") << "joboutputfile="_ba << &Message::JobOutputFile << true;
    QTest::newRow("standard output") << "jobstandardoutputfile="_ba << &Message::JobStandardOutputFile
                                     << true;
    QTest::newRow("checkpoint") << "jobchkfile="_ba << &Message::JobChkFile << true;
    QTest::newRow("second checkpoint") << "jobchkfile1="_ba << &Message::JobChkFile1 << true;
}

void TestRequestMessage::TextKeysKeepOrTrimTheirValues()
{
    QFETCH(const QByteArray, key);
    QFETCH(QString Message::*const, field);
    QFETCH(const bool, trimmed);
    const QByteArray value = " A = b\t";
    const QString expected = trimmed ? u"A = b"_s : u" A = b\t"_s;
    QCOMPARE(Message::Parse(key + value).*field, expected);
    QCOMPARE(Message::Parse(key.toUpper() + value).*field, expected);
    // The last line wins, an empty one too.
    QCOMPARE(Message::Parse(key + "first\n" + key + value).*field, expected);
    QCOMPARE(Message::Parse(key + "first\n" + key).*field, QString{});
    QCOMPARE(Message::Parse(' ' + key + value).*field, QString{});
}

void TestRequestMessage::NumbersOrZero_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("number") << "27641"_ba << 27641;
    QTest::newRow("negative") << "-1"_ba << -1;
    QTest::newRow("word") << "http"_ba << 0;
    QTest::newRow("number and more") << "12a"_ba << 0;
    QTest::newRow("too large") << "99999999999"_ba << 0;
    QTest::newRow("nothing") << ""_ba << 0;
}

void TestRequestMessage::NumbersOrZero()
{
    QFETCH(const QByteArray, text);
    QFETCH(const int, number);
    const auto message = Message::Parse("clientport=" + text + "\nclientuid=" + text + "\nclientgid=" + text);
    QCOMPARE(message.ClientPort, number);
    QCOMPARE(message.ClientUID, number);
    QCOMPARE(message.ClientGID, number);
}

void TestRequestMessage::NotificationNeedsANumber_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<std::optional<bool>>("flag");
    QTest::newRow("absent") << ""_ba << std::optional<bool>{};
    QTest::newRow("one") << "clientnotification=1"_ba << std::optional{true};
    QTest::newRow("negative") << "clientnotification=-3"_ba << std::optional{true};
    QTest::newRow("zero") << "clientnotification=0"_ba << std::optional{false};
    QTest::newRow("word") << "clientnotification=yes"_ba << std::optional<bool>{};
    QTest::newRow("empty") << "clientnotification="_ba << std::optional<bool>{};
    QTest::newRow("last value is none")
        << "clientnotification=1\nclientnotification=x"_ba << std::optional<bool>{};
}

void TestRequestMessage::NotificationNeedsANumber()
{
    QFETCH(const QByteArray, text);
    QFETCH(const std::optional<bool>, flag);
    QVERIFY(Message::Parse(text).ClientNotification == flag);
}

void TestRequestMessage::ConfirmationByWholePrefixes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("confirmed");
    QTest::newRow("absent") << ""_ba << false;
    QTest::newRow("yes") << "confirmaction=yes"_ba << true;
    QTest::newRow("true in any case") << "ConfirmAction=TRUE"_ba << true;
    QTest::newRow("more behind it") << "confirmaction=yes, please"_ba << true;
    QTest::newRow("no") << "confirmaction=yes\nconfirmaction=no"_ba << false;
    QTest::newRow("false") << "confirmaction=yes\nconfirmaction=false"_ba << false;
    QTest::newRow("other word leaves it on") << "confirmaction=yes\nconfirmaction=maybe"_ba << true;
    QTest::newRow("other word leaves it off") << "confirmaction=maybe"_ba << false;
    QTest::newRow("not trimmed") << "confirmaction= yes"_ba << false;
}

void TestRequestMessage::ConfirmationByWholePrefixes()
{
    QFETCH(const QByteArray, text);
    QTEST(Message::Parse(text).ConfirmAction, "confirmed");
}

void TestRequestMessage::PlaceholderLines_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Taskmill_PlaceholderValues>("values");
    const auto row = [](const char *name, const QByteArray &text, const Taskmill_PlaceholderValues &values) {
        QTest::newRow(name) << text << values;
    };
    row("lines in one value", "@TITLE=a_;_b", {{u"@TITLE"_s, u"a\nb"_s}});
    row("trimmed before the line feeds are made", "@T= _;_x ", {{u"@T"_s, u"\nx"_s}});
    row("up to the first equals sign", "@T=a=b", {{u"@T"_s, u"a=b"_s}});
    row("name as it stands", "@Title =a", {{u"@Title "_s, u"a"_s}});
    row("order of the lines", "@B=1\n@A=2", {{u"@B"_s, u"1"_s}, {u"@A"_s, u"2"_s}});
    row("repeated: last value at first position", "@B=1\n@A=2\n@B=3", {{u"@B"_s, u"3"_s}, {u"@A"_s, u"2"_s}});
    row("case makes two", "@a=1\n@A=2", {{u"@a"_s, u"1"_s}, {u"@A"_s, u"2"_s}});
    row("empty value", "@A=", {{u"@A"_s, QString{}}});
    row("no equals sign", "@A", {});
    row("blank before it", " @A=1", {});
}

void TestRequestMessage::PlaceholderLines()
{
    QFETCH(const QByteArray, text);
    QTEST(Message::Parse(text).PlaceholderValues, "values");
}

void TestRequestMessage::LinesEndWithOrWithoutCarriageReturn()
{
    const auto message = Message::Parse("action=test\r\njobname=a\rb\r\r\njobqueue=Long\r");
    QCOMPARE(message.Action, u"test"_s);
    QCOMPARE(message.JobName, u"a\rb\r"_s);
    QCOMPARE(message.JobQueue, u"Long"_s);
}

void TestRequestMessage::IgnoredLinesChangeNothing_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("silent") << "jobsilent=yes"_ba;
    QTest::newRow("class") << "jobclass=x"_ba;
    QTest::newRow("unknown key") << "jobpriority=1"_ba;
    QTest::newRow("no key") << "submitjob"_ba;
    QTest::newRow("empty") << ""_ba;
    QTest::newRow("zero bytes") << QByteArray(3, '\0');
    QTest::newRow("garbage") << "\xff\xfe\x01=@\x80"_ba;
    QTest::newRow("long line") << QByteArray(100'000, '=');
}

void TestRequestMessage::IgnoredLinesChangeNothing()
{
    QFETCH(const QByteArray, line);
    const auto message = Message::Parse(line + "\njobname=n\n" + line);
    QCOMPARE(message.JobName, u"n"_s);
    QVERIFY(message.Action.isEmpty() && message.PlaceholderValues.isEmpty());
    QVERIFY(!message.ConfirmAction && !message.ClientNotification);
}

void TestRequestMessage::BytesThatAreNoUtf8AreLatin1()
{
    QCOMPARE(Message::Parse("jobname=M\xc3\xbcller"_ba).JobName, u"M\u00fcller"_s);
    QCOMPARE(Message::Parse("jobname=M\xfcller"_ba).JobName, u"M\u00fcller"_s);
}

void TestRequestMessage::HundredThousandPlaceholders()
{
    constexpr int count = 100'000;
    QByteArray text;
    for (int number = 0; number < count; ++number)
        text += '@' + QByteArray::number(number) + "=\n";
    const auto message = Message::Parse(text + "@7=last");
    QCOMPARE(message.PlaceholderValues.size(), count);
    QCOMPARE(message.PlaceholderValues[7].second, u"last"_s);
}

void TestRequestMessage::OnlyTheLastLineAsksForAReply_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("asks");
    QTest::newRow("last line") << "action=x\nclientreply=yes\n"_ba << true;
    QTest::newRow("only line") << "clientreply=yes\n"_ba << true;
    QTest::newRow("end of another line") << "jobname=clientreply=yes\n"_ba << false;
    QTest::newRow("not ended") << "action=x\nclientreply=yes"_ba << false;
    QTest::newRow("not last") << "clientreply=yes\naction=x\n"_ba << false;
    QTest::newRow("shorter than the line") << "yes\n"_ba << false;
    QTest::newRow("nothing") << ""_ba << false;
}

void TestRequestMessage::OnlyTheLastLineAsksForAReply()
{
    QFETCH(const QByteArray, text);
    QTEST(Taskmill_AsksForReply(text), "asks");
}

QTEST_GUILESS_MAIN(TestRequestMessage)
#include "test_requestmessage.moc"
