#include "platform/mAndroidLog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Line {
    int prio;
    std::string tag, text;
};

void Collect(int prio, const char* tag, const char* text, void* ctx)
{
    static_cast<std::vector<Line>*>(ctx)->push_back({prio, tag, text});
}

TEST(HostLog, SinkReceivesFormattedLinesUntilRestored)
{
    std::vector<Line> lines;
    mHostLogSetSink(Collect, &lines);
    __android_log_print(ANDROID_LOG_ERROR, "JNI", "ERROR: jNativesCls2  is NULL %d \n", 424);
    std::string longText(3000, 'x');
    __android_log_print(ANDROID_LOG_INFO, "Varnex", "%s", longText.c_str());
    mHostLogSetSink(nullptr, nullptr);
    __android_log_print(ANDROID_LOG_INFO, "Varnex", "to stderr");

    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].prio, 6);
    EXPECT_EQ(lines[0].tag, "JNI");
    EXPECT_EQ(lines[0].text, "ERROR: jNativesCls2  is NULL 424 \n");
    // Like liblog, one entry carries at most 1023 characters.
    EXPECT_EQ(lines[1].text, std::string(1023, 'x'));
}

}  // namespace
