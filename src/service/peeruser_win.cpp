#include "service/peeruser.h"

bool Taskmill_IsOtherUser(const QTcpSocket &)
{
    return false;
}
