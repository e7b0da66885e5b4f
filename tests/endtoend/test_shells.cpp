// SPDX-License-Identifier: MIT
#include "endtoend/projectfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlRecord>
#include <QStandardPaths>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
struct ProgramRun
{
    int status = -1;
    QString out;
    QString err;
};

ProgramRun Run(const QString &program, const QStringList &arguments,
               const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
               const QString &directory = {})
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory);
    process.start(program, arguments, QIODevice::ReadOnly);
    const bool ended = process.waitForFinished(60000);
    return {ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QString Page(const QString &name)
{
    return QString::fromUtf8(ReadTestFile(QStringLiteral(TASKMILL_PAGES) + u'/' + name));
}

QSet<QString> Matches(const QString &text, const QString &expression)
{
    QSet<QString> found;
    auto match = QRegularExpression{expression, QRegularExpression::MultilineOption}.globalMatch(text);
    while (match.hasNext())
        found += match.next().captured(1);
    return found;
}

/// The arguments with which the shell prints what it offers at the end of the line.
QStringList HowToComplete(const QString &shell, const QString &line)
{
    const QString completions = QStringLiteral(TASKMILL_SOURCE) + u"/packaging/completions/"_s;
    const QString script = QStringLiteral(TASKMILL_SOURCE) + u"/tests/endtoend/shells/complete."_s + shell;
    if (shell == "bash"_L1)
        return QStringList{script, completions + u"taskmillctl.bash"_s} + line.split(u' ');
    if (shell == "zsh"_L1)
        return {u"-f"_s, script, completions, line};
    return {script, completions + u"taskmillctl.fish"_s, line};
}

QStringList Sorted(const QSet<QString> &texts)
{
    QStringList sorted = texts.values();
    sorted.sort();
    return sorted;
}
} // namespace

/// What an installation brings for shells, scripts and readers of manual pages, all against the real
/// programs.
class TestShells : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void CompletesWhatFits_data();
    void CompletesWhatFits();
    void ManualPagesAndHelpAgree();
    void PageOfProjectsHasEveryColumn();
    void PagesAreClean_data();
    void PagesAreClean();
    void ScriptsUseTheModule();

private:
    /// Job 1 has ended, 2 runs, 3 waits; beside the input files lies jobs.mill.
    void StartJobs();
    [[nodiscard]] QProcessEnvironment Environment();
};

void TestShells::StartJobs()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().AddTestType(u"Echo \"a b\""_s, u"print done"_s));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Echo \"a b\""_s, Project().InputFile(u"ends"_s), u"none"_s), "accepted=1\n");
    QTRY_VERIFY(Manager().Ctl({u"list"_s, u"finished"_s, u"--json"_s}).out.contains("\"id\":1"));
    QCOMPARE(Manager().Ctl({u"unpause"_s, u"long"_s}).status, 0);
    for (const auto name : {"runs"_L1, "waits"_L1})
        QVERIFY(Manager().Submit(u"Wait"_s, Project().InputFile(name), u"long"_s).startsWith("accepted="));
    QTRY_VERIFY(QFile::exists(Project().Path(u"runs.started"_s)));
}

QProcessEnvironment TestShells::Environment()
{
    QProcessEnvironment environment = Manager().ClientEnvironment();
    environment.insert(u"PATH"_s,
                       QFileInfo{QStringLiteral(TASKMILL_CTL)}.path() + u':' + environment.value(u"PATH"_s));
    environment.insert(u"HOME"_s, Project().Path({}));
    return environment;
}

void TestShells::CompletesWhatFits_data()
{
    QTest::addColumn<QString>("shell");
    for (const char *shell : {"client", "bash", "zsh", "fish"})
        QTest::newRow(shell) << QString::fromLatin1(shell);
}

