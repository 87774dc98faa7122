// The module's 16-byte names (product, hardware) as UTF-8, read as the library reads them.
#ifndef GPSDR_TOOLS_COMMON_ZELKOTEXT_H
#define GPSDR_TOOLS_COMMON_ZELKOTEXT_H

#include <string>

std::string ZelkoNameText(const unsigned char* name16);

#endif
