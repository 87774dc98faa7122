// printf into a std::string, for the tools' text output.
#ifndef GPSDR_TOOLS_COMMON_FORMAT_H
#define GPSDR_TOOLS_COMMON_FORMAT_H

#include <string>

// At most 511 characters; longer results are cut.
std::string Format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

#endif
