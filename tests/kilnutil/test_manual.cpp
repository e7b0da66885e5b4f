#include "kilnutil/helppages.h"
#include "support/testutil.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTextBlock>
#include <QTextDocument>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// The manual as it is in the tree.
class TestManual : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void HelpIdHasAPage_data();
    void HelpIdHasAPage();
    void LinksAndPicturesExist();
    void TheHomePageListsEveryPage();
    void RequestsShowTheExampleClient();

private:
    const KilnUtil_HelpPages m_pages{QStringLiteral(TASKMILL_HELP_DIR)};
};

void TestManual::HelpIdHasAPage_data()
{
    QTest::addColumn<QString>("id");
    for (const char *id :
         {"taskmill/introduction", "taskmill/longjobsqueue", "taskmill/shortjobsqueue",
          "taskmill/queuelessjobs", "taskmill/finishedjobs", "taskmill/runningjobs", "taskmill/jobtypes",
          "taskmill/newjobtype", "taskmill/openfiles_adv_filelist", "taskmill/openfiles_adv_ui"})
        QTest::newRow(id) << QString::fromLatin1(id);
}

void TestManual::HelpIdHasAPage()
{
    QFETCH(const QString, id);
    QVERIFY(!m_pages.TitleOf(m_pages.FilePathOf(id)).isEmpty());
}

void TestManual::LinksAndPicturesExist()
{
    QVERIFY(m_pages.Pages().size() > 10);
    static const QRegularExpression reference{u"\\s(href|src)=\"([^\"]*)\""_s};
    static const QRegularExpression name{u"<a name=\"([^\"]*)\""_s};
    const auto names = [](const QString &html) {
        QStringList found;
        for (const auto &match : name.globalMatch(html))
            found += match.captured(1);
        return found;
    };
    for (const KilnUtil_HelpPage &page : m_pages.Pages()) {
        const QString html = QString::fromUtf8(ReadTestFile(page.FilePath));
        for (const auto &match : reference.globalMatch(html)) {
            const QString target = match.captured(2).section(u'#', 0, 0);
            const QString place = match.captured(2).section(u'#', 1);
            const QString path =
                target.isEmpty() ? page.FilePath : QFileInfo{page.FilePath}.dir().absoluteFilePath(target);
            QVERIFY2(QFileInfo{path}.isFile(), qPrintable(page.FilePath + u": "_s + match.captured(2)));
            QVERIFY2(place.isEmpty() || names(QString::fromUtf8(ReadTestFile(path))).contains(place),
                     qPrintable(page.FilePath + u": "_s + match.captured(2)));
        }
    }
}

void TestManual::TheHomePageListsEveryPage()
{
    const QString home = QString::fromUtf8(ReadTestFile(m_pages.HomePath()));
    QSet<QString> titles;
    for (const KilnUtil_HelpPage &page : m_pages.Pages()) {
        QVERIFY2(!titles.contains(page.Title), qPrintable(page.Title));
        titles.insert(page.Title);
        if (page.FilePath == m_pages.HomePath())
            continue;
        const QString link = u"<a href=\"%1\">%2</a>"_s.arg(QFileInfo{page.FilePath}.fileName(), page.Title);
        QVERIFY2(home.contains(link), qPrintable(link));
    }
}

void TestManual::RequestsShowTheExampleClient()
{
    const QByteArray program = ReadTestFile(QStringLiteral(TASKMILL_HELP_DIR) + "/example_client.py"_L1);
    QVERIFY(program.startsWith("#!"));
    const QByteArray page = ReadTestFile(m_pages.FilePathOf(u"taskmill/requests"_s));
    QVERIFY(page.contains("<pre>\n" +
                          QString::fromUtf8(program).toHtmlEscaped().replace("&quot;"_L1, "\""_L1).toUtf8() +
                          "</pre>"));
}

QTEST_MAIN(TestManual)
#include "test_manual.moc"
