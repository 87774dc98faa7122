#include "tools/zelko-sim/SimFrames.h"

#include <algorithm>

namespace {

// Longer than any host command; a start marker without an end marker this far is noise.
const size_t kMaxHostFrame = 256;

bool NeedsEscape(uint8_t b) { return b >= 0x80 && b <= 0x83; }

uint8_t ByteSum(const uint8_t* p, size_t n) {
    uint8_t sum = 0;
    for (size_t i = 0; i < n; ++i) sum = static_cast<uint8_t>(sum + p[i]);
    return sum;
}

}  // namespace

void PutLE(Frame& f, size_t at, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) f[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t GetLE(const uint8_t* p, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

Frame NewFrame(uint8_t code, uint8_t subcode, size_t length) {
    Frame f(length, 0);
    f[0] = kFrameStart;
    f[1] = code;
    f[2] = subcode;
    f[length - 1] = kFrameEnd;
    return f;
}

void SealFrame(Frame& logical) {
    const size_t cs = logical.size() - 2;
    logical[cs] = 0;
    logical[cs] = static_cast<uint8_t>(0u - ByteSum(logical.data(), logical.size()));
}

std::string HexText(const Frame& f) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (uint8_t b : f) {
        if (!out.empty()) out += ' ';
        out += kDigits[b >> 4];
        out += kDigits[b & 15];
    }
    return out;
}

Frame StuffFrame(const Frame& logical) {
    Frame wire;
    wire.reserve(logical.size() + 8);
    for (size_t i = 0; i < logical.size(); ++i) {
        const uint8_t b = logical[i];
        const bool marker = i == 0 || i + 1 == logical.size();
        if (!marker && NeedsEscape(b)) {
            wire.push_back(kFrameEscape);
            wire.push_back(static_cast<uint8_t>(b - kFrameEscape));
        } else {
            wire.push_back(b);
        }
    }
    return wire;
}

void HostFrameReader::Push(const uint8_t* data, size_t n) {
    pending_.insert(pending_.end(), data, data + n);
}

bool HostFrameReader::Next(Frame& logical, bool& checksumOk) {
    for (;;) {
        pending_.erase(pending_.begin(), std::find(pending_.begin(), pending_.end(), kFrameStart));
        if (pending_.empty()) return false;
        // A second start marker before the end means the first frame was cut off.
        const auto end = std::find_if(pending_.begin() + 1, pending_.end(), [](uint8_t b) {
            return b == kFrameStart || b == kFrameEnd;
        });
        if (end == pending_.end()) {
            if (pending_.size() <= kMaxHostFrame) return false;
            pending_.erase(pending_.begin());
            continue;
        }
        if (*end == kFrameStart) {
            pending_.erase(pending_.begin(), end);
            continue;
        }
        const size_t wireLength = static_cast<size_t>(end - pending_.begin()) + 1;
        checksumOk = ByteSum(pending_.data(), wireLength) == 0;
        logical.clear();
        for (size_t k = 0; k < wireLength; ++k) {
            const uint8_t b = pending_[k];
            if (b == kFrameEscape && k + 2 < wireLength) {
                logical.push_back(static_cast<uint8_t>(pending_[++k] | kFrameEscape));
            } else {
                logical.push_back(b);
            }
        }
        pending_.erase(pending_.begin(), end + 1);
        return true;
    }
}
