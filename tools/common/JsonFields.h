// Fields of the flat JSON lines the tools write (zelko-sim's truth, zelko-decode's output): the
// one reader of them in the project.
#ifndef GPSDR_TOOLS_COMMON_JSONFIELDS_H
#define GPSDR_TOOLS_COMMON_JSONFIELDS_H

#include <string>

// The number after "key": (the index-th element when it is an array); NaN when absent.
double JsonNumber(const std::string& line, const std::string& key, int index = 0);

// The text of the string after "key":, without unescaping; empty when absent.
std::string JsonText(const std::string& line, const std::string& key);

#endif
