#include "ui/jobtypeswidget.h"

#include "jobs/runmode.h"
#include "kilnutil/tablewidget.h"
#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/newjobtypewidget.h"
#include "ui/tabledriver.h"

#include <QFrame>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using Answer = KilnUtil_UserPrompt::WarnAnswer;

class TestJobTypesWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void HasNoPageInConsoleModes();
    void ShowsTheStoredJobTypes();
    void MissingExecutablesAreRed();
    void MenuIsAlwaysWhole();
    void RemovesAfterAQuestion();
    void NothingIsRemovedWithoutAJobType();
    void AddsWhatTheEditorHolds();
    void EditsTheJobTypeOfTheRow_data();
    void EditsTheJobTypeOfTheRow();
    void TellsWhatCannotBeStored();
    void AddsDefaults();

private:
    [[nodiscard]] QStringList Names() const { return ColumnTexts(*m_table, 1); }
    [[nodiscard]] QStringList StoredNames() const;
    QStringList Choose(const QString &entry) { return ChooseFromMenu(*m_table, QPoint{5, 150}, entry); }
    void SelectRow(const QString &name) const;

    std::unique_ptr<TestManager> m_manager;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<Taskmill_JobTypesWidget> m_tab;
    KilnUtil_TableWidget *m_table = nullptr;
};

void TestJobTypesWidget::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->NewProject();
    m_manager->AddJobType(u"water"_s, {}, u"Short"_s, u"Water Files (*.h2o)"_s);
    m_manager->AddJobType(u"acetone"_s, {});
    m_manager->AddJobType(u"benzene"_s, {});
    m_window = std::make_unique<QWidget>();
    m_window->resize(900, 200);
    m_tab = std::make_unique<Taskmill_JobTypesWidget>(m_window.get(), m_manager->jobTypes);
    m_tab->Frame()->resize(m_window->size());
    m_table = m_tab->Frame()->findChild<KilnUtil_TableWidget *>();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void TestJobTypesWidget::cleanup()
{
    m_tab.reset();
    m_window.reset();
    m_manager.reset();
}

QStringList TestJobTypesWidget::StoredNames() const
{
    QStringList names;
    for (const Taskmill_JobType &jobType : TestManager::Database().GetJobTypes())
        names += jobType.Name;
    return names;
}

void TestJobTypesWidget::SelectRow(const QString &name) const
{
    m_table->selectRow(static_cast<int>(Names().indexOf(name)));
}

void TestJobTypesWidget::HasNoPageInConsoleModes()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    Taskmill_JobTypesWidget tab{nullptr, m_manager->jobTypes};
    QVERIFY(!tab.Frame());
    tab.FillTable();
    tab.EditSlot();
    tab.RemoveSlot();
    tab.CellDoubleClickedSlot(0, 0);
    tab.ContextMenuSlot({});
    QVERIFY(tab.CurrentJobType().IsEmpty());
}

void TestJobTypesWidget::ShowsTheStoredJobTypes()
{
    QCOMPARE(Names(), (QStringList{u"water"_s, u"acetone"_s, u"benzene"_s}));
    // Behind the list's back, and by a signal of the list.
    Taskmill_JobType jobType = m_manager->jobTypes.GetAll()[1];
    jobType.EnvironmentVariables = u"A=1\nB=2"_s;
    QVERIFY(TestManager::Database().UpdateJobType(jobType.JobTypeID, jobType));
    m_manager->AddJobType(u"ethanol"_s, u"x"_s);
    QCOMPARE(Names().last(), u"ethanol"_s);
    QCOMPARE(m_table->model()->index(1, 7).data().toString(), u"A=1 ; B=2"_s);
    QCOMPARE(m_table->model()->index(0, 5).data().toString(), u"Water Files (*.h2o)"_s);
    QCOMPARE(m_table->model()->index(3, 8).data().toString(), u"@EXEFILE x"_s);
    m_manager->project.CloseProject();
    m_tab->FillTable();
    QCOMPARE(Names(), QStringList{});
}

void TestJobTypesWidget::MissingExecutablesAreRed()
{
    Taskmill_JobType jobType = m_manager->jobTypes.GetAll()[0];
    jobType.ExecutablePath = m_manager->InputFile(u"program"_s);
    QVERIFY(TestManager::Database().UpdateJobType(jobType.JobTypeID, jobType));
    m_tab->FillTable();
    const auto colour = [this] {
        return m_table->model()->index(0, 3).data(Qt::ForegroundRole).value<QColor>();
    };
    QVERIFY(!colour().isValid());
    QVERIFY(QFile::remove(jobType.ExecutablePath));
    m_tab->FillTable();
    const QColor onLight = colour();
    QVERIFY(onLight.red() > 2 * onLight.green());
    QVERIFY(!m_table->model()->index(1, 3).data(Qt::ForegroundRole).isValid());
    QPalette dark;
    dark.setColor(QPalette::Base, Qt::black);
    m_window->setPalette(dark);
    QVERIFY(colour().lightness() > onLight.lightness());
}

