#include "kilnutil/registry.h"
#include "kilnutil/widgetprompt.h"
#include "support/testutil.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class TestWidgetPrompt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void BrowserAsksForSeveralFiles();
    void EnterAnswersOnlyWithADefault();

private:
    std::unique_ptr<QTemporaryDir> m_place;
};

void TestWidgetPrompt::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<QTemporaryDir>();
    KeepSettingsIn(m_place->path());
    KilnUtil_Registry::SetAppData(u"TaskmillGUI"_s, u"1"_s, u"1.1"_s, u"1.1.18"_s, u"TASKMILLPREFS_DIR"_s,
                                  u".taskmillprefs"_s);
}

void TestWidgetPrompt::BrowserAsksForSeveralFiles()
{
    const QStringList files{WriteTestFile(m_place->filePath(u"INPUT"_s), {}),
                            WriteTestFile(m_place->filePath(u"b.in"_s), {})};
    KilnUtil_WidgetPrompt prompt;
    const KilnUtil_OpenFilesOptions options{.Title = u"Select Files"_s,
                                            .Directory = m_place->path(),
                                            .NameFilters = {u"All Files (*.*)"_s, u"Inputs (*.in)"_s},
                                            .NameFilter = 1,
                                            .UseNativeBrowser = false,
                                            .SettingsGroup = u"Group"_s};
    QString filter;
    QSize size;
    const auto answer = [&](bool accept) {
        QTimer::singleShot(0, qApp, [&, accept] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            filter = dialog->selectedNameFilter();
            size = dialog->size();
            dialog->resize(777, 555);
            dialog->selectNameFilter(dialog->nameFilters().first());
            dialog->findChild<QLineEdit *>()->setText(u"\"INPUT\" \"b.in\""_s);
            accept ? dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click()
                   : dialog->reject();
        });
        return prompt.AskOpenFileNames(options);
    };
    const KilnUtil_OpenFilesAnswer chosen = answer(true);
    QCOMPARE(filter, u"Inputs (*.in)"_s);
    QCOMPARE(chosen.Files, files);
    QCOMPARE(chosen.NameFilter, 0);
    QVERIFY(answer(false).Files.isEmpty());
    QCOMPARE(size, (QSize{777, 555}));
}

void TestWidgetPrompt::EnterAnswersOnlyWithADefault()
{
    using WarnMode = KilnUtil_UserPrompt::WarnMode;
    using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;
    KilnUtil_WidgetPrompt prompt;
    bool stillOpen = false;
    const auto press = [&] {
        QWidget *box = QApplication::activeModalWidget();
        QTest::keyClick(box, Qt::Key_Return);
        stillOpen = box->isVisible();
        QTest::keyClick(box, Qt::Key_Escape);
    };
    QTimer::singleShot(0, qApp, press);
    QCOMPARE(prompt.AskQuestion(u"Remove"_s, u"Remove it?"_s, WarnMode::YesNo, WarnAnswer::None),
             WarnAnswer::No);
    QVERIFY(stillOpen);
    QTimer::singleShot(0, qApp, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Return); });
    QCOMPARE(prompt.ReportWarning(u"Save"_s, u"Save it?"_s, WarnMode::YesNoCancel, WarnAnswer::Yes),
             WarnAnswer::Yes);
}

QTEST_MAIN(TestWidgetPrompt)
#include "test_widgetprompt.moc"
