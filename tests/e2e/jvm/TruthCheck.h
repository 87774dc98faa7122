// Compares the positions Java received with what the simulated module sent, carried through
// the library's own conversion chain.
#ifndef GPSDR_TESTS_E2E_JVM_TRUTHCHECK_H
#define GPSDR_TESTS_E2E_JVM_TRUTHCHECK_H

#include <string>
#include <vector>

#include "tools/common/GisCall.h"

// Checks every call (labelled with its phase) against the simulator's truth file; returns the
// failures, one per line. Each phase must have at least `minTimed` calls that carry the time.
std::vector<std::string> CheckAgainstTruth(const std::vector<GisCall>& calls, const std::string& truthPath,
                                           int minTimed);

#endif
