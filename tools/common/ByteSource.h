// Where the tools read a Zelko stream from: a capture file (timed or raw, see Capture.h),
// standard input ("-") or a serial device or pty, which is put into raw mode at the module's
// line speed.
#ifndef GPSDR_TOOLS_COMMON_BYTESOURCE_H
#define GPSDR_TOOLS_COMMON_BYTESOURCE_H

#include <cstddef>
#include <string>

#include "tools/common/Capture.h"

class ByteSource {
public:
    ByteSource() = default;
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // False with a message in error when path cannot be opened or configured, or is a
    // regular file that is not a readable capture.
    bool Open(const std::string& path, std::string& error);
    // Bytes read into buf (a capture: one recorded chunk at most); 0 at the end of the stream
    // (end of file, the device hung up, or a stop signal, tools/common/StopSignal.h), -1 on a
    // read error.
    long Read(unsigned char* buf, size_t cap);
    // The descriptor being read, -1 for a capture file.
    int Fd() const { return m_fd; }

private:
    int m_fd = -1;
    bool m_owned = false;
    Capture m_capture;
    size_t m_next = 0, m_inChunk = 0;  // read position in m_capture
};

#endif
