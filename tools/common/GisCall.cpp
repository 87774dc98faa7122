#include "tools/common/GisCall.h"

#include <sstream>

bool ParseGisCall(const std::string& line, GisCall& c)
{
    std::istringstream in(line);
    std::string word;
    return (in >> word >> c.label >> c.ms >> c.lat >> c.lon >> c.alt >> c.a >> c.b >> c.heading >> c.reserved >>
            c.time) &&
           word == "CALL";
}
