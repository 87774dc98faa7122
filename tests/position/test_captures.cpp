// Recorded streams with the decoder's output as it stood when they were read and checked:
// every capture in tests/captures decodes to exactly its NAME.jsonl (scripts/gen_captures.sh) on
// standard output; what the decoder says about faults of a stream on standard error is the
// end-to-end suite's.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

TEST(Captures, DecodeToTheirRecordedLines)
{
    const char* build = std::getenv("GPSDR_BUILD_DIR");
    const char* source = std::getenv("GPSDR_SOURCE_DIR");
    ASSERT_TRUE(build && source) << "run through ctest";
    const char* emulator = std::getenv("GPSDR_EMULATOR");  // cross builds run the decoder under it
    int captures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(source) + "/tests/captures")) {
        if (entry.path().extension() != ".bin") continue;
        const std::string golden = std::filesystem::path(entry.path()).replace_extension(".jsonl");
        const std::string command = std::string(emulator ? emulator : "") + " '" + build + "/zelko-decode' '" +
                                    entry.path().string() + "' 2>/dev/null | diff -u '" + golden + "' - 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string diff;
        char buf[4096];
        for (size_t n; (n = std::fread(buf, 1, sizeof buf, pipe)) > 0;) diff.append(buf, n);
        EXPECT_EQ(pclose(pipe), 0) << entry.path().filename() << " no longer decodes to its recorded lines "
                                   << "(scripts/gen_captures.sh rewrites them; read the change first):\n" << diff;
        ++captures;
    }
    EXPECT_GE(captures, 5);
}

}  // namespace
