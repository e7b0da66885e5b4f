#include "kilnutil/registry.h"
#include "support/testutil.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestRegistry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void SettingsStandBehindTheMajorVersion();
    void PreferencesDirFollowsTheEnvironment();

private:
    static void SetAppData();

    std::unique_ptr<QTemporaryDir> m_place;
};

void TestRegistry::init()
{
    m_place = std::make_unique<QTemporaryDir>();
    QVERIFY(m_place->isValid());
    KeepSettingsIn(m_place->path());
}

void TestRegistry::cleanup()
{
    qunsetenv("TASKMILLPREFS_DIR");
    m_place.reset();
}

void TestRegistry::SetAppData()
{
    KilnUtil_Registry::SetAppData(u"TaskmillGUI"_s, u"1"_s, u"1.1"_s, u"1.1.18"_s, u"TASKMILLPREFS_DIR"_s,
                                  u".taskmillprefs"_s);
}

void TestRegistry::SettingsStandBehindTheMajorVersion()
{
    SetAppData();
    const QStringList recent{u"/a b/p.mill"_s, u"/ü/q.mill"_s};
    QCOMPARE(KilnUtil_Registry::Value(u"/Files/Recent_Projects"_s, u"none"_s), QVariant{u"none"_s});
    KilnUtil_Registry::SetValue(u"/Files/Recent_Projects"_s, recent);
    QCOMPARE(KilnUtil_Registry::Value(u"/Files/Recent_Projects"_s).toStringList(), recent);

    const QSettings settings{QSettings::IniFormat, QSettings::UserScope, u"Kilnworks, Inc."_s, u"Taskmill"_s};
    QVERIFY(settings.fileName().startsWith(m_place->path()));
    QCOMPARE(settings.value(u"1/Files/Recent_Projects"_s).toStringList(), recent);
}

void TestRegistry::PreferencesDirFollowsTheEnvironment()
{
    SetAppData();
    QCOMPARE(KilnUtil_Registry::PreferencesDirPath(), QDir::home().absoluteFilePath(u".taskmillprefs"_s));
    const QString named = m_place->filePath(u"prefs"_s);
    qputenv("TASKMILLPREFS_DIR", named.toLocal8Bit());
    SetAppData();
    QCOMPARE(KilnUtil_Registry::PreferencesDirPath(), named);
    QVERIFY(!QDir{named}.exists());
}

QTEST_GUILESS_MAIN(TestRegistry)
#include "test_registry.moc"
