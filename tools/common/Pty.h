// Pseudo-terminals the tools offer to a host in place of a serial device.
#ifndef GPSDR_TOOLS_COMMON_PTY_H
#define GPSDR_TOOLS_COMMON_PTY_H

#include <string>

// Raw and non-blocking; at the module's line speed (115200 baud) when setSpeed.
bool MakeRawNonBlocking(int fd, bool setSpeed);

// A new pseudo-terminal: returns its master, raw and non-blocking (which makes the slave raw
// too), and the slave's path for the host to open; -1 with a message in error.
int OpenRawPty(std::string& slavePath, std::string& error);

#endif
