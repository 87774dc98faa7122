#include "tools/common/JsonFields.h"

#include <cmath>
#include <cstdlib>

double JsonNumber(const std::string& line, const std::string& key, int index)
{
    size_t at = line.find("\"" + key + "\":");
    if (at == std::string::npos) return NAN;
    at += key.size() + 3;
    if (at < line.size() && line[at] == '[') ++at;
    for (int i = 0; i < index; ++i) {
        at = line.find(',', at);
        if (at++ == std::string::npos) return NAN;
    }
    const char* begin = line.c_str() + at;
    char* end = nullptr;
    const double v = std::strtod(begin, &end);
    return end == begin ? NAN : v;
}

std::string JsonText(const std::string& line, const std::string& key)
{
    const std::string open = "\"" + key + "\":\"";
    const size_t at = line.find(open);
    if (at == std::string::npos) return "";
    const size_t from = at + open.size(), to = line.find('"', from);
    return to == std::string::npos ? "" : line.substr(from, to - from);
}
