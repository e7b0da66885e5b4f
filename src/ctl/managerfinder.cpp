#include "ctl/managerfinder.h"

#include "ctl/output.h"
#include "kilnutil/computerdata.h"
#include "service/instanceprobe.h"

#include <QCommandLineParser>
#include <QList>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString guiOption = u"gui"_s;
const QString consoleOption = u"console"_s;
const QString portOption = u"port"_s;

QList<Taskmill_ManagerAddress> AddressesToTry(const QCommandLineParser &parser, Taskmill_ManagerChoice choice)
{
    const bool onlyGui = choice == Taskmill_ManagerChoice::GuiOnly && !parser.isSet(consoleOption);
    const bool gui = parser.isSet(guiOption) || onlyGui;
    if (parser.isSet(portOption))
        return {{.Gui = gui, .Port = parser.value(portOption).toUShort()}};
    QList<Taskmill_ManagerAddress> addresses;
    if (!gui)
        addresses.append({.Gui = false, .Port = KilnUtil_ComputerData::TaskmillConsolePortNumber()});
    if (!parser.isSet(consoleOption))
        addresses.append({.Gui = true, .Port = KilnUtil_ComputerData::TaskmillGUIPortNumber()});
    return addresses;
}
} // namespace

void Taskmill_AddManagerOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {guiOption, u"Speak to the manager with a window."_s},
        {consoleOption, u"Speak to the manager on a console."_s},
        {portOption, u"Speak to the manager on this port."_s, u"N"_s},
    });
}

bool Taskmill_CheckManagerOptions(const QCommandLineParser &parser)
{
    if (parser.isSet(guiOption) && parser.isSet(consoleOption)) {
        Taskmill_PrintError(u"--gui and --console exclude each other"_s);
        return false;
    }
    if (parser.isSet(portOption) && parser.value(portOption).toUShort() == 0) {
        Taskmill_PrintError(u"--port needs a number from 1 to 65535"_s);
        return false;
    }
    return true;
}

std::optional<Taskmill_ManagerAddress> Taskmill_FindManager(const QCommandLineParser &parser,
                                                            Taskmill_ManagerChoice choice)
{
    QStringList ports;
    for (const Taskmill_ManagerAddress &address : AddressesToTry(parser, choice)) {
        if (Taskmill_IsManagerRunning(address.Gui, address.Port))
            return address;
        ports += QString::number(address.Port);
    }
    Taskmill_PrintError(u"No manager answers on port %1. Is Taskmill running?"_s.arg(ports.join(u" or "_s)));
    return std::nullopt;
}
