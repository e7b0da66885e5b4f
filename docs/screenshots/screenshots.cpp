// SPDX-License-Identifier: MIT
// Makes pictures of the window, its menus, viewers and dialogs:
//   screenshots DIRECTORY SCALE [dark]
// The jobs are real ones, of the programs mopac and xtb.

#include "ctl/ctlrun.h"
#include "endtoend/desktop.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "manager/version.h"

#include <QDir>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString longJobs = u"Long Jobs Queue"_s;
const QString shortJobs = u"Short Jobs Queue"_s;
const QString finishedJobs = u"Finished Jobs"_s;
const QString jobTypes = u"Job Types"_s;

const QByteArray darkColours =
    "[Colors:Window]\nBackgroundNormal=42,46,50\nForegroundNormal=252,252,252\n"
    "[Colors:View]\nBackgroundNormal=27,30,32\nBackgroundAlternate=35,38,41\nForegroundNormal=252,252,"
    "252\nForegroundLink=29,153,243\n"
    "[Colors:Button]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n"
    "[Colors:Selection]\nBackgroundNormal=61,174,233\nForegroundNormal=252,252,252\n"
    "[Colors:Tooltip]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n";

const QByteArray ethanol =
    "PM7 PRECISE\nEthanol, optimised with PM7\n\nC 0.00 1 0.0 1 0.0 1\n"
    "C 1.52 1 0.0 1 0.0 1 1\nO 1.43 1 109.0 1 0.0 1 2 1\nH 0.97 1 108.0 1 180.0 1 3 2 1\n"
    "H 1.10 1 110.0 1 180.0 1 1 2 3\nH 1.10 1 110.0 1 60.0 1 1 2 3\n"
    "H 1.10 1 110.0 1 -60.0 1 1 2 3\nH 1.10 1 110.0 1 120.0 1 2 1 3\n"
    "H 1.10 1 110.0 1 -120.0 1 2 1 3\n";

const QByteArray benzene =
    "PM7 FORCE THERMO\nBenzene, vibrations\n\nC 0.000 1.396 0.000\nC 1.209 0.698 0.000\n"
    "C 1.209 -0.698 0.000\nC 0.000 -1.396 0.000\nC -1.209 -0.698 0.000\n"
    "C -1.209 0.698 0.000\nH 0.000 2.480 0.000\nH 2.148 1.240 0.000\n"
    "H 2.148 -1.240 0.000\nH 0.000 -2.480 0.000\nH -2.148 -1.240 0.000\n"
    "H -2.148 1.240 0.000\n";

const QByteArray caffeine = "24\nCaffeine\nC 1.07 0.05 -0.08\nN 2.51 0.01 -0.08\nC 3.35 1.10 -0.08\n"
                            "N 4.62 0.73 -0.08\nC 4.58 -0.63 -0.08\nC 3.30 -1.10 -0.08\nC 2.98 -2.49 -0.07\n"
                            "O 1.83 -2.90 -0.08\nN 4.11 -3.30 -0.07\nC 5.45 -2.86 -0.07\nO 6.39 -3.66 -0.07\n"
                            "N 5.66 -1.48 -0.07\nC 7.01 -0.94 -0.08\nC 3.92 -4.74 -0.06\nH 0.73 1.09 -0.08\n"
                            "H 0.71 -0.46 0.82\nH 0.71 -0.46 -0.98\nH 2.99 2.12 -0.07\nH 7.77 -1.73 -0.08\n"
                            "H 7.15 -0.32 0.82\nH 7.15 -0.32 -0.97\nH 2.87 -5.02 -0.06\nH 4.40 -5.16 0.83\n"
                            "H 4.40 -5.17 -0.95\n";

/// Ends the program when a step of its has no result.
void Must(bool done, const char *what)
{
    if (done)
        return;
    std::fprintf(stderr, "no picture: %s\n", what);
    ProcessTable::EndChildren();
    std::exit(1);
}

