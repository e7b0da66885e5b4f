#include "ui/appwindow.h"

#include "jobs/processinspector.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/error.h"
#include "kilnutil/registry.h"
#include "service/consoleprompt.h"
#include "service/version.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QIcon>
#include <QScreen>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int leastDistanceToEdge = 10; // pixels
}

Taskmill_AppWindow::Taskmill_AppWindow(Taskmill_AppWindowOptions options)
    : m_options{std::move(options)}
    , m_inspector{Taskmill_MakeProcessInspector()}
    , m_jobTypes{m_store}
    , m_longJobs{m_store, m_finishedJobs, *m_inspector}
    , m_shortJobs{m_store, m_finishedJobs, *m_inspector}
    , m_queuelessJobs{m_finishedJobs, *m_inspector}
    , m_project{m_jobTypes, m_jobNumbers, {m_finishedJobs, m_longJobs, m_shortJobs, m_queuelessJobs}}
    , m_submitter{m_store, m_jobNumbers, {m_finishedJobs, m_longJobs, m_shortJobs, m_queuelessJobs}}
    , m_server{*this}
{
    if (Taskmill_IsGuiMode()) {
        m_window = std::make_unique<QMainWindow>();
        m_window->setWindowTitle(Taskmill_VersionText());
        m_window->setWindowIcon(QIcon{u":/taskmillgui"_s});
        m_window->installEventFilter(this);
    }
}

Taskmill_AppWindow::~Taskmill_AppWindow()
{
    ShutDown();
}

bool Taskmill_AppWindow::Initialise()
{
    const QString lastDirectory = KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    const QString startUpFile =
        m_options.StartUpFile.isEmpty() ? QString{} : QFileInfo{m_options.StartUpFile}.absoluteFilePath();
    if (!lastDirectory.isEmpty() && QFileInfo{lastDirectory}.isDir())
        QDir::setCurrent(lastDirectory);

    if (!startUpFile.isEmpty()) {
        if (!m_project.OpenProject(startUpFile))
            return false;
    } else if (!m_project.NewProject()) {
        return false;
    }
    m_server.Listen(Taskmill_IsGuiMode() ? KilnUtil_ComputerData::TaskmillGUIPortNumber()
                                         : KilnUtil_ComputerData::TaskmillConsolePortNumber());
    return true;
}

void Taskmill_AppWindow::Show(uint)
{
    if (m_window) {
        m_window->show();
        CentreWindow();
        m_window->raise();
        return;
    }
    const QByteArray banner = (m_options.Banner + u"\n\n"_s).toLocal8Bit();
    std::fwrite(banner.constData(), 1, static_cast<size_t>(banner.size()), stdout);
}

void Taskmill_AppWindow::Show()
{
    Show(Qt::WindowMaximized | Qt::WindowActive);
}

void Taskmill_AppWindow::CentreWindow()
{
    const QRect available = m_window->screen()->availableGeometry();
    m_window->resize((available.width() + 1) / 2, (available.height() + 1) / 2);
    QRect frame = m_window->frameGeometry();
    frame.moveCenter(available.center());
    m_window->move(qMax(frame.left(), available.left() + leastDistanceToEdge),
                   qMax(frame.top(), available.top() + leastDistanceToEdge));
}

void Taskmill_AppWindow::SystemTrayShowWindowSlot()
{
    if (!m_window)
        return;
    m_window->setWindowState((m_window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    m_window->showNormal();
    m_window->raise();
    m_window->activateWindow();
}

void Taskmill_AppWindow::SystemTrayHideWindowSlot()
{
    if (m_window)
        m_window->hide();
}

void Taskmill_AppWindow::QuitAtOnceSlot()
{
    if (!m_quitting && m_project.HasUnsavedChanges() && !m_project.FilePath().isEmpty() &&
        !m_project.SaveProject())
        qWarning("The project could not be saved to %ls", qUtf16Printable(m_project.FilePath()));
    ShutDown();
    QCoreApplication::exit(0);
}

bool Taskmill_AppWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window.get() && event->type() == QEvent::Close && !m_quitting)
        QuitAtOnceSlot();
    return QObject::eventFilter(watched, event);
}

void Taskmill_AppWindow::ShutDown()
{
    if (std::exchange(m_quitting, true))
        return;
    m_server.Close();
    m_project.CloseProject();
}

QByteArray Taskmill_AppWindow::HandleRequest(const Taskmill_RequestMessage &request)
{
    const auto actionIs = [&request](QLatin1StringView action) {
        return request.Action.compare(action, Qt::CaseInsensitive) == 0;
    };
    if (actionIs("show"_L1))
        SystemTrayShowWindowSlot();
    else if (actionIs("hide"_L1))
        SystemTrayHideWindowSlot();
    if (!actionIs("submitjob"_L1))
        return {};

    const Taskmill_SubmitResult result = m_submitter.Submit(request);
    if (result.JobIDs.isEmpty()) {
        qInfo("Request refused: %ls", qUtf16Printable(result.Refusal));
        return Taskmill_RefusedReply.toByteArray() + result.Refusal.toUtf8() + '\n';
    }
    QByteArrayList numbers;
    for (const int jobID : result.JobIDs)
        numbers += QByteArray::number(jobID);
    return Taskmill_AcceptedReply.toByteArray() + numbers.join(' ') + '\n';
}
