#include "tools/common/Pty.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

bool MakeRawNonBlocking(int fd, bool setSpeed)
{
    termios tio;
    if (tcgetattr(fd, &tio) != 0) return false;
    cfmakeraw(&tio);
    if (setSpeed) cfsetspeed(&tio, B115200);
    if (tcsetattr(fd, TCSANOW, &tio) != 0) return false;
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

int OpenRawPty(std::string& slavePath, std::string& error)
{
    const int fd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const char* slave = nullptr;
    if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0 || (slave = ptsname(fd)) == nullptr ||
        !MakeRawNonBlocking(fd, false)) {
        error = std::string("cannot set up a pseudo-terminal: ") + std::strerror(errno);
        if (fd >= 0) close(fd);
        return -1;
    }
    slavePath = slave;
    return fd;
}
