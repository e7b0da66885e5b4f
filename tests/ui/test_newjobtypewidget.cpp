#include "ui/newjobtypewidget.h"

#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

/// The dialog as the user meets it: fields are found by the label that leads to them.
class TestNewJobTypeWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_dialog.reset(); }
    void BeginsEmpty();
    void ReadsWhatWasLoaded_data();
    void ReadsWhatWasLoaded();
    void OkFollowsOnlySomeFields_data();
    void OkFollowsOnlySomeFields();
    void OkNeedsAValidJobType_data();
    void OkNeedsAValidJobType();
    void BrowsingTakesOnlyFilesThatExist();
    void EndsByButtonsOnly();

private:
    template <typename Field>
    [[nodiscard]] Field *Find(const QString &name) const
    {
        for (const QLabel *label : m_dialog->findChildren<QLabel *>()) {
            if (label->text() == name + u":  "_s)
                return qobject_cast<Field *>(label->buddy());
        }
        return nullptr;
    }
    [[nodiscard]] QPushButton *Button(const QString &text) const;
    [[nodiscard]] bool IsOkEnabled() const { return Button(u"Ok"_s)->isEnabled(); }

    std::unique_ptr<Taskmill_NewJobTypeWidget> m_dialog;
};

namespace {
Taskmill_JobType ValidJobType()
{
    Taskmill_JobType jobType;
    jobType.Name = u" xtb"_s;
    jobType.ApplicationName = u"testprogram"_s;
    jobType.ExecutablePath = TestProgramPath();
    jobType.DefaultQueue = u"Short"_s;
    jobType.GenericCommandLine = u"@exefile @INFILE\nanswer\n"_s;
    jobType.InputFileFilter = u"Coordinates (*.xyz) "_s;
    jobType.OutputFileFilter = u"Output (*.out)"_s;
    jobType.EnvironmentVariables = u"A=1\nB=@MEMORY"_s;
    return jobType;
}
} // namespace

void TestNewJobTypeWidget::init()
{
    FailOnQtWarnings();
    m_dialog = std::make_unique<Taskmill_NewJobTypeWidget>(nullptr);
    m_dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
}

QPushButton *TestNewJobTypeWidget::Button(const QString &text) const
{
    for (QPushButton *button : m_dialog->findChildren<QPushButton *>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

void TestNewJobTypeWidget::BeginsEmpty()
{
    QCOMPARE(m_dialog->windowTitle(), u"New Job Type"_s);
    QVERIFY(m_dialog->isModal());
    Taskmill_JobType empty;
    empty.DefaultQueue = u"Long"_s;
    QCOMPARE(m_dialog->Read(), empty);
    QVERIFY(!IsOkEnabled());
    QCOMPARE(m_dialog->sizeHint().height(), m_dialog->minimumSizeHint().height());
    QWidget icon;
    icon.setWindowIcon(QPixmap{16, 16});
    const Taskmill_NewJobTypeWidget child{&icon};
    QCOMPARE(child.windowIcon().cacheKey(), icon.windowIcon().cacheKey());
}

void TestNewJobTypeWidget::ReadsWhatWasLoaded_data()
{
    QTest::addColumn<QString>("queue");
    QTest::addColumn<QString>("read");
    QTest::newRow("long") << u"Long"_s << u"Long"_s;
    QTest::newRow("short, other letters") << u"SHORTER"_s << u"Short"_s;
    QTest::newRow("as stored") << u"Queueless"_s << u"None"_s;
    QTest::newRow("none") << u"None"_s << u"None"_s;
    QTest::newRow("unknown") << u"Queue"_s << QString{};
}

void TestNewJobTypeWidget::ReadsWhatWasLoaded()
{
    QFETCH(const QString, queue);
    QFETCH(const QString, read);
    Taskmill_JobType jobType = ValidJobType();
    jobType.JobTypeID = 7;
    jobType.DefaultQueue = queue;
    m_dialog->Load(jobType);
    QVERIFY(!IsOkEnabled());
    jobType.JobTypeID = 0;
    jobType.DefaultQueue = read;
    QCOMPARE(m_dialog->Read(), jobType);
}

void TestNewJobTypeWidget::OkFollowsOnlySomeFields_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("follows");
    QTest::newRow("name") << u"Name"_s << true;
    QTest::newRow("application") << u"Application Name"_s << true;
    QTest::newRow("executable") << u"Executable Path"_s << false;
    QTest::newRow("command line") << u"Generic Command Line"_s << false;
    QTest::newRow("input filter") << u"Input File Filter"_s << true;
    QTest::newRow("output filter") << u"Output File Filter"_s << true;
    QTest::newRow("environment") << u"Environment Variables"_s << false;
}

void TestNewJobTypeWidget::OkFollowsOnlySomeFields()
{
    QFETCH(const QString, field);
    QFETCH(const bool, follows);
    // Leaving the first field counts, as touched or not.
    Button(u"Cancel"_s)->setFocus();
    m_dialog->Load(ValidJobType());
    auto *widget = Find<QWidget>(field);
    widget->setFocus();
    QTest::keyClick(widget, Qt::Key_End);
    QTest::keyClicks(widget, u"x"_s);
    QTest::keyClick(widget, Qt::Key_Backspace);
    QVERIFY(!IsOkEnabled());
    QTest::keyClick(widget, Qt::Key_Tab);
    QVERIFY(!widget->hasFocus());
    QCOMPARE(IsOkEnabled(), follows);

    // By code a queue is set, by the user it is chosen.
    Find<QComboBox>(u"Default Queue"_s)->setCurrentIndex(0);
    QCOMPARE(IsOkEnabled(), follows);
    Find<QComboBox>(u"Default Queue"_s)->setFocus();
    QTest::keyClick(Find<QComboBox>(u"Default Queue"_s), Qt::Key_Down);
    QVERIFY(IsOkEnabled());
}

void TestNewJobTypeWidget::OkNeedsAValidJobType_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::newRow("name") << u"Name"_s << u""_s;
    QTest::newRow("application") << u"Application Name"_s << u""_s;
    QTest::newRow("executable that is missing") << u"Executable Path"_s << u"/none/xtb"_s;
    QTest::newRow("command line without the executable") << u"Generic Command Line"_s << u"@INFILE"_s;
}

