#include "tools/common/StopSignal.h"

#include <poll.h>
#include <signal.h>

namespace {

volatile sig_atomic_t g_stopSignal = 0;

// How long one wait lasts before the request is looked at again.
const int kWaitSliceMs = 200;

void OnStopSignal(int signal)
{
    g_stopSignal = signal;
}

}  // namespace

void CatchStopSignals()
{
    struct sigaction sa {};
    sa.sa_handler = OnStopSignal;  // no SA_RESTART: a blocked read returns
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

bool StopRequested()
{
    return g_stopSignal != 0;
}

const char* StopSignalName()
{
    switch (g_stopSignal) {
        case 0: return "";
        case SIGINT: return "SIGINT";
        default: return "SIGTERM";
    }
}

bool WaitReadable(int fd)
{
    while (!StopRequested()) {
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, kWaitSliceMs) > 0) return true;
    }
    return false;
}
