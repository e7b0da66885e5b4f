#include "wire/peeruser.h"

bool Taskmill_IsOtherUser(Taskmill_Socket::Handle)
{
    return false;
}
