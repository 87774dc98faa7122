// Where the decoder reads from: a file, standard input ("-") or a serial device, which is put
// into raw mode at the module's line speed.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_BYTESOURCE_H
#define GPSDR_TOOLS_ZELKO_DECODE_BYTESOURCE_H

#include <cstddef>
#include <string>

class ByteSource {
public:
    ByteSource() = default;
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // False with a message in error when path cannot be opened or configured.
    bool Open(const std::string& path, std::string& error);
    // Bytes read into buf; 0 at the end of the stream (end of file, the device hung up, or a
    // stop signal, tools/common/StopSignal.h), -1 on a read error.
    long Read(unsigned char* buf, size_t cap);

private:
    int m_fd = -1;
    bool m_owned = false;
};

#endif
