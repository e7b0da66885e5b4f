// SPDX-License-Identifier: MIT
#include "slurm/sharedqueue.h"
#include "support/testcase.h"

#include <atomic>
#include <barrier>
#include <thread>

using namespace Qt::Literals::StringLiterals;

/// What the followers of one cluster know of its queue.
class TestSharedQueue : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void OneOfManyAsks();
    void OthersReadTheAnswer_data();
    void OthersReadTheAnswer();
};

void TestSharedQueue::OneOfManyAsks()
{
    constexpr int rounds = 300;
    constexpr int count = 8;
    const std::string folder = QFile::encodeName(Path()).toStdString();
    std::atomic<int> questions = 0;
    std::barrier together{count};
    const auto follow = [&] {
        for (int round = 0; round < rounds; ++round) {
            Taskmill_SharedQueue queue{folder, "round " + std::to_string(round)};
            together.arrive_and_wait();
            queue.Look([&questions] {
                ++questions;
                return Taskmill_CommandEnd{.output = {}, .errors = {}};
            });
        }
    };
    {
        std::vector<std::jthread> followers;
        for (int number = 0; number < count; ++number)
            followers.emplace_back(follow);
    }
    QCOMPARE(questions, rounds);
}

void TestSharedQueue::OthersReadTheAnswer_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("a listing") << 0 << QByteArray{"17 RUNNING\n18 PENDING\n"};
    QTest::newRow("no answer") << 1 << QByteArray{"the controller is away"};
}

void TestSharedQueue::OthersReadTheAnswer()
{
    QFETCH(int, exitCode);
    QFETCH(QByteArray, text);
    const std::string folder = QFile::encodeName(Path()).toStdString();
    const Taskmill_CommandEnd end{.code = exitCode,
                                  .output = exitCode == 0 ? text.toStdString() : std::string{},
                                  .errors = exitCode == 0 ? std::string{} : text.toStdString()};
    Taskmill_SharedQueue first{folder, "cluster"};
    Taskmill_SharedQueue second{folder, "cluster"};
    Taskmill_SharedQueue elsewhere{folder, "another cluster"};
    first.Look([&] { return end; });
    QVERIFY(first.HasAsked());

    const auto &listing = second.Look([] { return Taskmill_CommandEnd{.output = "asked", .errors = {}}; });
    QVERIFY(!second.HasAsked());
    QCOMPARE(listing.isAnswer, exitCode == 0);
    QVERIFY2(QByteArray::fromStdString(listing.text).contains(text), listing.text.c_str());
    elsewhere.Look([&] { return end; });
    QVERIFY(elsewhere.HasAsked());
}

QTEST_GUILESS_MAIN(TestSharedQueue)
#include "test_sharedqueue.moc"
