#include "kilnutil/helpdialog.h"

#include "kilnutil/filesys.h"
#include "kilnutil/helpbrowser.h"
#include "support/testutil.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTimer>
#include <QTreeWidget>
#include <QWindow>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestHelpDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ButtonsAndActionsOpenTheirPages();
    void SubdirectoryComesFirst();
    void MissingPageIsToldInTheWindow_data();
    void MissingPageIsToldInTheWindow();
    void ContentsFollowTheHomePage();
    void SearchFindsPages_data();
    void SearchFindsPages();
    void ChosenResultIsMarkedInItsPage();
    void FindGoesRoundThePage();
    void LinksStayInTheManual();
    void HistoryGoesBack();
    void PageFollowsThePalette();
    void SizeAndZoomAreRemembered();
    void ModalDialogDoesNotBlockItsHelp();

private:
    void WritePage(const QString &name, const QByteArray &title, const QByteArray &body) const;
    /// Shows the page and waits until the window takes keys.
    [[nodiscard]] static bool Show(const QString &helpId);
    [[nodiscard]] static KilnUtil_HelpBrowser &Browser();
    [[nodiscard]] static QString PageText() { return Browser().toPlainText(); }
    [[nodiscard]] static QStringList ContentsTexts();
    [[nodiscard]] static QStringList ResultTitles();
    template <typename Widget>
    [[nodiscard]] static Widget *Named(const QString &accessibleName);

    std::unique_ptr<QTemporaryDir> m_place;
};

void TestHelpDialog::init()
{
    FailOnQtWarnings();
    m_place = std::make_unique<QTemporaryDir>();
    QVERIFY(m_place->isValid());
    KeepSettingsIn(m_place->path());
    QVERIFY(QDir{m_place->path()}.mkpath(u"help/taskmill"_s));
    KilnUtil_FileSys::m_appHelpDirPath = m_place->filePath(u"help"_s);
    WritePage(u"index"_s, "The Manual",
              "<a href='queue.html'>x</a><h2>Types</h2><ul><li><a href='types.html#a'>y</a></li></ul>");
    WritePage(u"queue"_s, "Queue", "<p>A job waits here. <a href='types.html'>Types</a></p><p>Job end.</p>");
    WritePage(u"types"_s, "Types", "<p>One type of a job, in the grey Queue.</p>");
    WritePage(u"other"_s, "Other", "<p>Nothing of it.</p>");
}

void TestHelpDialog::cleanup()
{
    delete &KilnUtil_HelpDialog::Global();
    m_place.reset();
}

void TestHelpDialog::WritePage(const QString &name, const QByteArray &title, const QByteArray &body) const
{
    WriteTestFile(KilnUtil_FileSys::m_appHelpDirPath + u'/' + name + u".html"_s,
                  "<html><head><title>" + title +
                      "</title><link rel='stylesheet' type='text/css' href='style.css'></head><body><h1>" +
                      title + "</h1>" + body + "</body></html>");
}

bool TestHelpDialog::Show(const QString &helpId)
{
    KilnUtil_HelpDialog::Global().ShowPage(helpId);
    return QTest::qWaitForWindowActive(&KilnUtil_HelpDialog::Global());
}

KilnUtil_HelpBrowser &TestHelpDialog::Browser()
{
    return *KilnUtil_HelpDialog::Global().findChild<KilnUtil_HelpBrowser *>();
}

template <typename Widget>
Widget *TestHelpDialog::Named(const QString &accessibleName)
{
    for (Widget *widget : KilnUtil_HelpDialog::Global().findChildren<Widget *>()) {
        if (widget->accessibleName() == accessibleName)
            return widget;
    }
    qFatal("no widget %ls", qUtf16Printable(accessibleName));
}

QStringList TestHelpDialog::ContentsTexts()
{
    QStringList texts;
    for (QTreeWidgetItemIterator item{Named<QTreeWidget>(u"Contents"_s)}; *item; ++item)
        texts += (*item)->text(0);
    return texts;
}

QStringList TestHelpDialog::ResultTitles()
{
    const auto *results = Named<QListWidget>(u"Pages found"_s);
    QStringList titles;
    for (int row = 0; row < results->count(); ++row)
        titles += results->item(row)->text().section(u'\n', 0, 0);
    return titles;
}

void TestHelpDialog::ButtonsAndActionsOpenTheirPages()
{
    KilnUtil_HelpDialog &dialog = KilnUtil_HelpDialog::Global();
    QPushButton button;
    QAction action;
    dialog.ConnectButton(&button, u"taskmill/queue"_s);
    dialog.ConnectAction(&action, u"taskmill/types"_s, false);
    QVERIFY(!dialog.isVisible());

    button.click();
    QVERIFY(dialog.isVisible());
    QVERIFY(!dialog.isModal());
    QVERIFY(PageText().contains(u"A job waits here"_s));
    QCOMPARE(dialog.windowTitle(), u"Queue - The Manual"_s);
    QCOMPARE(Named<QTreeWidget>(u"Contents"_s)->currentItem()->text(0), u"Queue"_s);
    action.trigger();
    QVERIFY(PageText().contains(u"One type of a job"_s));
}