void TestNewJobTypeWidget::OkNeedsAValidJobType()
{
    QFETCH(const QString, field);
    QFETCH(const QString, text);
    m_dialog->Load(ValidJobType());
    auto *widget = Find<QWidget>(field);
    widget->setFocus();
    QTest::keyClick(widget, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(widget, Qt::Key_Delete);
    QTest::keyClicks(widget, text);
    auto *queue = Find<QComboBox>(u"Default Queue"_s);
    queue->setFocus();
    QTest::keyClick(queue, Qt::Key_Down);
    QVERIFY(!IsOkEnabled());
}

void TestNewJobTypeWidget::BrowsingTakesOnlyFilesThatExist()
{
    ScriptedPrompt prompt;
    Taskmill_JobType jobType = ValidJobType();
    jobType.ExecutablePath.clear();
    m_dialog->Load(jobType);
    auto *path = Find<QLineEdit>(u"Executable Path"_s);
    // Cancelled, nothing there, no file.
    prompt.texts = {QString{}, u"/none/xtb"_s, u"/"_s, TestProgramPath()};
    for (int time = 0; time < 3; ++time)
        QTest::mouseClick(Button(u"Browse..."_s), Qt::LeftButton);
    QCOMPARE(path->text(), QString{});
    QVERIFY(!IsOkEnabled());
    QTest::mouseClick(Button(u"Browse..."_s), Qt::LeftButton);
    QCOMPARE(path->text(), TestProgramPath());
    QCOMPARE(Find<QLineEdit>(u"Application Name"_s)->text(), jobType.ApplicationName);
    QVERIFY(IsOkEnabled());
    QCOMPARE(prompt.asked.size(), 4);
    QCOMPARE(prompt.asked[0].title, u"Select an Executable File"_s);
}

void TestNewJobTypeWidget::EndsByButtonsOnly()
{
    m_dialog->Load(ValidJobType());
    auto *name = Find<QLineEdit>(u"Name"_s);
    name->setFocus();
    QTest::keyClicks(name, u"2"_s);
    QTest::keyClick(name, Qt::Key_Return);
    QVERIFY(IsOkEnabled());
    QTest::keyClick(name, Qt::Key_Return);
    QVERIFY(m_dialog->isVisible());
    QTest::mouseClick(Button(u"Ok"_s), Qt::LeftButton);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), static_cast<int>(QDialog::Accepted));
    m_dialog->show();
    QTest::mouseClick(Button(u"Cancel"_s), Qt::LeftButton);
    QCOMPARE(m_dialog->result(), static_cast<int>(QDialog::Rejected));
    m_dialog->setResult(QDialog::Accepted);
    m_dialog->show();
    m_dialog->close();
    QCOMPARE(m_dialog->result(), static_cast<int>(QDialog::Rejected));
}

QTEST_MAIN(TestNewJobTypeWidget)
#include "test_newjobtypewidget.moc"