void TestJobTypesWidget::MenuIsAlwaysWhole()
{
    const QStringList whole{u"Add Job Type"_s,
                            u"Edit Selected Job Type"_s,
                            u"Remove Selected Job Type"_s,
                            u"Remove All Job Types"_s,
                            u"-"_s,
                            u"Add Default Job Types"_s,
                            u"-"_s,
                            u"Add Default Veltra Job Types"_s,
                            u"Add Default Gaussian Job Type"_s,
                            u"Add Default GMMX Job Type"_s,
                            u"Add Default Cubegen Job Type"_s,
                            u"Add Default Formchk Job Type"_s,
                            u"Add Default Freqchk Job Type"_s,
                            u"Add Default Cubman Job Type"_s,
                            u"-"_s,
                            u"Help"_s};
    QCOMPARE(ChooseFromMenu(*m_table, 1, u"acetone"_s, {}), whole);
    m_manager->jobTypes.RemoveAll();
    m_tab->FillTable();
    QCOMPARE(Choose({}), whole);
}

void TestJobTypesWidget::RemovesAfterAQuestion()
{
    m_manager->prompt.answers = {Answer::No, Answer::Yes};
    ChooseFromMenu(*m_table, 1, u"acetone"_s, u"Remove Selected Job Type"_s);
    QCOMPARE(StoredNames().size(), 3);
    ChooseFromMenu(*m_table, 1, u"acetone"_s, u"Remove Selected Job Type"_s);
    QCOMPARE(StoredNames(), (QStringList{u"water"_s, u"benzene"_s}));
    QCOMPARE(m_manager->prompt.asked.last().text,
             u"Are you sure you want to remove the following Job Type?\n\nacetone"_s);
    QCOMPARE(m_manager->prompt.asked.last().title, u"Remove Job Type"_s);

    SelectRow(u"water"_s);
    m_manager->prompt.answers = {Answer::Yes};
    QTest::keyClick(m_table, Qt::Key_Delete);
    QCOMPARE(Names(), QStringList{u"benzene"_s});
    QCOMPARE(m_manager->jobTypes.Names(), StoredNames());

    m_manager->prompt.answers = {Answer::No, Answer::Yes};
    Choose(u"Remove All Job Types"_s);
    QCOMPARE(Names().size(), 1);
    Choose(u"Remove All Job Types"_s);
    QCOMPARE(StoredNames(), QStringList{});
    QCOMPARE(Names(), QStringList{});
    QCOMPARE(m_manager->prompt.asked.last().text, u"Are you sure you want to remove all Job Types?"_s);
}

void TestJobTypesWidget::NothingIsRemovedWithoutAJobType()
{
    // The first row stored has the key of an empty record.
    QCOMPARE(m_manager->jobTypes.GetAll()[0].JobTypeID, 0);
    m_table->setCurrentIndex({});
    QTest::keyClick(m_table, Qt::Key_Delete);
    QVERIFY(m_manager->prompt.asked.isEmpty());
    m_manager->prompt.answers = {Answer::Yes};
    Choose(u"Remove Selected Job Type"_s);
    QCOMPARE(m_manager->prompt.asked.last().text,
             u"Are you sure you want to remove the following Job Type?\n\n"_s);
    Choose(u"Edit Selected Job Type"_s);
    QCOMPARE(StoredNames().size(), 3);
}

void TestJobTypesWidget::AddsWhatTheEditorHolds()
{
    Taskmill_JobType jobType = m_manager->jobTypes.GetAll()[1];
    jobType.Name = u"user's"_s;
    jobType.DefaultQueue = u"None"_s;
    for (const bool accept : {false, true}) {
        WhenDialogIsOpen([&](QDialog &dialog) {
            QCOMPARE(dialog.windowTitle(), u"New Job Type"_s);
            dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog).Load(jobType);
            dialog.done(accept);
        });
        Choose(u"Add Job Type"_s);
        QCOMPARE(Names().size(), accept ? 4 : 3);
    }
    const Taskmill_JobType stored = TestManager::Database().GetJobTypes().last();
    QCOMPARE(stored.Name, jobType.Name);
    QCOMPARE(stored.DefaultQueue, u"Queueless"_s);
    QCOMPARE(m_manager->jobTypes.Names(), StoredNames());
    QVERIFY(m_manager->prompt.asked.isEmpty());
}

