// The application's other thread: reads all the time and, while asked to, sends commands, always
// on whichever facade the Java bridge holds at that moment.
#ifndef GPSDR_TESTS_E2E_STRESS_CALLERTHREAD_H
#define GPSDR_TESTS_E2E_STRESS_CALLERTHREAD_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

class GpsDRInterface;

class CallerThread {
public:
    explicit CallerThread(unsigned seed);
    ~CallerThread() { Join(); }
    CallerThread(const CallerThread&) = delete;
    CallerThread& operator=(const CallerThread&) = delete;

    void SetCommands(bool on) { m_commands.store(on); }
    long CommandsSent() const { return m_sent.load(); }
    void Join();

private:
    void Run();
    void OneCall(GpsDRInterface& dr);

    std::mt19937 m_rng;
    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_stop = false;
    std::atomic<bool> m_commands{false};
    std::atomic<long> m_sent{0};
    std::thread m_thread;
};

#endif
