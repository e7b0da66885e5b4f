#include "kilnutil/computerdata.h"
#include "kilnutil/filesys.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/outputbuffer.h"
#include "kilnutil/stringutil.h"
#include "kilnutil/textencoding.h"
#include "support/testutil.h"
#include "wire/utf8.h"

#include <QtTest>

#include <limits>

using namespace Qt::Literals::StringLiterals;
using namespace std::literals;

namespace {
QByteArray Marker(qint64 dropped)
{
    return "\n[... " + QByteArray::number(dropped) + " bytes of output were left out here ...]\n";
}
} // namespace

/// Texts, variables of the environment, numbers and captured output.
class TestBasics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ArgumentTextIsSplitAsItIsQuoted()
    {
        const auto split = [](const QString &text) {
            return KilnUtil_String::MakeStringList(text, true).join(u'|');
        };
        QCOMPARE(KilnUtil_String::MakeStringList(u" \t "_s, true), QStringList{});
        QCOMPARE(split(u"-inp=\"a b\" \"\" c"_s), u"-inp=a b||c"_s);
        QCOMPARE(split(u"C:\\w\\x \\\\host\\"_s), u"C:\\w\\x|\\\\host\\"_s);
        QCOMPARE(split(u"\"a b\\\\\" \"c\\\\\\\" d\" e\\\"f"_s), u"a b\\|c\\\" d|e\"f"_s);
        QCOMPARE(split(u"'a b' \"never closed"_s), u"'a|b'|never closed"_s);
        QCOMPARE(KilnUtil_FileSys::ConvertFilename(u"a b\"c\\"_s, true, false), u"\"a b\\\"c\\\\\""_s);
    }

    void PortsOfTheEnvironmentAreChecked()
    {
        const auto ports = [](const QByteArray &gui, const QByteArray &console) {
            qputenv("TASKMILL_GUI_PORT", gui);
            qputenv("TASKMILL_CONSOLE_PORT", console);
            return QList{int{KilnUtil_ComputerData::TaskmillGUIPortNumber()},
                         int{KilnUtil_ComputerData::TaskmillConsolePortNumber()}};
        };
        QCOMPARE(ports("40001", "65535"), (QList{40001, 65535}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"TASKMILL_GUI_PORT.*ignored.*65536"_s});
        QCOMPARE(ports("65536", "0"), (QList{27641, 27642}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"TASKMILL_CONSOLE_PORT.*ignored.*27642"_s});
        QCOMPARE(ports("27642", {}), (QList{27641, 27642}));
    }

    void LargestNumberIsNoTrap()
    {
        KilnUtil_IDManager manager{std::numeric_limits<int>::max() - 1, 1};
        QCOMPARE(manager.NewID(), std::numeric_limits<int>::max());
        QCOMPARE(manager.NewID(), 1);
    }

    void NoCharacterIsCutAtTheGap()
    {
        const QByteArray bytes = u"😀€é"_s.repeated(4).toUtf8();
        for (int capacity = 2; capacity < bytes.size(); capacity += 2) {
            KilnUtil_OutputBuffer buffer{capacity};
            buffer.Append(bytes);
            const QString text = KilnUtil_TextEncoding::FromUtf8OrLatin1(buffer.Content());
            const QStringList parts = text.split(QString::fromLatin1(Marker(bytes.size() - capacity)));
            QCOMPARE(parts.size(), 2);
            QVERIFY2(bytes.startsWith(parts.first().toUtf8()), qPrintable(parts.first()));
            QVERIFY2(bytes.endsWith(parts.last().toUtf8()), qPrintable(parts.last()));
            QVERIFY(capacity - parts.join(QString{}).toUtf8().size() < 8);
        }
        QCOMPARE(Taskmill_Utf8FromAny("\xC4\xFF\xA0"), "\u00C4\u00FF\u00A0"s);
        QCOMPARE(Taskmill_Utf8FromAny("h\u00F6\u20AC\U0001F600"), "h\u00F6\u20AC\U0001F600"s);
        QCOMPARE(KilnUtil_TextEncoding::FromUtf8OrLatin1("caf\xE9"), u"café"_s);
        QCOMPARE(KilnUtil_TextEncoding::FromUtf8OrLatin1("\xC3\xA9\xFF \xC0\xAF"), u"Ã©ÿ À¯"_s);
    }
};

QTEST_GUILESS_MAIN(TestBasics)
#include "test_basics.moc"
