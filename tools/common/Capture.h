// Timed captures of a serial byte stream.
//
// Format (all numbers little-endian):
//   the header line "ZELKOCAP 1\n" (11 bytes), then records back to back:
//     uint64  arrival time of the chunk, microseconds since the capture began (never decreasing)
//     uint32  n, the chunk's length, 1 .. kCaptureMaxChunk
//     n bytes as they arrived
// A file that does not begin with the header line is a plain raw capture: its bytes are the
// stream, with no times; readers pace it at the module's wire rate (115200 baud, 10 bits a byte).
// Records are written whole with one write each, so a capture cut by a crash or Ctrl-C loses at
// most the chunk being written, and a reader names the place where a capture was cut.
#ifndef GPSDR_TOOLS_COMMON_CAPTURE_H
#define GPSDR_TOOLS_COMMON_CAPTURE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern const char kCaptureMagic[];  // the header line, newline included
const uint32_t kCaptureMaxChunk = 65536;
const double kWireBytesPerSecond = 115200 / 10.0;

struct CaptureChunk {
    uint64_t atUs;       // arrival, microseconds since the capture began
    size_t offset, len;  // where its bytes lie in Capture::bytes
};

struct Capture {
    bool timed = false;  // false: a raw file, times made up at the wire rate
    std::vector<uint8_t> bytes;
    std::vector<CaptureChunk> chunks;
};

// Reads a timed or raw capture; false with a message naming the file and the fault (cannot
// open, cut record, bad length, time going back).
bool ReadCapture(const std::string& path, Capture& out, std::string& error);

// Writes a timed capture record by record.
class CaptureWriter {
public:
    CaptureWriter() = default;
    ~CaptureWriter();
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    // Creates (truncates) path and writes the header line.
    bool Open(const std::string& path, std::string& error);
    // One record; chunks longer than kCaptureMaxChunk are split. False when the write fails.
    bool Write(uint64_t atUs, const uint8_t* data, size_t len);
    void Close();

private:
    int m_fd = -1;
};

#endif
