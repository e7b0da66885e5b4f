#include "app/startup.h"

int main(int argc, char **argv)
{
    return Taskmill_Run(argc, argv);
}