void TestJobTypesWidget::EditsTheJobTypeOfTheRow_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("menu") << 0;
    QTest::newRow("double click") << 1;
    QTest::newRow("Enter") << 2;
    QTest::newRow("the window's menu") << 3;
}

void TestJobTypesWidget::EditsTheJobTypeOfTheRow()
{
    QFETCH(const int, way);
    m_table->sortByColumn(1, Qt::AscendingOrder);
    SelectRow(u"benzene"_s);
    const Taskmill_JobType before = m_tab->CurrentJobType();
    WhenDialogIsOpen([&](QDialog &dialog) {
        auto &editor = dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog);
        QCOMPARE(dialog.windowTitle(), u"Edit Job Type"_s);
        Taskmill_JobType jobType = editor.Read();
        QCOMPARE(jobType.Name, u"benzene"_s);
        jobType.Name = u"toluene"_s;
        jobType.DefaultQueue = u"None"_s;
        editor.Load(jobType);
        dialog.accept();
    });
    const QPoint cell = m_table->visualRect(m_table->currentIndex()).center();
    if (way == 0)
        ChooseFromMenu(*m_table, 1, u"benzene"_s, u"Edit Selected Job Type"_s);
    else if (way == 1) {
        QTest::mouseClick(m_table->viewport(), Qt::LeftButton, {}, cell);
        QTest::mouseDClick(m_table->viewport(), Qt::LeftButton, {}, cell);
    } else if (way == 2)
        QTest::keyClick(m_table, Qt::Key_Return);
    else
        m_tab->EditSlot();
    QCOMPARE(Names(), (QStringList{u"acetone"_s, u"toluene"_s, u"water"_s}));
    QCOMPARE(m_tab->CurrentJobType().JobTypeID, before.JobTypeID);
    QCOMPARE(m_tab->CurrentJobType().DefaultQueue, u"Queueless"_s);
    QCOMPARE(m_manager->jobTypes.Names(), (QStringList{u"water"_s, u"acetone"_s, u"toluene"_s}));
    QVERIFY(m_manager->prompt.asked.isEmpty());
}

void TestJobTypesWidget::TellsWhatCannotBeStored()
{
    SelectRow(u"water"_s);
    WhenDialogIsOpen([&](QDialog &dialog) {
        auto &editor = dynamic_cast<Taskmill_NewJobTypeWidget &>(dialog);
        Taskmill_JobType jobType = editor.Read();
        jobType.Name = u"user''s"_s;
        editor.Load(jobType);
        // Once more with the same fields, then with others.
        WhenDialogIsOpen([this, &editor, jobType](QDialog &again) {
            QCOMPARE(editor.Read(), jobType);
            QCOMPARE(StoredNames().first(), u"water"_s);
            Taskmill_JobType other = jobType;
            other.Name = u"ours"_s;
            editor.Load(other);
            again.accept();
        });
        dialog.accept();
    });
    QTest::keyClick(m_table, Qt::Key_Return);
    QCOMPARE(m_manager->prompt.asked.size(), 1);
    QCOMPARE(m_manager->prompt.asked[0].title, u"Edit Job Type"_s);
    QVERIFY(m_manager->prompt.asked[0].text.contains("single quotes"_L1));
    QCOMPARE(StoredNames(), (QStringList{u"ours"_s, u"acetone"_s, u"benzene"_s}));

    WhenDialogIsOpen([&](QDialog &dialog) {
        m_manager->project.CloseProject();
        WhenDialogIsOpen([](QDialog &again) { again.reject(); });
        dialog.accept();
    });
    QTest::keyClick(m_table, Qt::Key_Return);
    QVERIFY(m_manager->prompt.asked.last().text.contains("No project is open"_L1));
}

void TestJobTypesWidget::AddsDefaults()
{
    for (const QString &name : {u"g16"_s, u"formchk"_s, u"cubman"_s})
        m_manager->InputFile(name);
    const auto added = [this](const QString &entry) {
        m_manager->jobTypes.RemoveAll();
        Choose(entry);
        return Names().join(u' ');
    };
    QCOMPARE(added(u"Add Default Veltra Job Types"_s), QString{});
    QCOMPARE(added(u"Add Default Gaussian Job Type"_s), u"Gaussian"_s);
    QCOMPARE(added(u"Add Default Formchk Job Type"_s), u"Formchk"_s);
    QCOMPARE(added(u"Add Default Freqchk Job Type"_s), QString{});
    QCOMPARE(added(u"Add Default Cubman Job Type"_s), u"Cubman"_s);
    QCOMPARE(added(u"Add Default Job Types"_s), u"Gaussian Formchk Cubman"_s);
    QCOMPARE(StoredNames().size(), 3);
}

QTEST_MAIN(TestJobTypesWidget)
#include "test_jobtypeswidget.moc"
