// Polling with a deadline: tests wait for threads and devices this way, never with long sleeps.
#ifndef GPSDR_TESTS_SUPPORT_WAITUNTIL_H
#define GPSDR_TESTS_SUPPORT_WAITUNTIL_H

#include <chrono>
#include <thread>

namespace testsupport {

// Polls pred every millisecond until it holds or timeoutMs pass; returns its last value.
template <class Pred>
bool WaitUntil(Pred pred, int timeoutMs = 5000)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!pred()) {
        if (std::chrono::steady_clock::now() > end) return pred();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace testsupport

#endif