/// Lines, and what is offered at their ends.
void TestShells::CompletesWhatFits()
{
    struct Line
    {
        QString typed;
        QString offered;
    };
    // Of the client itself, which first says what files are offered besides.
    const QList<Line> client{
        {u"taskmillctl re"_s, u"words release remove resources result"_s},
        {u"taskmillctl types "_s, u"words add list remove"_s},
        {u"taskmillctl remove --"_s, u"words --console --gui --help --json --port --running"_s},
        {u"taskmillctl pause "_s, u"words long short"_s},
        {u"taskmillctl submit --type=W"_s, u"words --type=Wait"_s},
        {u"taskmillctl submit --type = W"_s, u"words Wait"_s},
        {u"taskmillctl remove --running "_s, u"words 2 3"_s},
        {u"taskmillctl job "_s, u"words 1 2 3"_s},
        {u"taskmillctl limit long "_s, u"words"_s},
        {u"taskmillctl budget "_s, u"words cores memory off"_s},
        {u"taskmillctl budget cores "_s, u"words"_s},
        {u"taskmillctl budget cores 4 "_s, u"words memory"_s},
        {u"taskmillctl budget off "_s, u"words"_s},
        {u"taskmillctl move 3 "_s, u"words 2 3 bottom down top up"_s},
        {u"taskmillctl types remove jobs.mill "_s, u"words"_s},
        {u"taskmillctl jobs --long "_s, u"projects"_s},
        {u"taskmill -new"_s, u"projects -newconsole"_s},
        {u"taskmill-slurm --cores 2 --p"_s, u"files --partition --prepare"_s},
        {u"taskmill-slurm --cores 2 -- --p"_s, u"files"_s},
        {u"taskmillctl frobnicate --type "_s, u"words"_s},
    };
    // Of the shells, with what is theirs: words, blanks, files.
    const QList<Line> shells{
        {u"taskmillctl unp"_s, u"unpause"_s},
        {u"taskmillctl submit waits --type "_s, u"Echo \"a b\" Wait"_s},
        {u"taskmillctl kill "_s, u"2"_s},
        {u"taskmillctl jobs jo"_s, u"jobs.mill"_s},
        {u"taskmillctl submit wai"_s, u"waits"_s},
        {u"taskmill -nog"_s, u"-nogui"_s},
        {u"taskmillctl quiet "_s, u"22:00-06:00 off"_s},
        {u"taskmillctl budget cores 4 m"_s, u"memory"_s},
    };
    QFETCH(const QString, shell);
    const bool isClient = shell == "client"_L1;
    if (!isClient && QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP("This shell is not installed");
    StartJobs();
    for (const auto &[typed, offered] : isClient ? client : shells) {
        const ProgramRun run =
            isClient ? Run(QStringLiteral(TASKMILL_CTL), QStringList{u"--complete"_s} + typed.split(u' '),
                           Environment())
                     : Run(shell, HowToComplete(shell, typed), Environment(), Project().Path({}));
        QStringList words;
        for (const QString &word : run.out.trimmed().split(u'\n'))
            words += word.section(u'\t', 0, 0);
        std::sort(words.begin() + (isClient ? 1 : 0), words.end());
        QCOMPARE(typed + u": "_s + words.join(u' '), typed + u": "_s + offered);
    }
}

void TestShells::ManualPagesAndHelpAgree()
{
    const QString page = Page(u"taskmillctl.1"_s);
    const QString help = Run(QStringLiteral(TASKMILL_CTL), {u"--help"_s}).out;
    const QString commands = help.section(u"Commands:\n"_s, 1).section(u"\n\n"_s, 0, 0);
    QSet<QString> named;
    for (const QString &section : page.split(u"\n.Ss "_s).sliced(1)) {
        const QString name = section.section(u'\n', 0, 0);
        named += name;
        QVERIFY2(commands.contains(u"  "_s + name + u' '), qPrintable(name));
        const QString own =
            Run(QStringLiteral(TASKMILL_CTL), name.split(u' ') + QStringList{u"--help"_s}).out;
        QString synopsis = section.section(u"\n.Pp"_s, 0, 0).section(u'\n', 1);
        synopsis.replace(QRegularExpression{u"Op (?:Ar )?([^\n]*)"_s}, u"[\\1]"_s)
            .remove(
                QRegularExpression{u"^\\.|\\b(Nm|Cm|Ar)\\b|[\"\\s]"_s, QRegularExpression::MultilineOption});
        QCOMPARE(synopsis, own.section(u'\n', 0, 0).remove(u"Usage: taskmillctl"_s).remove(u' '));
        QCOMPARE(Sorted(Matches(section, u"^\\.It .*Fl -([\\w-]+)"_s)),
                 Sorted(Matches(own, u"^  (?:-h, )?--([\\w-]+)"_s)));
    }
    QCOMPARE(named.size(), commands.count(u'\n') + 1);

    const QString usage = Run(QStringLiteral(TASKMILL_MANAGER), {u"-console"_s, u"-help"_s}).out;
    const QSet<QString> inPage = Matches(Page(u"taskmill.1"_s), u"^\\.It Fl ([\\w-]+)"_s);
    const QSet<QString> inUsage = Matches(usage, u"\\[-(\\w+)"_s);
    QCOMPARE(inUsage.size(), 6);
    QVERIFY(inPage.contains(inUsage));

    const QString follower = QFileInfo{QStringLiteral(TASKMILL_CTL)}.path() + u"/taskmill-slurm"_s;
    if (!QFile::exists(follower))
        return;
    QCOMPARE(Sorted(Matches(Page(u"taskmill-slurm.1"_s), u"^\\.It Fl -([\\w-]+)"_s)),
             Sorted(Matches(Run(follower, {u"--help"_s}).out, u"^  --([\\w-]+)"_s)));
}

void TestShells::PageOfProjectsHasEveryColumn()
{
    StartJobs();
    QCOMPARE(Manager().Ctl({u"save"_s}).status, 0);
    QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"page"_s);
    database.setDatabaseName(Project().ProjectPath());
    QVERIFY(database.open());
    QSet<QString> columns;
    for (const QString &table : database.tables()) {
        const QSqlRecord record = database.record(table);
        for (int column = 0; column < record.count() && table != "RunningJobs"_L1 && table != "Jobs"_L1;
             ++column)
            columns += record.fieldName(column);
    }
    QCOMPARE(Sorted(Matches(Page(u"taskmill.mill.5"_s), u"^\\.It Va (\\w+)"_s)), Sorted(columns));
    database = {};
    QSqlDatabase::removeDatabase(u"page"_s);
}

