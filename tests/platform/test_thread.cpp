#include "platform/mThread.h"

#include "tests/platform/RuntimeTestSupport.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WaitUntil.h"

#include <sys/prctl.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using testsupport::WaitUntil;
using rt::Body;
using rt::kRunBody;

TEST(Event, PollsAndTimedWaitsFollowTheResetKind)
{
    mEVENT autoEvent = mEventCreate(0), manualEvent = mEventCreate(1);
    EXPECT_EQ(mEventWait(autoEvent, 0), -1);
    mEventRaise(autoEvent);
    EXPECT_EQ(mEventWait(autoEvent, 0), 0);
    EXPECT_EQ(mEventWait(autoEvent, 0), -1);  // the wait took the flag
    mEventRaise(manualEvent);
    EXPECT_EQ(mEventWait(manualEvent, 0), 0);
    EXPECT_EQ(mEventWait(manualEvent, 10), 0);
    mEventReset(manualEvent);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(mEventWait(manualEvent, 100), -1);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(waited >= std::chrono::milliseconds(99) && waited < std::chrono::milliseconds(1000));
    EXPECT_EQ(mEventWait(nullptr, M_INFINITE), -1);
    mEventDestroy(autoEvent);
    mEventDestroy(manualEvent);
}

TEST(Event, ARaiseWakesOneAutoWaiterAndEveryManualWaiter)
{
    const struct {
        int manual, waiters, wokenByOneRaise;
        unsigned long timeoutMs;
    } cases[] = {{0, 2, 1, M_INFINITE}, {0, 1, 1, 60000}, {1, 3, 3, M_INFINITE}};
    for (const auto& c : cases) {
        mEVENT event = mEventCreate(c.manual);
        std::atomic<int> woken{0};
        Body wait = [&] { woken += mEventWait(event, c.timeoutMs) == 0; };
        for (int i = 0; i < c.waiters; ++i) ASSERT_NE(mThreadCreate(kRunBody, &wait), 0u);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // let them block
        ASSERT_EQ(woken.load(), 0);
        mEventRaise(event);
        ASSERT_TRUE(WaitUntil([&] { return woken.load() == c.wokenByOneRaise; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // no further wake-ups
        EXPECT_EQ(woken.load(), c.wokenByOneRaise);
        for (int left = c.waiters - c.wokenByOneRaise; left > 0; --left) mEventRaise(event);
        ASSERT_TRUE(WaitUntil([&] { return woken.load() == c.waiters; }));
        mEventDestroy(event);
    }
}

TEST(Sync, ASecondReleaseCannotFreeAnotherThreadsLock)
{
    void* lock = mSyncCreate();
    std::atomic<int> stage{0};  // 1: the thread holds the lock, 2: asked to release, 3: released
    Body hold = [&] {
        mSyncLock(lock);
        stage = 1;
        WaitUntil([&] { return stage == 2; });
        mSyncUnlock(lock);
        stage = 3;
    };
    mSyncLock(lock);
    EXPECT_EQ(mSyncTrylock(lock), 0);  // not recursive
    mSyncUnlock(lock);
    ASSERT_NE(mThreadCreate(kRunBody, &hold), 0u);
    ASSERT_TRUE(WaitUntil([&] { return stage == 1; }));
    mSyncUnlock(lock);
    EXPECT_EQ(mSyncTrylock(lock), 0);
    stage = 2;
    ASSERT_TRUE(WaitUntil([&] { return stage == 3; }));
    EXPECT_EQ(mSyncTrylock(lock), 1);
    mSyncUnlock(lock);
    mSyncDestroy(lock);
    EXPECT_EQ(mSyncTrylock(nullptr), 0);
}

TEST(Thread, EveryCreatorRunsAThreadThatNamesItself)
{
    pthread_attr_t attr;
    size_t defaultStack = 0;
    pthread_attr_init(&attr);
    pthread_attr_getstacksize(&attr, &defaultStack);
    pthread_attr_destroy(&attr);
    const std::vector<std::string> stackLine{"mThread - pthread_attr_getstacksize ======= " +
                                             std::to_string(defaultStack) + " Byte =====!!!\n"};
    char name[17] = {};
    std::atomic<int> done{0};
    Body nameSelf = [&] {
        if (mSetThreadName("GPSDR_THREAD_WITH_A_LONG_NAME") == 0)
            prctl(PR_GET_NAME, reinterpret_cast<unsigned long>(name), 0, 0, 0);
        done = 1;
    };
    rt::NoFileLog noFile;
    for (int kind = 0; kind < 4; ++kind) {
        testsupport::LogCapture log;
        done = 0;
        name[0] = 0;
        // A stack size the system refuses is ignored.
        EXPECT_NE(kind == 0   ? mThreadCreate(kRunBody, &nameSelf)
                  : kind == 1 ? mThreadCreateWithPriority(kRunBody, &nameSelf, 5)
                              : mThreadCreateWithStackSize(kRunBody, &nameSelf, kind == 2 ? 1 << 20 : 1),
                  0u);
        ASSERT_TRUE(WaitUntil([&] { return done == 1; }));
        EXPECT_STREQ(name, "GPSDR_THREAD_WI");
        EXPECT_EQ(log.Texts(), kind >= 2 ? stackLine : std::vector<std::string>{});
    }
}

}  // namespace
