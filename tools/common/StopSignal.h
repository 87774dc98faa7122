// Ctrl-C and SIGTERM as a request to finish rather than an end: a tool's loop sees
// StopRequested() and still writes its summary and closes its files.
#ifndef GPSDR_TOOLS_COMMON_STOPSIGNAL_H
#define GPSDR_TOOLS_COMMON_STOPSIGNAL_H

// SIGINT and SIGTERM set the request; a blocked call they interrupt returns EINTR.
void CatchStopSignals();
bool StopRequested();
// The signal that asked, for messages ("SIGINT", "SIGTERM"), or "" while none has.
const char* StopSignalName();

// Waits until fd has something to read (or has hung up or failed, which a read then reports);
// false when a stop was requested first. A signal that lands just before the wait is noticed
// within a fraction of a second, so input that never blocks and input that never comes stop alike.
bool WaitReadable(int fd);

#endif
