// Makes pictures of the window with everything that can be seen in it:
//   screenshots DIRECTORY SCALE [dark]
// The jobs are real ones, of the programs mopac and xtb.

#include "endtoend/desktop.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "endtoend/screenreader.h"
#include "service/version.h"

#include <QDir>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString longJobs = u"Long Jobs Queue"_s;
const QString shortJobs = u"Short Jobs Queue"_s;
const QString queuelessJobs = u"Queueless Jobs"_s;
const QString runningJobs = u"Running Jobs"_s;
const QString finishedJobs = u"Finished Jobs"_s;
const QString jobTypes = u"Job Types"_s;

const QString darkColours = uR"([Colors:Window]
BackgroundNormal=42,46,50
ForegroundNormal=252,252,252
[Colors:View]
BackgroundNormal=27,30,32
BackgroundAlternate=35,38,41
ForegroundNormal=252,252,252
ForegroundLink=29,153,243
[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=252,252,252
[Colors:Tooltip]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
)"_s;

const QByteArray ethanol = R"(PM7 PRECISE
Ethanol, optimised with PM7

C   0.00 1    0.0 1    0.0 1
C   1.52 1    0.0 1    0.0 1  1
O   1.43 1  109.0 1    0.0 1  2  1
H   0.97 1  108.0 1  180.0 1  3  2  1
H   1.10 1  110.0 1  180.0 1  1  2  3
H   1.10 1  110.0 1   60.0 1  1  2  3
H   1.10 1  110.0 1  -60.0 1  1  2  3
H   1.10 1  110.0 1  120.0 1  2  1  3
H   1.10 1  110.0 1 -120.0 1  2  1  3
)";

const QByteArray benzene = R"(PM7 FORCE THERMO
Benzene, vibrations

C  0.000  1.396 0.000
C  1.209  0.698 0.000
C  1.209 -0.698 0.000
C  0.000 -1.396 0.000
C -1.209 -0.698 0.000
C -1.209  0.698 0.000
H  0.000  2.480 0.000
H  2.148  1.240 0.000
H  2.148 -1.240 0.000
H  0.000 -2.480 0.000
H -2.148 -1.240 0.000
H -2.148  1.240 0.000
)";

const QByteArray caffeine = R"(24
Caffeine
C          1.07317        0.04885       -0.07573
N          2.51365        0.01256       -0.07580
C          3.35199        1.09592       -0.07533
N          4.61898        0.73028       -0.07549
C          4.57907       -0.63144       -0.07531
C          3.30131       -1.10256       -0.07524
C          2.98068       -2.48687       -0.07377
O          1.82530       -2.90038       -0.07577
N          4.11440       -3.30433       -0.06936
C          5.45174       -2.85618       -0.07235
O          6.38934       -3.65965       -0.07232
N          5.66240       -1.47682       -0.07487
C          7.00947       -0.93648       -0.07524
C          3.92063       -4.74093       -0.06158
H          0.73398        1.08786       -0.07503
H          0.71239       -0.45698        0.82335
H          0.71240       -0.45580       -0.97549
H          2.99301        2.11762       -0.07478
H          7.76531       -1.72634       -0.07591
H          7.14864       -0.32182        0.81969
H          7.14802       -0.32076       -0.96953
H          2.86501       -5.02316       -0.05833
H          4.40233       -5.15920        0.82837
H          4.40017       -5.16929       -0.94780
)";

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
        , m_desktop{Desktop::Tray::Shown, scale}
    {
    }
    ~Studio()
    {
        m_reader.reset();
        m_project.EndManager();
    }
    Q_DISABLE_COPY_MOVE(Studio)

    void Open();
    void RunJobs();
    void PhotographTabs();
    void PhotographMenus();
    void PhotographViewers();
    void PhotographQuestions();
    void PhotographDialogs();

