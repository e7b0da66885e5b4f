// SPDX-License-Identifier: MIT
#include "processes/outputbuffer.h"

#include "kilnutil/textencoding.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

class TestOutputBuffer : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void NoCharacterIsCutAtTheGap()
    {
        const QByteArray bytes = u"😀€é"_s.repeated(4).toUtf8();
        for (int capacity = 2; capacity < bytes.size(); capacity += 2) {
            KilnUtil_OutputBuffer buffer{capacity};
            buffer.Append(bytes);
            const QString text = KilnUtil_TextEncoding::FromUtf8OrLatin1(buffer.Content());
            const QStringList parts = text.split(
                u"\n[... %1 bytes of output were left out here ...]\n"_s.arg(bytes.size() - capacity));
            QCOMPARE(parts.size(), 2);
            QVERIFY2(bytes.startsWith(parts.first().toUtf8()), qPrintable(parts.first()));
            QVERIFY2(bytes.endsWith(parts.last().toUtf8()), qPrintable(parts.last()));
            QVERIFY(capacity - parts.join(QString{}).toUtf8().size() < 8);
        }
    }
};

QTEST_GUILESS_MAIN(TestOutputBuffer)
#include "test_outputbuffer.moc"
