#include "tools/common/ZelkoFrameSplitter.h"

#include <algorithm>

namespace {

// Longer than any frame of this protocol: a start marker without an end marker this far is noise.
const size_t kMaxFrame = 256;

}  // namespace

void ZelkoFrameSplitter::Push(const uint8_t* data, size_t n)
{
    pending_.insert(pending_.end(), data, data + n);
    if (std::find(pending_.begin(), pending_.end(), ZELKO_END) != pending_.end() || pending_.size() <= kMaxFrame)
        return;
    const auto start = std::find(pending_.rbegin(), pending_.rend(), ZELKO_START).base();
    const bool overlong = start == pending_.end() || pending_.end() - start >= static_cast<ptrdiff_t>(kMaxFrame);
    pending_.erase(pending_.begin(), overlong ? pending_.end() : start - 1);
}

bool ZelkoFrameSplitter::Next(ZelkoBytes& lead, ZelkoBytes& wire)
{
    const auto end = std::find(pending_.begin(), pending_.end(), ZELKO_END);
    if (end == pending_.end()) return false;
    const auto start = std::find(std::make_reverse_iterator(end), pending_.rend(), ZELKO_START);
    if (start == pending_.rend()) {
        lead.assign(pending_.begin(), end + 1);
        wire.clear();
    } else {
        lead.assign(pending_.begin(), start.base() - 1);
        wire.assign(start.base() - 1, end + 1);
    }
    pending_.erase(pending_.begin(), end + 1);
    return true;
}

// The library's count is 8 bits wide, as the protocol's frames are short.
ZelkoBytes ZelkoUnstuff(const ZelkoBytes& wire)
{
    ZelkoBytes logical(wire.size());
    const int n = CZELKOParser::GenStuffedMsg(logical.data(), const_cast<uint8_t*>(wire.data()),
                                              static_cast<int>(wire.size()), static_cast<int>(wire.size()), 1);
    logical.resize(static_cast<size_t>(n));
    return logical;
}