private:
    [[nodiscard]] ScreenControl Control(const QString &role, const QString &name) const;
    void Click(const QString &role, const QString &name, int button = 1) const;
    void Press(const QString &button) const { Click(u"push button"_s, button); }
    void ChooseTab(const QString &tab) const { Click(u"page tab"_s, tab); }
    [[nodiscard]] DesktopWindow Window(const QString &title) const;
    /// Photographs a window, with the menu over it if there is one.
    void Take(const QString &name, const DesktopWindow &window, bool withMenu = false) const;
    void TakeMain(const QString &name) const { Take(name, Window(Taskmill_VersionText())); }
    void TakeMenuOf(const QString &name, const QString &job) const;
    /// Photographs a dialog and closes it with a key or a button.
    void TakeDialog(const QString &name, const QString &title, const QString &button = {}) const;
    /// Opens a viewer by the menu of a job; the line does not count entries that are grey.
    void TakeViewer(const QString &name, const QString &job, int line) const;
    void Submit(const QString &type, const QString &file, const QByteArray &content, const QString &queue);

    const QString m_directory;
    const int m_scale;
    const bool m_dark;
    ProjectFixture m_project;
    Desktop m_desktop;
    std::unique_ptr<ScreenReader> m_reader;
};

void Studio::Open()
{
    const QString mopac = QStandardPaths::findExecutable(u"mopac"_s);
    const QString xtb = QStandardPaths::findExecutable(u"xtb"_s);
    const QString coordinates = u"Coordinate Files (*.xyz)"_s;
    Must(m_project.AddType(u"MOPAC"_s, mopac, u"@EXEFILE @INFILE"_s, u"MOPAC Input Files (*.mop)"_s) &&
             m_project.AddType(u"xTB Optimisation"_s, xtb, u"@EXEFILE @INFILE --opt tight"_s, coordinates) &&
             m_project.AddType(u"xTB Dynamics"_s, xtb, u"@EXEFILE @INFILE --md"_s, coordinates),
         "job types");
    Must(m_desktop.Start(), "desktop");
    m_reader = std::make_unique<ScreenReader>(m_desktop.BusAddress());
    QStringList variables = m_desktop.Variables();
    variables += u"OMP_NUM_THREADS=1"_s;
    if (m_dark) {
        WriteTestFile(m_project.Path(u"kdeglobals"_s), darkColours.toUtf8());
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
    ChooseTab(finishedJobs);
    (void)Control(u"cell"_s, u"caffeine.xyz"_s);
    (void)Control(u"cell"_s, u"benzene-vibrations.mop"_s);

    Submit(u"xTB Dynamics"_s, u"caffeine-300K.xyz"_s, caffeine, u"none"_s);
    for (const QString &name : {u"caffeine-dimer.xyz"_s, u"theobromine.xyz"_s, u"theophylline.xyz"_s,
                                u"paraxanthine.xyz"_s, u"uric-acid.xyz"_s})
        Submit(u"xTB Dynamics"_s, name, caffeine, u"long"_s);
    for (const QString &name : {u"toluene.mop"_s, u"o-xylene.mop"_s, u"m-xylene.mop"_s, u"p-xylene.mop"_s})
        Submit(u"MOPAC"_s, name, benzene, u"short"_s);
    ChooseTab(longJobs);
    Press(u"Unpause Queue"_s);
    (void)Control(u"cell"_s, u"Running"_s);
}

ScreenControl Studio::Control(const QString &role, const QString &name) const
{
    auto control = m_reader->WaitFor(role, name);
    Must(control.has_value(), qPrintable(name));
    control->Geometry = {control->Geometry.topLeft() * m_scale, control->Geometry.size() * m_scale};
    return *control;
}

void Studio::Click(const QString &role, const QString &name, int button) const
{
    m_desktop.Click(Control(role, name).Geometry.center(), button);
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
        m_desktop.MovePointerAway();
    }
    // What has just changed is drawn within this time.
    QTest::qWait(400);
    const QString file =
        u"%1/%2%3@%4x.png"_s.arg(m_directory, name, m_dark ? u"-dark"_s : QString{}).arg(m_scale);
    Must(m_desktop.Photograph(part, file), qPrintable(file));
    std::printf("%s\n", qPrintable(file));
}

void Studio::TakeMenuOf(const QString &name, const QString &job) const
{
    Click(u"cell"_s, job, 3);
    Take(name, Window(Taskmill_VersionText()), true);
    m_desktop.Press(u"Escape"_s);
}

void Studio::TakeDialog(const QString &name, const QString &title, const QString &button) const
{
    Take(name, Window(title));
    if (button.isEmpty())
        m_desktop.Press(u"Escape"_s);
    else
        Press(button);
    Must(m_desktop.WaitUntilGone(title), qPrintable(title));
}

