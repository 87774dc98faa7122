// Compares the positions Java received with what the simulated module sent, carried through
// the library's own conversion chain.
#ifndef GPSDR_TESTS_E2E_JVM_TRUTHCHECK_H
#define GPSDR_TESTS_E2E_JVM_TRUTHCHECK_H

#include <string>
#include <vector>

// One sendGISInfo call as the Java side reported it: "CALL <phase> lat lon alt a b heading
// reserved time".
struct ReportedCall {
    std::string phase;
    double lat, lon, alt;
    int a, b, heading, reserved;
    std::string time;
};

bool ParseReportedCall(const std::string& line, ReportedCall& call);

// Checks every call against the simulator's truth file; returns the failures, one per line.
// Each phase must have at least `minTimed` calls that carry the module's time.
std::vector<std::string> CheckAgainstTruth(const std::vector<ReportedCall>& calls,
                                           const std::string& truthPath, int minTimed);

#endif