/// The window with a project full of jobs, and a camera.
class Studio
{
public:
    Studio(QString directory, int scale, bool dark)
        : m_directory{std::move(directory)}
        , m_scale{scale}
        , m_dark{dark}
        , m_desktop{scale}
    {
    }
    ~Studio() { m_project.EndManager(); }
    Q_DISABLE_COPY_MOVE(Studio)

    void Open();
    void RunJobs();
    void PhotographTabs();
    void PhotographDetails();
    void PhotographMenusAndViewers();
    void PhotographDialogs();

private:
    void WaitFor(const QString &cell) const
    {
        Must(m_desktop.WaitForControl(u"cell"_s, cell), qPrintable(cell));
    }
    void Click(const QString &role, const QString &name, int button = 1) const
    {
        Must(m_desktop.ClickControl(role, name, button), qPrintable(name));
    }
    void Press(const QString &button) const { Click(u"push button"_s, button); }
    void ChooseTab(const QString &tab) const { Click(u"page tab"_s, tab); }
    [[nodiscard]] DesktopWindow Window(const QString &title) const;
    /// Photographs a window, with the menu over it if there is one.
    void Take(const QString &name, const DesktopWindow &window, bool withMenu = false) const;
    /// Photographs the window with the menu that the key opens.
    void TakeMenuBar(const QString &name, const QString &key) const;
    void TakeMenuOf(const QString &name, const QString &job) const;
    /// Photographs a dialog and closes it.
    void TakeDialog(const QString &name, const QString &title) const;
    /// Opens a viewer by the menu of a job; the line does not count entries that are grey.
    void TakeViewer(const QString &name, const QString &job, int line, const QString &title) const;
    void Submit(const QString &type, const QString &file, const QByteArray &content, const QString &queue);

    const QString m_directory;
    const int m_scale;
    const bool m_dark;
    ProjectFixture m_project;
    Desktop m_desktop;
};

void Studio::Open()
{
    const QString mopac = QStandardPaths::findExecutable(u"mopac"_s);
    const QString xtb = QStandardPaths::findExecutable(u"xtb"_s);
    const QString coordinates = u"Coordinate Files (*.xyz)"_s;
    Must(RunCtl({u"project"_s, u"create"_s, m_project.ProjectPath()}).status == 0, "project");
    // As in the manual's recipe, beside which the picture of the editor stands.
    Must(RunCtl({u"types"_s, u"add"_s, m_project.ProjectPath(), u"--name"_s, u"MOPAC"_s, u"--exe"_s, mopac,
                 u"--queue"_s, u"short"_s, u"--command-line"_s, u"@EXEFILE @INFILE"_s, u"--input-filter"_s,
                 u"MOPAC Input Files (*.mop)"_s, u"--output-filter"_s, u"MOPAC Output Files (*.out)"_s})
                 .status == 0,
         "recipe");
    Must(m_project.AddType(u"xTB Optimisation"_s, xtb, u"@EXEFILE @INFILE --opt tight"_s, coordinates) &&
             m_project.AddType(u"xTB Dynamics"_s, xtb, u"@EXEFILE @INFILE --md"_s, coordinates),
         "job types");
    Must(m_desktop.Start(), "desktop");
    QStringList variables = m_desktop.Variables();
    variables += u"OMP_NUM_THREADS=1"_s;
    // Their messages would lie over the pictures.
    WriteTestFile(m_project.Path(u"Taskmill.conf"_s), "[1]\nGeneral\\Desktop_Notifications=Off\n");
    variables += u"TASKMILLPREFS_DIR="_s + m_project.Path(u"."_s);
    if (m_dark) {
        WriteTestFile(m_project.Path(u"kdeglobals"_s), darkColours);
        variables += {u"XDG_CURRENT_DESKTOP=KDE"_s, u"KDE_SESSION_VERSION=5"_s};
    }
    Must(m_project.StartOnDesktop(variables), "manager");
    (void)Window(Taskmill_VersionText());
}

void Studio::Submit(const QString &type, const QString &file, const QByteArray &content, const QString &queue)
{
    Must(m_project.Manager().Submit(type, m_project.InputFile(file, content), queue).startsWith("accepted="),
         qPrintable(file));
}

