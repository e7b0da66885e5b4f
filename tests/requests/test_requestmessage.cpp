// SPDX-License-Identifier: MIT
#include "requests/requestmessage.h"

#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

using Message = Taskmill_RequestMessage;

namespace {
/// What differs from an empty message, such as "Name[a b] Port[7] @A[1]"; line feeds are shown as "/".
QString Content(const Message &message)
{
    QString text;
    const auto add = [&text](const QString &name, const QString &value) {
        if (!value.isEmpty())
            text += u" %1[%2]"_s.arg(name, value);
    };
    const auto addNumber = [&add](const QString &name, qint32 value) {
        add(name, value == 0 ? QString{} : QString::number(value));
    };
    add(u"Client"_s, message.ClientName);
    add(u"App"_s, message.ClientAppName);
    add(u"Address"_s, message.ClientAddress);
    addNumber(u"Port"_s, message.ClientPort);
    addNumber(u"UID"_s, message.ClientUID);
    addNumber(u"GID"_s, message.ClientGID);
    if (message.ClientNotification)
        add(u"Notify"_s, *message.ClientNotification ? u"yes"_s : u"no"_s);
    add(u"Result"_s, message.ClientResult ? u"yes"_s : QString{});
    add(u"Action"_s, message.Action);
    add(u"Confirm"_s, message.ConfirmAction ? u"yes"_s : QString{});
    add(u"Type"_s, message.JobTypeName);
    add(u"Cores"_s, message.JobCores);
    add(u"Memory"_s, message.JobMemory);
    add(u"Name"_s, message.JobName);
    add(u"Queue"_s, message.JobQueue);
    add(u"Input"_s, message.JobInputFile);
    add(u"Input2"_s, message.JobInputFile2);
    add(u"StdIn"_s, message.JobStandardInputFile);
    add(u"Output"_s, message.JobOutputFile);
    add(u"StdOut"_s, message.JobStandardOutputFile);
    add(u"Chk"_s, message.JobChkFile);
    add(u"Chk1"_s, message.JobChkFile1);
    for (const auto &[name, value] : message.PlaceholderValues)
        text += u" %1[%2]"_s.arg(name, value);
    return text.mid(1).replace(u'\n', u'/');
}
} // namespace

class TestRequestMessage : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void LinesBecomeFields_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("content");
        const auto add = [](const char *name, const QByteArray &bytes, const QString &content) {
            QTest::newRow(name) << bytes << content;
        };
        add("client name", "clientname= a=B ", u"Client[ a=B ]"_s);
        add("client application", "ClientAppName= a ", u"App[ a ]"_s);
        add("client address", "clientaddress= a ", u"Address[ a ]"_s);
        add("client port", "clientport=27641", u"Port[27641]"_s);
        add("client user", "clientuid=-1", u"UID[-1]"_s);
        add("client group", "clientgid=12", u"GID[12]"_s);
        add("no number", "clientport=x\nclientuid=\nclientgid=12a", {});
        add("notification", "clientnotification=-3", u"Notify[yes]"_s);
        add("no notification", "clientnotification=0", u"Notify[no]"_s);
        add("a result, and none", "clientresult=yes\nCLIENTRESULT=no", u"Result[yes]"_s);
        add("unreadable notification", "clientnotification=1\nclientnotification=x", {});
        add("action", "ACTION= a ", u"Action[ a ]"_s);
        add("confirm yes", "confirmaction=yes, please", u"Confirm[yes]"_s);
        add("confirm true", "ConfirmAction=TRUE\nconfirmaction=maybe", u"Confirm[yes]"_s);
        add("confirm no", "confirmaction=yes\nconfirmaction=no", {});
        add("confirm false", "confirmaction=yes\nconfirmaction=False", {});
        add("silent and class are ignored", "jobsilent=yes\njobclass=a", {});
        add("job type", "jobtypename= a ", u"Type[ a ]"_s);
        add("cores and memory", "JobCores= 8 \njobmemory=16000", u"Cores[8] Memory[16000]"_s);
        add("job name", "jobname= a ", u"Name[ a ]"_s);
        add("queue", "jobqueue= a ", u"Queue[ a ]"_s);
        add("input file", "jobinputfile= a b\t", u"Input[a b]"_s);
        add("second input file", "jobinputfile2= a ", u"Input2[a]"_s);
        add("standard input file", "jobstandardinputfile= a ", u"StdIn[a]"_s);
        add("output file", "joboutputfile= a ", u"Output[a]"_s);
        add("standard output file", "jobstandardoutputfile= a ", u"StdOut[a]"_s);
        add("checkpoint file", "jobchkfile= a ", u"Chk[a]"_s);
        add("second checkpoint file", "jobchkfile1= a ", u"Chk1[a]"_s);

        add("the last line wins", "jobname=a\nJOBNAME=b", u"Name[b]"_s);
        add("the last line wins when it is empty", "jobname=a\njobname=\n jobname=b", {});
        // Values are trimmed before their line feeds are made.
        add("placeholders", "@Title =a_;_b\n@T= _;_x \n@C=a=b", u"@Title [a/b] @T[/x] @C[a=b]"_s);
        add("a repeated placeholder keeps its place", "@B=1\n@A=2\n@B=", u"@B[] @A[2]"_s);
        add("no placeholders", "@A\n @A=1\nA=1", {});
        add("line ends of Windows", "jobname=a\rb\r\r\njobqueue=Long\r", u"Name[a\rb\r] Queue[Long]"_s);
        add("UTF-8", "jobname=M\xc3\xbcller", u"Name[M\u00fcller]"_s);
        add("Latin-1 where it is no UTF-8", "jobname=M\xfcller", u"Name[M\u00fcller]"_s);
        add("nonsense", "\xff\xfe\x01=@\x80\n" + QByteArray(3, '\0') + "\njobname=n\n=", u"Name[n]"_s);
        add("nothing", {}, {});
    }

    void LinesBecomeFields()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, content);
        QCOMPARE(Content(Message::Parse(bytes)), content);
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
