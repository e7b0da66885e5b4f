#include "ctl/ctl.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    return static_cast<int>(Taskmill_RunCtl(QCoreApplication::arguments()));
}
