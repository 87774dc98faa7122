// The serial-port state codes of CMM::CheckSerialPortError as the tools print them.
#ifndef GPSDR_TOOLS_COMMON_PORTSTATE_H
#define GPSDR_TOOLS_COMMON_PORTSTATE_H

const char* PortStateName(int state);  // MM_PORT_*; "unknown" for anything else

#endif
