// SPDX-License-Identifier: MIT
#include "help/helpdialog.h"

#include "help/helpbrowser.h"
#include "help/helppages.h"
#include "kilnutil/filesys.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

/// The window of the manual with a small one, and the pages of the real one.
class TestHelpDialog : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        KeepSettingsIn(Path());
        QVERIFY(QDir{Path()}.mkdir(u"help"_s));
        KilnUtil_FileSys::m_appHelpDirPath = Path(u"help"_s);
        WritePage(u"index"_s, "The Manual", "<a href='queue.html'>x</a>");
        WritePage(u"queue"_s, "Queue", "<p>A job waits here.</p>");
        WriteTestFile(Path(u"secret.html"_s), "secret");
    }

    void cleanup() override
    {
        delete &KilnUtil_HelpDialog::Global();
        TestCase::cleanup();
    }

    void LinksStayInTheManual()
    {
        KilnUtil_HelpDialog::Global().ShowPage(u"taskmill/queue"_s);
        QVERIFY(QTest::qWaitForWindowActive(&KilnUtil_HelpDialog::Global()));
        const QSignalSpy outside{&Browser(), &KilnUtil_HelpBrowser::OutsideLinkSignal};
        for (const QString &link : {u"https://example.org/"_s, u"../secret.html"_s, u"file:///etc/passwd"_s})
            Q_EMIT Browser().anchorClicked(QUrl{link});
        QCOMPARE(outside.size(), 3);
        QVERIFY(PageText().contains(u"A job waits here"_s));
        Q_EMIT Browser().anchorClicked(QUrl{u"index.html"_s});
        QVERIFY(!PageText().contains(u"A job waits here"_s));
        QTest::keyClick(&KilnUtil_HelpDialog::Global(), Qt::Key_Left, Qt::AltModifier);
        QVERIFY(PageText().contains(u"A job waits here"_s));
    }

    void BestPagesAreFoundFirst()
    {
        WritePage(u"a"_s, "One", "<p>This queue and that</p>");
        WritePage(u"b"_s, "Two", "<p>The queue of the queue queue</p>");
        QStringList titles;
        for (const KilnUtil_HelpPage &page :
             KilnUtil_HelpPages{KilnUtil_FileSys::m_appHelpDirPath}.Search(u" QUEUE "_s))
            titles.append(page.Title);
        QCOMPARE(titles, (QStringList{u"Queue"_s, u"Two"_s, u"One"_s}));
    }

    void RealManualIsWhole()
    {
        const KilnUtil_HelpPages manual{QStringLiteral(TASKMILL_HELP_DIR)};
        for (const char *id :
             {"introduction", "longjobsqueue", "shortjobsqueue", "queuelessjobs", "finishedjobs",
              "runningjobs", "jobtypes", "newjobtype", "openfiles_adv_filelist", "openfiles_adv_ui"})
            QVERIFY2(!manual.TitleOf(manual.FilePathOf(u"taskmill/"_s + QLatin1StringView{id})).isEmpty(),
                     id);

        static const QRegularExpression reference{u"\\s(href|src)=\"([^\"#]*)#?([^\"]*)\""_s};
        const QByteArray home = ReadTestFile(manual.HomePath());
        QVERIFY(manual.Pages().size() > 10);
        for (const KilnUtil_HelpPage &page : manual.Pages()) {
            const QFileInfo file{page.FilePath};
            QVERIFY2(page.FilePath == manual.HomePath() || home.contains(file.fileName().toUtf8()),
                     qPrintable(page.FilePath));
            const QString html = QString::fromUtf8(ReadTestFile(page.FilePath));
            QVERIFY2(page.FilePath == manual.HomePath() ||
                         html.contains("<p class=\"contents\"><a href=\"index.html\">"_L1),
                     qPrintable(page.FilePath));
            QVERIFY2(page.Text.startsWith(page.Title), qPrintable(page.Text.first(40)));
            for (const auto &match : reference.globalMatch(html)) {
                const QString target = match.captured(2).isEmpty() ? file.fileName() : match.captured(2);
                const QByteArray text = ReadTestFile(file.dir().absoluteFilePath(target));
                const QByteArray name = match.captured(3).toUtf8();
                QVERIFY2(!text.isEmpty(), qPrintable(page.FilePath + match.captured()));
                QVERIFY2(name.isEmpty() || text.contains("<a name=\"" + name + '"'),
                         qPrintable(page.FilePath + match.captured()));
            }
        }
        const QString program =
            QString::fromUtf8(ReadTestFile(QStringLiteral(TASKMILL_HELP_DIR) + "/example_client.py"_L1));
        const QString shown = program.toHtmlEscaped().replace("&quot;"_L1, "\""_L1);
        QVERIFY(ReadTestFile(manual.FilePathOf(u"taskmill/requests"_s))
                    .contains(u"<pre>\n%1</pre>"_s.arg(shown).toUtf8()));
    }

private:
    static void WritePage(const QString &name, const QByteArray &title, const QByteArray &body)
    {
        WriteTestFile(KilnUtil_FileSys::m_appHelpDirPath + u'/' + name + u".html"_s,
                      "<html><head><title>" + title + "</title></head><body>" + body + "</body></html>");
    }
    [[nodiscard]] static KilnUtil_HelpBrowser &Browser()
    {
        return *KilnUtil_HelpDialog::Global().findChild<KilnUtil_HelpBrowser *>();
    }
    [[nodiscard]] static QString PageText() { return Browser().toPlainText(); }
};

QTEST_MAIN(TestHelpDialog)
#include "test_helpdialog.moc"
