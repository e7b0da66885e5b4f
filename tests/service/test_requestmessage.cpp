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

    void TextKeysKeepOrTrimTheirValues()
    {
        const auto check = [](const QByteArray &key, QString Message::*field, bool trimmed = false) {
            const QByteArray value = " A = b\t";
            // The last line wins, an empty one too.
            QCOMPARE(Message::Parse(key + "first\n" + key.toUpper() + value).*field,
                     trimmed ? u"A = b"_s : u" A = b\t"_s);
            QCOMPARE(Message::Parse(key + "first\n" + key + "\n " + key + value).*field, QString{});
        };
        // Each key has its own field, as the tests of submission show.
        check("jobname=", &Message::JobName);
        check("jobqueue=", &Message::JobQueue);
        check("jobinputfile=", &Message::JobInputFile, true);
        check("jobinputfile2=", &Message::JobInputFile2, true);
        check("jobchkfile1=", &Message::JobChkFile1, true);
    }

    void NumbersAndYesOrNo()
    {
        const auto message = Message::Parse("clientport=27641\nclientuid=-1\nclientgid=12a");
        QCOMPARE(message.ClientPort, 27641);
        QCOMPARE(message.ClientUID, -1);
        QCOMPARE(message.ClientGID, 0);
        QVERIFY(Message::Parse("clientnotification=-3").ClientNotification == true);
        QVERIFY(Message::Parse("clientnotification=0").ClientNotification == false);
        QVERIFY(!Message::Parse("clientnotification=1\nclientnotification=x").ClientNotification);
        QVERIFY(Message::Parse("confirmaction=yes, please").ConfirmAction);
        QVERIFY(Message::Parse("ConfirmAction=TRUE\nconfirmaction=maybe").ConfirmAction);
        QVERIFY(!Message::Parse("confirmaction=yes\nconfirmaction=no").ConfirmAction);
    }

    void WhatTheAnswerIsToHoldNeedsAnAnswer()
    {
        // To others the lines mean nothing.
        QVERIFY(Message::Parse("replydetails=yes\nclientreply=yes\n").DetailedReply);
        QVERIFY(!Message::Parse("replydetails=yes\nclientreply=no\n").DetailedReply);
        QVERIFY(Message::Parse("jobtypeexact=yes\nclientreply=yes\n").ExactJobType);
        QVERIFY(!Message::Parse("jobtypeexact=yes\n").ExactJobType);
        QVERIFY(!Message::Parse("jobtypeexact=no\nclientreply=yes\n").ExactJobType);
    }

    void PlaceholderLines()
    {
        const auto values = [](const QByteArray &text) {
            return Message::Parse(text).PlaceholderValues;
        };
        using Values = Taskmill_PlaceholderValues;
        // Values are trimmed before their line feeds are made.
        QCOMPARE(values("@Title =a_;_b\n@T= _;_x "),
                 (Values{{u"@Title "_s, u"a\nb"_s}, {u"@T"_s, u"\nx"_s}}));
        // The last value stands at the first place.
        QCOMPARE(values("@B=1\n@A=a=b\n@B="), (Values{{u"@B"_s, QString{}}, {u"@A"_s, u"a=b"_s}}));
        QCOMPARE(values("@A\n @A=1"), Values{});
    }

    void LinesInAnyForm()
    {
        const auto message = Message::Parse("action=M\xc3\xbcller\r\njobname=a\rb\r\r\njobqueue=Long\r");
        QCOMPARE(message.Action, u"M\u00fcller"_s);
        QCOMPARE(message.JobName, u"a\rb\r"_s);
        QCOMPARE(message.JobQueue, u"Long"_s);
        // What is no UTF-8 is Latin-1.
        QCOMPARE(Message::Parse("jobname=M\xfcller"_ba).JobName, u"M\u00fcller"_s);
        for (const QByteArray &line : {"jobsilent=yes"_ba, QByteArray(3, '\0'), "\xff\xfe\x01=@\x80"_ba})
            QCOMPARE(Message::Parse(line + "\njobname=n\n" + line).JobName, u"n"_s);
    }

    void OnlyTheLastLineAsksForAReply()
    {
        QVERIFY(Taskmill_AsksForReply("action=x\nclientreply=yes\n"));
        QVERIFY(Taskmill_AsksForReply("clientreply=yes\n"));
        QVERIFY(!Taskmill_AsksForReply("jobname=clientreply=yes\n"));
        QVERIFY(!Taskmill_AsksForReply("clientreply=yes\naction=x\n"));
        QVERIFY(!Taskmill_AsksForReply("yes\n"));
    }
};

QTEST_GUILESS_MAIN(TestRequestMessage)
#include "test_requestmessage.moc"