void TestHelpDialog::SubdirectoryComesFirst()
{
    WritePage(u"taskmill/queue"_s, "Queue", "from below");
    KilnUtil_HelpDialog::Global().ShowPage(u"taskmill/queue"_s);
    QVERIFY(PageText().contains(u"from below"_s));
}

void TestHelpDialog::MissingPageIsToldInTheWindow_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("text");
    QTest::newRow("no such page") << u"help"_s << u"taskmill/<b>no"_s << u"has no page \"<b>no\""_s;
    QTest::newRow("no way out of the manual") << u"help"_s << u"../secret"_s << u"has no page"_s;
    QTest::newRow("no manual") << u"nowhere"_s << u"taskmill/queue"_s << u"not installed"_s;
}

void TestHelpDialog::MissingPageIsToldInTheWindow()
{
    QFETCH(const QString, directory);
    QFETCH(const QString, id);
    QFETCH(const QString, text);
    WriteTestFile(m_place->filePath(u"secret.html"_s), "secret");
    KilnUtil_FileSys::m_appHelpDirPath = m_place->filePath(directory);
    KilnUtil_HelpDialog::Global().ShowPage(id);
    QVERIFY(KilnUtil_HelpDialog::Global().isVisible());
    QVERIFY2(PageText().contains(text), qPrintable(PageText()));
    QVERIFY(PageText().contains(QDir::toNativeSeparators(KilnUtil_FileSys::m_appHelpDirPath)));
}

void TestHelpDialog::ContentsFollowTheHomePage()
{
    QVERIFY(Show(u"taskmill/index"_s));
    QCOMPARE(ContentsTexts(), (QStringList{u"The Manual"_s, u"Queue"_s, u"Types"_s, u"Types"_s, u"Other"_s}));
    auto *contents = Named<QTreeWidget>(u"Contents"_s);
    QTest::keyClick(contents, Qt::Key_Down);
    QVERIFY(PageText().contains(u"A job waits here"_s));
}

void TestHelpDialog::SearchFindsPages_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QStringList>("titles");
    QTest::newRow("best match first, any case") << u"queue"_s << QStringList{u"Queue"_s, u"Types"_s};
    QTest::newRow("all words count") << u"  JOB   grey "_s << QStringList{u"Types"_s};
    QTest::newRow("a word that is nowhere") << u"job nowhere"_s << QStringList{};
    QTest::newRow("markup is no text") << u"href"_s << QStringList{};
}

void TestHelpDialog::SearchFindsPages()
{
    QFETCH(const QString, words);
    QFETCH(const QStringList, titles);
    QVERIFY(Show(u"taskmill/index"_s));
    QTest::keyClicks(Named<QLineEdit>(u"Search the manual"_s), words);
    QCOMPARE(ResultTitles(), titles);
    QCOMPARE(Named<QListWidget>(u"Pages found"_s)->isVisible(), !titles.isEmpty());
    QVERIFY(!Named<QTreeWidget>(u"Contents"_s)->isVisible());
    QTest::keyClick(Named<QLineEdit>(u"Search the manual"_s), Qt::Key_Escape);
    QVERIFY(Named<QTreeWidget>(u"Contents"_s)->isVisible());
    QVERIFY(KilnUtil_HelpDialog::Global().isVisible());
}

void TestHelpDialog::ChosenResultIsMarkedInItsPage()
{
    QVERIFY(Show(u"taskmill/index"_s));
    QTest::keyClicks(Named<QLineEdit>(u"Search the manual"_s), u"grey job"_s);
    QTest::keyClick(Named<QLineEdit>(u"Search the manual"_s), Qt::Key_Return);
    QVERIFY(PageText().contains(u"One type of a job"_s));
    QStringList marked;
    for (const QTextEdit::ExtraSelection &mark : Browser().extraSelections())
        marked += mark.cursor.selectedText();
    QCOMPARE(marked, (QStringList{u"grey"_s, u"job"_s}));
    QVERIFY(Show(u"taskmill/queue"_s));
    QVERIFY(Browser().extraSelections().isEmpty());
}

