#include "simulator/pseudo_terminal.h"
#include "port/system_error.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>

bool openRawPty(int* master, int* keeper, std::string* path, std::string* failure)
{
    *master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[128] = {0};
    if (*master < 0)
        *failure = systemError("posix_openpt");
    else if (grantpt(*master) != 0 || unlockpt(*master) != 0)
        *failure = systemError("grantpt/unlockpt");
    else if (ptsname_r(*master, name, sizeof name) != 0)
        *failure = systemError("ptsname");
    if (!failure->empty())
        return false;
    *path = name;
    *keeper = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw{};
    if (*keeper < 0 || tcgetattr(*keeper, &raw) != 0) {
        *failure = systemError(name);
        return false;
    }
    for (int fd : {*keeper, *master}) {
        if (tcgetattr(fd, &raw) == 0) {
            cfmakeraw(&raw);
            tcsetattr(fd, TCSANOW, &raw);
        }
    }
    fcntl(*master, F_SETFL, fcntl(*master, F_GETFL) | O_NONBLOCK);
    return true;
}