void Studio::TakeViewer(const QString &name, const QString &job, int line) const
{
    Click(u"cell"_s, job, 3);
    Must(m_desktop.WaitForPopup().has_value(), "menu");
    for (int number = 0; number < line; ++number)
        m_desktop.Press(u"Down"_s);
    m_desktop.Press(u"Return"_s);
    const DesktopWindow viewer = Window(u"File Stream Viewer"_s);
    Take(name, viewer);
    Must(m_desktop.Close(viewer), "viewer");
}

void Studio::PhotographTabs()
{
    const QList<std::pair<QString, QString>> tabs{
        {longJobs, u"longjobs"_s},           {shortJobs, u"shortjobs"_s},
        {queuelessJobs, u"queuelessjobs"_s}, {runningJobs, u"runningjobs"_s},
        {finishedJobs, u"finishedjobs"_s},   {jobTypes, u"jobtypes"_s}};
    for (const auto &[tab, name] : tabs) {
        ChooseTab(tab);
        TakeMain(name);
    }
}

void Studio::PhotographMenus()
{
    ChooseTab(longJobs);
    TakeMenuOf(u"longjobs-menu"_s, u"caffeine-dimer.xyz"_s);
    ChooseTab(finishedJobs);
    TakeMenuOf(u"finishedjobs-menu"_s, u"ethanol.mop"_s);
    const auto icon = m_desktop.WaitForTrayIcon();
    Must(icon.has_value(), "tray icon");
    m_desktop.Click(icon->Geometry.center(), 3);
    Take(u"tray-menu"_s, *icon, true);
    m_desktop.Press(u"Escape"_s);
}

void Studio::PhotographViewers()
{
    ChooseTab(finishedJobs);
    TakeViewer(u"viewer-input"_s, u"ethanol.mop"_s, 2);
    TakeViewer(u"viewer-output"_s, u"ethanol.mop"_s, 3);
    TakeViewer(u"viewer-log"_s, u"caffeine.xyz"_s, 3);
    ChooseTab(longJobs);
    TakeViewer(u"viewer-stream"_s, u"caffeine-dimer.xyz"_s, 4);
}

void Studio::PhotographQuestions()
{
    ChooseTab(longJobs);
    Click(u"cell"_s, u"caffeine-dimer.xyz"_s);
    m_desktop.Press(u"ctrl+a"_s);
    m_desktop.Press(u"Delete"_s);
    const QString remove = u"Remove Selected Jobs"_s;
    TakeDialog(u"question-remove"_s, remove, u"Yes"_s);
    TakeDialog(u"question-remove-running"_s, u"Removal of Selected Running Jobs"_s, u"Cancel"_s);
    Click(u"cell"_s, u"caffeine-dimer.xyz"_s, 3);
    Must(m_desktop.WaitForPopup().has_value(), "menu");
    for (int number = 0; number < 5; ++number)
        m_desktop.Press(u"Down"_s);
    m_desktop.Press(u"Return"_s);
    TakeDialog(u"question-limit"_s, u"Maximum Number of Running Jobs Allowed"_s);
    Press(u"About"_s);
    TakeDialog(u"about"_s, u"About TaskmillGUI"_s);
    Press(u"Exit"_s);
    TakeDialog(u"question-exit"_s, u"Exit Taskmill"_s, u"Yes"_s);
    TakeDialog(u"question-save"_s, u"Save Changes to Current Project?"_s);
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
                 m_project.Path(u"ethanol.mop"_s).toUtf8() + '\n');
    client.disconnectFromHost();
    Must(client.state() == QAbstractSocket::UnconnectedState || client.waitForDisconnected(), "request");
    Take(u"submit"_s, Window(u"Submit Jobs"_s));
    Click(u"page tab"_s, u"UI Options"_s);
    TakeDialog(u"submit-options"_s, u"Submit Jobs"_s);

    Press(u"Help"_s);
    const DesktopWindow help = Window(u"Introduction"_s);
    Take(u"help"_s, help);
    Must(m_desktop.Close(help), "manual");
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
    studio.PhotographMenus();
    studio.PhotographViewers();
    studio.PhotographDialogs();
    studio.PhotographQuestions();
    return 0;
}
