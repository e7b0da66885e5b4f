#include "service/requestmessage.h"

#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using Message = Taskmill_RequestMessage;

class TestRequestMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void TextKeysKeepOrTrimTheirValues();
    void NumbersOrNothing();
    void ConfirmationByWholePrefixes();
    void LinesInAnyForm();
    void IgnoredLinesChangeNothing();
    void OnlyTheLastLineAsksForAReply();
    void PlaceholderLines_data();
    void PlaceholderLines();
    void HundredThousandPlaceholders();
};

void TestRequestMessage::TextKeysKeepOrTrimTheirValues()
{
    const auto check = [](const QByteArray &key, QString Message::*field, bool trimmed = false) {
        const QByteArray value = " A = b\t";
        const QString expected = trimmed ? u"A = b"_s : u" A = b\t"_s;
        QCOMPARE(Message::Parse(key + value).*field, expected);
        QCOMPARE(Message::Parse(key.toUpper() + value).*field, expected);
        // The last line wins, an empty one too.
        QCOMPARE(Message::Parse(key + "first\n" + key + value).*field, expected);
        QCOMPARE(Message::Parse(key + "first\n" + key).*field, QString{});
        QCOMPARE(Message::Parse(' ' + key + value).*field, QString{});
    };
    check("clientname=", &Message::ClientName);
    check("clientappname=", &Message::ClientAppName);
    check("clientaddress=", &Message::ClientAddress);
    check("action=", &Message::Action);
    check("jobtypename=", &Message::JobTypeName);
    check("jobname=", &Message::JobName);
    check("jobqueue=", &Message::JobQueue);
    check("jobinputfile=", &Message::JobInputFile, true);
    check("jobinputfile2=", &Message::JobInputFile2, true);
    check("jobstandardinputfile=", &Message::JobStandardInputFile, true);
    check("joboutputfile=", &Message::JobOutputFile, true);
    check("jobstandardoutputfile=", &Message::JobStandardOutputFile, true);
    check("jobchkfile=", &Message::JobChkFile, true);
    check("jobchkfile1=", &Message::JobChkFile1, true);
}

void TestRequestMessage::NumbersOrNothing()
{
    const auto message = Message::Parse("clientport=27641\nclientuid=-1\nclientgid=12a");
    QCOMPARE(message.ClientPort, 27641);
    QCOMPARE(message.ClientUID, -1);
    QCOMPARE(message.ClientGID, 0);
    QCOMPARE(Message::Parse("clientport=99999999999").ClientPort, 0);

    const auto flag = [](const QByteArray &text) {
        return Message::Parse(text).ClientNotification;
    };
    QVERIFY(flag("clientnotification=-3") == true);
    QVERIFY(flag("clientnotification=0") == false);
    QVERIFY(!flag("") && !flag("clientnotification=yes"));
    QVERIFY(!flag("clientnotification=1\nclientnotification=x"));
}

void TestRequestMessage::ConfirmationByWholePrefixes()
{
    const auto confirmed = [](const QByteArray &text) {
        return Message::Parse(text).ConfirmAction;
    };
    QVERIFY(confirmed("confirmaction=yes, please") && confirmed("ConfirmAction=TRUE"));
    QVERIFY(confirmed("confirmaction=yes\nconfirmaction=maybe"));
    QVERIFY(!confirmed("") && !confirmed("confirmaction=maybe") && !confirmed("confirmaction= yes"));
    QVERIFY(!confirmed("confirmaction=yes\nconfirmaction=no"));
    QVERIFY(!confirmed("confirmaction=yes\nconfirmaction=false"));
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
    row("repeated: last value at first position", "@B=1\n@A=2\n@B=3", {{u"@B"_s, u"3"_s}, {u"@A"_s, u"2"_s}});
    row("empty value", "@A=", {{u"@A"_s, QString{}}});
    row("no equals sign", "@A", {});
    row("blank before it", " @A=1", {});
}

void TestRequestMessage::PlaceholderLines()
{
    QFETCH(const QByteArray, text);
    QTEST(Message::Parse(text).PlaceholderValues, "values");
}

void TestRequestMessage::LinesInAnyForm()
{
    const auto message = Message::Parse("action=M\xc3\xbcller\r\njobname=a\rb\r\r\njobqueue=Long\r");
    QCOMPARE(message.Action, u"M\u00fcller"_s);
    QCOMPARE(message.JobName, u"a\rb\r"_s);
    QCOMPARE(message.JobQueue, u"Long"_s);
    // What is no UTF-8 is Latin-1.
    QCOMPARE(Message::Parse("jobname=M\xfcller"_ba).JobName, u"M\u00fcller"_s);
}

void TestRequestMessage::IgnoredLinesChangeNothing()
{
    for (const QByteArray &line : {"jobsilent=yes"_ba, "jobclass=x"_ba, "submitjob"_ba, ""_ba,
                                   QByteArray(3, '\0'), "\xff\xfe\x01=@\x80"_ba, QByteArray(100'000, '=')}) {
        const auto message = Message::Parse(line + "\njobname=n\n" + line);
        QCOMPARE(message.JobName, u"n"_s);
        QVERIFY(message.Action.isEmpty() && message.PlaceholderValues.isEmpty());
        QVERIFY(!message.ConfirmAction && !message.ClientNotification);
    }
}

void TestRequestMessage::OnlyTheLastLineAsksForAReply()
{
    QVERIFY(Taskmill_AsksForReply("action=x\nclientreply=yes\n"));
    QVERIFY(Taskmill_AsksForReply("clientreply=yes\n"));
    for (const QByteArray &text : {"jobname=clientreply=yes\n"_ba, "action=x\nclientreply=yes"_ba,
                                   "clientreply=yes\naction=x\n"_ba, "yes\n"_ba, ""_ba})
        QVERIFY2(!Taskmill_AsksForReply(text), text.constData());
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

QTEST_GUILESS_MAIN(TestRequestMessage)
#include "test_requestmessage.moc"
