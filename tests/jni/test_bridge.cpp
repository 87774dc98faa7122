// The Java bridge's native side: the callback with no VM behind it, and the two native
// methods around a start that cannot open the module's device.
#include <sys/stat.h>

#include <thread>

#include <gtest/gtest.h>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"
#include "tests/support/LogCapture.h"

namespace {

using testsupport::LogCapture;

TEST(Bridge, WithoutAVmTheCallbackAndDetachingDoNothing)
{
    LogCapture log;
    g_nNowRun = 1;
    std::thread([] {
        Call_Java_NativeCall_SendGISInfo(37.5, 127.0, 0.0, 1, 2, 3, 0, "20240315093000");
        EXPECT_EQ(JNI_ERR, VMdetachingThread());
    }).join();
    g_nNowRun = 0;
    EXPECT_TRUE(log.Texts("JNI").empty());
}

// Without a module at the fixed device the start fails after taking the manager. A second
// start takes the same manager in a new facade, and the stop frees it under the first.
TEST(Bridge, StopsAroundFailedStartsFreeTheManagerOfBothFacades)
{
    LogCapture log;
    EXPECT_EQ(0, Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr));  // nothing started
    EXPECT_EQ(std::vector<std::string>{"EndOnlyGpsDRModule\n"}, log.Take("JNI"));
    struct stat st;
    if (lstat("/dev/ttyGPS1", &st) == 0) GTEST_SKIP() << "/dev/ttyGPS1 exists on this machine";

    EXPECT_EQ(0, Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(nullptr, nullptr));
    GpsDRInterface* first = g_pGpsDr;
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(1, g_nNowRun.load());
    EXPECT_EQ(1, first->GetParam(16));  // the manager is held, partly set up

    EXPECT_EQ(0, Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(nullptr, nullptr));
    GpsDRInterface* second = g_pGpsDr;
    EXPECT_NE(first, second);

    EXPECT_EQ(1, Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr));
    EXPECT_EQ(0, g_nNowRun.load());
    EXPECT_EQ(second, g_pGpsDr.load());  // kept, not deleted
    EXPECT_EQ(-1, second->GetParam(16));
    EXPECT_EQ(-1, first->GetParam(16));  // gone for the first facade too, not dangling

    EXPECT_EQ(1, Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{"StartOnlyGpsDRModule\n", "StartOnlyGpsDRModule\n", "EndOnlyGpsDRModule\n",
                                        "EndOnlyGpsDRModule\n"}),
              log.Texts("JNI"));
    g_pGpsDr = nullptr;
    delete first;
    delete second;
}

}  // namespace
