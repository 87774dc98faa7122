#include "tools/common/Format.h"

#include <cstdarg>
#include <cstdio>

std::string Format(const char* fmt, ...)
{
    char text[512];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    return text;
}
