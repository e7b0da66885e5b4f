// SPDX-License-Identifier: MIT
#include "kilnutil/filethread.h"
#include "processes/process.h"
#include "support/testcase.h"
#include "viewer/tailsource.h"

#include <QSemaphore>

using namespace Qt::Literals::StringLiterals;

namespace {
using Change = KilnUtil_TextSource::Change;

/// No power of two, or the last lines would begin with one of them by chance.
constexpr qsizetype lineSize = 17;

QByteArray Line(int number)
{
    return QByteArray::number(number).rightJustified(lineSize - 1, '0') + '\n';
}

QByteArray Lines(int first, int last)
{
    QByteArray text;
    for (int number = first; number <= last; ++number)
        text += Line(number);
    return text;
}
} // namespace

class TestTailSource : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void ShowsTheLastLinesOfAFileThatGrows()
    {
        constexpr int many = 100'000;
        const QString path = WriteTestFile(Path(u"run.out"_s), Lines(1, many));
        int news = 0;
        KilnUtil_TailSource source{[&news] {
            ++news;
        }};
        source.ShowFile(path);
        QVERIFY(source.IsReading());
        QTRY_COMPARE(news, 1);
        QCOMPARE(source.Refresh(), Change::Replaced);
        QCOMPARE(source.WholeSize(), Lines(1, many).size());
        const QByteArray shown = source.Read(source.Begin(), source.End());
        QVERIFY(shown.size() <= KilnUtil_TailSource::Length);
        // Whole lines, up to the last.
        QCOMPARE(shown, Lines(many - static_cast<int>(shown.size() / lineSize) + 1, many));

        QFile file{path};
        QVERIFY(file.open(QIODevice::Append));
        file.write(Line(many + 1));
        file.flush();
        source.LookAgain();
        QTRY_COMPARE(news, 2);
        QCOMPARE(source.Refresh(), Change::Grown);
        QVERIFY(source.Read(source.Begin(), source.End()).endsWith(Lines(many, many + 1)));
        QCOMPARE(source.Refresh(), Change::None);

        // More than is kept is not read piece by piece, and a file that begins anew is another text.
        file.write(Lines(1, many));
        file.flush();
        source.LookAgain();
        QTRY_COMPARE(news, 3);
        QCOMPARE(source.Refresh(), Change::Replaced);
        QVERIFY(source.End() - source.Begin() <= KilnUtil_TailSource::Length);
        file.resize(0);
        file.write("anew\n");
        file.flush();
        source.LookAgain();
        QTRY_COMPARE(news, 4);
        QCOMPARE(source.Refresh(), Change::Replaced);
        QCOMPARE(source.Read(0, 100), "anew\n"_ba);
    }

    void ShowsOneSourceAfterTheOther()
    {
        int news = 0;
        KilnUtil_TailSource source{[&news] {
            ++news;
        }};
        source.ShowFile(Path(u"missing"_s));
        QTRY_COMPARE(news, 1);
        QVERIFY(source.IsMissing());
        source.ShowFile(WriteTestFile(Path(u"a"_s), "first\n"));
        // The news of what is not wanted any more do not come.
        source.ShowText([] { return QByteArray{"text\n"}; });
        QVERIFY(source.IsReading());
        QTRY_COMPARE(news, 2);
        QCOMPARE(source.Refresh(), Change::Replaced);
        QCOMPARE(source.Read(0, 100), "text\n"_ba);
        QVERIFY(!source.IsMissing());

        KilnUtil_Process process{nullptr, u"name"_s};
        process.SetProgramText(TestProgramPath());
        process.SetArgumentText(u"print printed"_s);
        const QSignalSpy finished{&process, &KilnUtil_Process::FinishedSignal};
        source.ShowProcess(&process);
        process.Start();
        QTRY_VERIFY(!finished.isEmpty());
        source.LookAgain();
        QCOMPARE(source.Refresh(), Change::Replaced);
        QCOMPARE(WithPlainLineEnds(source.Read(0, 100)), "printed\n"_ba);
        source.ShowNothing();
        QCOMPARE(source.Refresh(), Change::Replaced);
        QCOMPARE(source.End(), 0);
        QCOMPARE(news, 2);

        // Nor do they come when nothing is wanted.
        const auto begun = std::make_shared<QSemaphore>();
        const auto drive = std::make_shared<QSemaphore>();
        source.ShowText([begun, drive] {
            begun->release();
            drive->acquire();
            return QByteArray{"too late\n"};
        });
        begun->acquire();
        source.ShowNothing();
        drive->release();
        for (int turn = 0; turn < 1000; ++turn) {
            QThread::yieldCurrentThread();
            QCoreApplication::processEvents();
        }
        QCOMPARE(news, 2);
        QCOMPARE(source.End(), 0);
    }

    /// As a rule a file can be looked at at once, and the user sees no change of what is shown.
    void WaitsForAnAnswerButNotForLong()
    {
        const auto drive = std::make_shared<QSemaphore>();
        int delivered = 0;
        KilnUtil_FileThread thread{nullptr};
        const auto ask = [&] {
            thread.Run([drive, &delivered]() -> KilnUtil_FileThread::Deliver {
                drive->acquire();
                return [&delivered] {
                    ++delivered;
                };
            });
        };
        drive->release();
        ask();
        thread.Wait(std::chrono::minutes{1});
        QCOMPARE(delivered, 1);
        ask();
        thread.Wait(std::chrono::milliseconds{1});
        QVERIFY(thread.IsBusy());
        drive->release();
        QTRY_COMPARE(delivered, 2);
        QCoreApplication::processEvents();
        QCOMPARE(delivered, 2);
    }

    /// What hangs on a drive holds up neither the next file nor the end of the program.
    void DeliversTheNewestOnly()
    {
        const auto drive = std::make_shared<QSemaphore>();
        const auto begun = std::make_shared<QSemaphore>();
        QStringList delivered;
        {
            KilnUtil_FileThread thread{nullptr};
            const auto ask = [&](const QString &name, bool hangs) {
                thread.Run([&delivered, drive, begun, name, hangs]() -> KilnUtil_FileThread::Deliver {
                    begun->release();
                    if (hangs)
                        drive->acquire();
                    return [&delivered, name] {
                        delivered += name;
                    };
                });
            };
            ask(u"hangs"_s, true);
            begun->acquire();
            ask(u"passed over"_s, false);
            ask(u"newest"_s, false);
            drive->release();
            QTRY_COMPARE(delivered, QStringList{u"newest"_s});
            QVERIFY(!thread.IsBusy());
            ask(u"hangs at the end"_s, true);
            begun->acquire(2);
        }
        drive->release();
        QCoreApplication::processEvents();
        QCOMPARE(delivered, QStringList{u"newest"_s});
    }
};

QTEST_MAIN(TestTailSource)
#include "test_tailsource.moc"
