// A stress cycle that does not end is a deadlock in the library. The run cannot go on from
// there, so the watchdog says which cycle hung and which library threads were left, and aborts.
#ifndef GPSDR_TESTS_E2E_STRESS_WATCHDOG_H
#define GPSDR_TESTS_E2E_STRESS_WATCHDOG_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

class Watchdog {
public:
    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Arm(const std::string& what, std::chrono::steady_clock::duration limit);
    void Disarm();

private:
    void Run();

    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_quit = false;
    bool m_armed = false;
    std::string m_what;
    std::chrono::steady_clock::time_point m_deadline;
    std::thread m_thread;
};

#endif