void Studio::RunJobs()
{
    for (const QString &name : {u"ethanol.mop"_s, u"ethanol-2.mop"_s, u"ethanol-3.mop"_s})
        Submit(u"MOPAC"_s, name, ethanol, u"none"_s);
    Submit(u"MOPAC"_s, u"benzene-vibrations.mop"_s, benzene, u"none"_s);
    Submit(u"xTB Optimisation"_s, u"caffeine.xyz"_s, caffeine, u"none"_s);
    Submit(u"xTB Optimisation"_s, u"lactose-draft.xyz"_s, "12\nno atoms yet\n", u"none"_s);
    QByteArray typo = benzene;
    Submit(u"MOPAC"_s, u"benzene-draft.mop"_s, typo.replace("THERMO", "TERMO"), u"none"_s);
    ChooseTab(finishedJobs);
    WaitFor(u"caffeine.xyz"_s);
    WaitFor(u"benzene-vibrations.mop"_s);

    Submit(u"xTB Dynamics"_s, u"caffeine-300K.xyz"_s, caffeine, u"none"_s);
    for (const QString &name : {u"caffeine-dimer.xyz"_s, u"theobromine.xyz"_s, u"theophylline.xyz"_s,
                                u"paraxanthine.xyz"_s, u"uric-acid.xyz"_s})
        Submit(u"xTB Dynamics"_s, name, caffeine, u"long"_s);
    for (const QString &name : {u"toluene.mop"_s, u"o-xylene.mop"_s, u"m-xylene.mop"_s, u"p-xylene.mop"_s})
        Submit(u"MOPAC"_s, name, benzene, u"short"_s);
    ChooseTab(longJobs);
    Press(u"Unpause Queue"_s);
    WaitFor(u"Running"_s);
}

DesktopWindow Studio::Window(const QString &title) const
{
    const auto window = m_desktop.WaitForWindow(title);
    Must(window.has_value(), qPrintable(title));
    return *window;
}

void Studio::Take(const QString &name, const DesktopWindow &window, bool withMenu) const
{
    QRect part = window.Geometry;
    if (withMenu) {
        const auto menu = m_desktop.WaitForPopup();
        Must(menu.has_value(), "menu");
        part |= menu->Geometry;
    } else {
        // The pointer over no window of Taskmill.
        m_desktop.Run(u"xdotool"_s, {u"mousemove"_s, u"2"_s, QString::number(1198 * m_scale)});
    }
    // What has just changed is drawn within this time.
    QTest::qWait(400);
    const QString file =
        u"%1/%2%3@%4x.png"_s.arg(m_directory, name, m_dark ? u"-dark"_s : QString{}).arg(m_scale);
    const QString crop = u"%1x%2+%3+%4"_s.arg(part.width()).arg(part.height()).arg(part.x()).arg(part.y());
    m_desktop.Run(u"import"_s, {u"-window"_s, u"root"_s, u"-crop"_s, crop, u"+repage"_s, u"-strip"_s, file});
    Must(QFile::exists(file), qPrintable(file));
    std::printf("%s\n", qPrintable(file));
}

void Studio::TakeMenuBar(const QString &name, const QString &key) const
{
    m_desktop.Press(key);
    Take(name, Window(Taskmill_VersionText()), true);
    m_desktop.Press(u"Escape Escape"_s);
}

void Studio::TakeMenuOf(const QString &name, const QString &job) const
{
    Click(u"cell"_s, job, 3);
    Take(name, Window(Taskmill_VersionText()), true);
    m_desktop.Press(u"Escape"_s);
}

void Studio::TakeDialog(const QString &name, const QString &title) const
{
    Take(name, Window(title));
    m_desktop.Press(u"Escape"_s);
    Must(m_desktop.WaitUntilGone(title), qPrintable(title));
}

void Studio::TakeViewer(const QString &name, const QString &job, int line, const QString &title) const
{
    Click(u"cell"_s, job, 3);
    Must(m_desktop.WaitForPopup().has_value(), "menu");
    m_desktop.Press(QStringList(line, u"Down"_s).join(u' ') + u" Return"_s);
    const DesktopWindow viewer = Window(title + u" - File Stream Viewer"_s);
    Take(name, viewer);
    Must(m_desktop.Close(viewer), "viewer");
}