void TestHelpDialog::FindGoesRoundThePage()
{
    KilnUtil_HelpDialog &dialog = KilnUtil_HelpDialog::Global();
    QVERIFY(Show(u"taskmill/queue"_s));
    const auto found = [] {
        return std::pair{Browser().textCursor().selectedText(), Browser().textCursor().selectionStart()};
    };
    QTest::keyClick(&Browser(), Qt::Key_F, Qt::ControlModifier);
    auto *field = Named<QLineEdit>(u"Text to find"_s);
    QVERIFY(field->isVisible());
    QTest::keyClicks(field, u"job"_s);
    QTest::keyClick(field, Qt::Key_Return);
    const auto first = found();
    QCOMPARE(first.first, u"job"_s);
    QTest::keyClick(&dialog, Qt::Key_F3);
    const auto second = found();
    QCOMPARE(second.first, u"Job"_s);
    QTest::keyClick(&dialog, Qt::Key_F3);
    QCOMPARE(found(), first);
    QTest::keyClick(&dialog, Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(found(), second);
    field->setText(u"jobless"_s);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(found(), second);
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(!field->isVisible());
    QVERIFY(dialog.isVisible());
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
}

void TestHelpDialog::LinksStayInTheManual()
{
    WriteTestFile(m_place->filePath(u"secret.html"_s), "secret");
    QVERIFY(Show(u"taskmill/queue"_s));
    const QSignalSpy outside{&Browser(), &KilnUtil_HelpBrowser::OutsideLinkSignal};
    for (const QString &link : {u"https://example.org/"_s, u"../secret.html"_s, u"file:///etc/passwd"_s})
        Q_EMIT Browser().anchorClicked(QUrl{link});
    QCOMPARE(outside.size(), 3);
    QVERIFY(PageText().contains(u"A job waits here"_s));
    Q_EMIT Browser().anchorClicked(QUrl{u"types.html"_s});
    QVERIFY(PageText().contains(u"One type of a job"_s));
}

void TestHelpDialog::HistoryGoesBack()
{
    KilnUtil_HelpDialog &dialog = KilnUtil_HelpDialog::Global();
    QVERIFY(Show(u"taskmill/queue"_s));
    QVERIFY(Show(u"taskmill/types"_s));
    QTest::keyClick(&dialog, Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(dialog.windowTitle(), u"Queue - The Manual"_s);
    QTest::keyClick(&dialog, Qt::Key_Right, Qt::AltModifier);
    QCOMPARE(dialog.windowTitle(), u"Types - The Manual"_s);
    QTest::keyClick(&dialog, Qt::Key_Home, Qt::AltModifier);
    QCOMPARE(dialog.windowTitle(), u"The Manual"_s);
}

void TestHelpDialog::PageFollowsThePalette()
{
    WriteTestFile(KilnUtil_FileSys::m_appHelpDirPath + "/style.css"_L1, "p { color: palette(link); }");
    QVERIFY(Show(u"taskmill/other"_s));
    const QPalette before = QApplication::palette();
    const auto restore = qScopeGuard([&] { QApplication::setPalette(before); });
    QPalette changed = before;
    changed.setColor(QPalette::Link, QColor{1, 200, 3});
    QApplication::setPalette(changed);
    const auto colour = [] {
        return Browser().document()->lastBlock().begin().fragment().charFormat().foreground().color();
    };
    QTRY_COMPARE(colour(), (QColor{1, 200, 3}));
}

void TestHelpDialog::SizeAndZoomAreRemembered()
{
    QVERIFY(Show(u"taskmill/queue"_s));
    const qreal usualSize = Browser().font().pointSizeF();
    KilnUtil_HelpDialog::Global().resize(555, 444);
    QTest::keyClick(&KilnUtil_HelpDialog::Global(), Qt::Key_Plus, Qt::ControlModifier);
    QTest::keyClick(&KilnUtil_HelpDialog::Global(), Qt::Key_Plus, Qt::ControlModifier);
    KilnUtil_HelpDialog::Global().close();
    delete &KilnUtil_HelpDialog::Global();

    QVERIFY(Show(u"taskmill/queue"_s));
    QCOMPARE(KilnUtil_HelpDialog::Global().size(), (QSize{555, 444}));
    QCOMPARE(Browser().font().pointSizeF(), usualSize + 2);
}

void TestHelpDialog::ModalDialogDoesNotBlockItsHelp()
{
    KilnUtil_HelpDialog &help = KilnUtil_HelpDialog::Global();
    help.ShowPage(u"taskmill/index"_s);
    QDialog modal;
    QPushButton button{&modal};
    help.ConnectButton(&button, u"taskmill/queue"_s);
    bool helpTakesKeys = false;
    QTimer::singleShot(0, &modal, [&] {
        button.click();
        const QString titleBefore = help.windowTitle();
        QTest::keyClick(help.windowHandle(), Qt::Key_Home, Qt::AltModifier);
        helpTakesKeys = titleBefore == "Queue - The Manual"_L1 && help.windowTitle() == "The Manual"_L1;
        modal.reject();
    });
    modal.exec();
    QVERIFY(helpTakesKeys);
    QVERIFY(help.isVisible());
}

QTEST_MAIN(TestHelpDialog)
#include "test_helpdialog.moc"
