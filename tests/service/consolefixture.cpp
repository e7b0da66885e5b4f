#include "consolefixture.h"

#include <QThread>

using namespace Qt::Literals::StringLiterals;

ConsoleFixture::ConsoleFixture()
{
    Manager.NewProject();
}

ConsoleFixture::~ConsoleFixture()
{
    Console.reset();
    QDir::setCurrent(m_directory);
}

void ConsoleFixture::MakeConsole(AtEnd atEnd, const QStringList &lines, const QString &notice)
{
    auto terminal = std::make_unique<ScriptedTerminal>(atEnd, lines);
    Console.reset();
    Terminal = terminal.get();
    const QThread *mainThread = QThread::currentThread();
    const auto exit = [this, mainThread] {
        if (QThread::currentThread() == mainThread)
            ++Exits;
        Console->QuitSlot();
    };
    const Taskmill_ConsoleContext context{.Tabs = Manager.tabs,
                                          .RunningJobs = Running,
                                          .JobTypes = Manager.jobTypes,
                                          .Submitter = Manager.submitter,
                                          .Project = Manager.project,
                                          .Notice = notice,
                                          .Exit = exit};
    Console = std::make_unique<Taskmill_Console>(u"Banner"_s, atEnd == AtEnd::Interrupt, context,
                                                 std::move(terminal));
}

QString ConsoleFixture::Run(const QStringList &lines)
{
    MakeConsole(AtEnd::Interrupt, lines);
    Console->RunSlot();
    const QString beginning = u"Banner\n\n"_s + Prompt;
    const QString output = Terminal->Output();
    return output.startsWith(beginning) ? output.sliced(beginning.size()) : u"no banner: "_s + output;
}

QString ConsoleFixture::SubmitGated(Taskmill_QueueOwner &owner, const QString &fileName)
{
    if (Manager.jobTypes.Names().isEmpty())
        Manager.AddGatedJobType();
    QString file = Manager.InputFile(fileName);
    owner.Submit(Manager.NewJob(Manager.jobTypes.GetAll().first(), file));
    return file;
}
