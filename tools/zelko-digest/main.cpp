// zelko-digest: prints the digest of what the library makes of each seeded random module stream
// (tools/common/ZelkoStreamDigest.h), one "seed digest" line per stream. Its output, recorded
// before a change to the stream path, is what the position suite holds that path to.
#include <cstdint>
#include <cstdio>
#include <string>

#include "tools/common/ToolCli.h"
#include "tools/common/ZelkoStreamDigest.h"

namespace {

const char kTool[] = "zelko-digest";

enum OptionId { kStreams };

const ToolCommandLine kCommandLine = {
    kTool,
    "",
    "Digests what the library makes of seeded random module streams.",
    {
        {kStreams, "streams", "N", "streams with the seeds 1..N (1 to 1000000; 2000)"},
    },
    "Output: one line \"SEED DIGEST\" per stream, the digest in 16 hexadecimal digits.\n",
    {
        {kExitOk, "every digest was written"},
    },
};

}  // namespace

int main(int argc, char** argv)
{
    long long streams = 2000;
    const int parsed = ParseToolCommandLine(
        kCommandLine, argc, argv,
        [&](int, const char* arg, std::string&) { return ParseToolInt(arg, 1, 1000000, streams); },
        [](const char*, std::string& why) {
            why = "no operands";
            return false;
        });
    if (parsed >= 0) return parsed;
    for (long long seed = 1; seed <= streams; ++seed) {
        const unsigned long long digest = DigestZelkoStream(RandomZelkoStream(static_cast<uint32_t>(seed)));
        std::printf("%lld %016llx\n", seed, digest);
    }
    return kExitOk;
}