void TestShells::PagesAreClean_data()
{
    QTest::addColumn<QString>("page");
    for (const QString &page : QDir{QStringLiteral(TASKMILL_PAGES)}.entryList({u"taskmill*.[15]"_s}))
        QTest::newRow(qPrintable(page)) << page;
}

void TestShells::PagesAreClean()
{
    if (QStandardPaths::findExecutable(u"mandoc"_s).isEmpty())
        QSKIP("mandoc is not installed");
    QFETCH(const QString, page);
    // There it finds those that the page refers to.
    const ProgramRun run = Run(u"mandoc"_s, {u"-T"_s, u"lint"_s, page},
                               QProcessEnvironment::systemEnvironment(), QStringLiteral(TASKMILL_PAGES));
    // Of pages that were installed since the system listed them, which it does at night, nothing is wrong.
    QString complaints = run.out + run.err;
    complaints.remove(QRegularExpression{u"mandoc: outdated mandoc\\.db [^\\n]*\\n"_s});
    QCOMPARE(complaints, QString{});
    QVERIFY(run.status >= 0 && run.status <= 1);
}

void TestShells::ScriptsUseTheModule()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().AddTestType(u"Echo"_s, u"print done"_s));
    QVERIFY(Project().Start());
    const ProgramRun run = Run(
        u"python3"_s,
        {QStringLiteral(TASKMILL_SOURCE) + u"/tests/endtoend/scripts.py"_s, QStringLiteral(TASKMILL_SOURCE)},
        Environment(), Project().Path({}));
    if (run.status == 77)
        QSKIP("python3-jsonschema is not installed");
    QCOMPARE(run.err, QString{});
    QCOMPARE(run.out, u"passed\n"_s);
}

QTEST_GUILESS_MAIN(TestShells)
#include "test_shells.moc"
