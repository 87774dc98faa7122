// zelko-digest: prints the digest of what the library makes of each seeded random module stream
// (tools/common/ZelkoStreamDigest.h), one "seed digest" line per stream. Its output, recorded
// before a change to the stream path, is what the position suite holds that path to.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/common/ZelkoStreamDigest.h"

namespace {

const char kUsage[] =
    "usage: zelko-digest [--streams N]\n"
    "  --streams N  streams with the seeds 1..N (default 2000)\n"
    "Writes \"<seed> <digest, 16 hex digits>\" lines to standard output.\n";

}  // namespace

int main(int argc, char** argv)
{
    unsigned long streams = 2000;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::puts("zelko-digest (libgpsdr) 1");
            return 0;
        }
        char* end = nullptr;
        if (std::strcmp(argv[i], "--streams") == 0 && i + 1 < argc &&
            (streams = std::strtoul(argv[i + 1], &end, 10)) > 0 && *end == '\0') {
            ++i;
            continue;
        }
        std::fprintf(stderr, "zelko-digest: bad argument '%s'\n%s", argv[i], kUsage);
        return 2;
    }
    for (unsigned long seed = 1; seed <= streams; ++seed) {
        const unsigned long long digest = DigestZelkoStream(RandomZelkoStream(static_cast<uint32_t>(seed)));
        std::printf("%lu %016llx\n", seed, digest);
    }
    return 0;
}