void Studio::PhotographTabs()
{
    for (const QString &tab :
         {longJobs, shortJobs, u"Queueless Jobs"_s, u"Running Jobs"_s, finishedJobs, jobTypes}) {
        ChooseTab(tab);
        // Such as "longjobs".
        Take(QString{tab}.remove(u" Queue"_s).remove(u' ').toLower(), Window(Taskmill_VersionText()));
    }
}

/// Of an optimisation the plots, of a job that failed the line that says why.
void Studio::PhotographDetails()
{
    ChooseTab(finishedJobs);
    Click(u"cell"_s, u"caffeine.xyz"_s);
    m_desktop.Press(u"F4"_s);
    for (const auto &[name, job, page] :
         {std::tuple{u"details-progress"_s, u"caffeine.xyz"_s, u"Progress"_s},
          std::tuple{u"details-general"_s, u"caffeine.xyz"_s, u"General"_s},
          std::tuple{u"details-output"_s, u"benzene-draft.mop"_s, u"Output"_s}}) {
        Click(u"cell"_s, job);
        Click(u"page tab"_s, page);
        Take(name, Window(Taskmill_VersionText()));
    }
    Click(u"push button"_s, u"Hide Details"_s);
}

void Studio::PhotographMenusAndViewers()
{
    ChooseTab(longJobs);
    Click(u"cell"_s, u"caffeine-dimer.xyz"_s);
    for (const auto &[name, key] :
         {std::pair{u"menu-project"_s, u"alt+j"_s}, std::pair{u"menu-jobs"_s, u"alt+b"_s},
          std::pair{u"menu-queue"_s, u"alt+q"_s}, std::pair{u"menu-view"_s, u"alt+v"_s}})
        TakeMenuBar(name, key);
    TakeMenuOf(u"longjobs-menu"_s, u"caffeine-dimer.xyz"_s);
    TakeViewer(u"viewer-stream"_s, u"caffeine-dimer.xyz"_s, 4, u"Log of caffeine-dimer.xyz"_s);
    ChooseTab(finishedJobs);
    TakeMenuOf(u"finishedjobs-menu"_s, u"ethanol.mop"_s);
    TakeViewer(u"viewer-log"_s, u"caffeine.xyz"_s, 3, u"Log of caffeine.xyz"_s);
}

void Studio::PhotographDialogs()
{
    ChooseTab(jobTypes);
    TakeMenuOf(u"jobtypes-menu"_s, u"MOPAC"_s);
    Click(u"cell"_s, u"MOPAC"_s);
    m_desktop.Press(u"Return"_s);
    TakeDialog(u"jobtype"_s, u"Edit Job Type"_s);

    Press(u"Submit Jobs..."_s);
    TakeDialog(u"submit-empty"_s, u"Submit Jobs"_s);
    // The answer comes only when the dialog is closed.
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, m_project.Manager().Port());
    client.write("clientname=Sketcher\naction=submitjob\nconfirmaction=yes\njobqueue=Long\njobinputfile=" +
                 m_project.Path(u"ethanol.mop"_s).toUtf8() + "\nclientreply=yes\n");
    // It stays connected: while other users are about, who closes at once is refused.
    Must(client.waitForBytesWritten(), "request");
    Take(u"submit"_s, Window(u"Submit Jobs"_s));
    Click(u"page tab"_s, u"UI Options"_s);
    TakeDialog(u"submit-options"_s, u"Submit Jobs"_s);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    QCoreApplication::setApplicationName(u"calculations"_s);
    const QStringList arguments = QCoreApplication::arguments();
    Must(arguments.size() >= 3 && QDir{}.mkpath(arguments[1]), "arguments: DIRECTORY SCALE [dark]");
    Studio studio{arguments[1], arguments[2].toInt(), arguments.contains(u"dark"_s)};
    studio.Open();
    studio.RunJobs();
    studio.PhotographTabs();
    studio.PhotographDetails();
    studio.PhotographMenusAndViewers();
    studio.PhotographDialogs();
    return 0;
}
