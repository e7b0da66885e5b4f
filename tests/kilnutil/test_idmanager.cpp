#include "kilnutil/idmanager.h"

#include <QtTest>

#include <limits>

class TestIDManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void LargestNumberIsNoTrap();
};

void TestIDManager::LargestNumberIsNoTrap()
{
    QCOMPARE(KilnUtil_IDManager{}.NewID(), 1);
    KilnUtil_IDManager manager{std::numeric_limits<int>::max() - 1, 1};
    QCOMPARE(manager.NewID(), std::numeric_limits<int>::max());
    QCOMPARE(manager.NewID(), 1);
}

QTEST_GUILESS_MAIN(TestIDManager)
#include "test_idmanager.moc"
