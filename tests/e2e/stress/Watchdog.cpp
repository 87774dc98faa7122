#include "tests/e2e/stress/Watchdog.h"

#include <cstdio>
#include <cstdlib>

#include "tools/common/ProcSelf.h"

Watchdog::Watchdog() : m_thread([this] { Run(); }) {}

Watchdog::~Watchdog()
{
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_quit = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void Watchdog::Arm(const std::string& what, std::chrono::steady_clock::duration limit)
{
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_what = what;
        m_deadline = std::chrono::steady_clock::now() + limit;
        m_armed = true;
    }
    m_wake.notify_all();
}

void Watchdog::Disarm()
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_armed = false;
}

void Watchdog::Run()
{
    std::unique_lock<std::mutex> hold(m_lock);
    while (!m_quit) {
        if (!m_armed) {
            m_wake.wait(hold);
        } else if (std::chrono::steady_clock::now() < m_deadline) {
            m_wake.wait_until(hold, m_deadline);
        } else {
            std::fprintf(stderr, "HANG: %s did not end in time; library threads left:%s\n", m_what.c_str(),
                         procself::LibraryThreadList().c_str());
            std::abort();
        }
    }
}
