#include "platform/mThread.h"

#include "tests/platform/RuntimeTestSupport.h"

#include <sys/prctl.h>

#include <atomic>

namespace {

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
    EXPECT_GE(waited, std::chrono::milliseconds(99));
    EXPECT_LT(waited, std::chrono::milliseconds(1000));

    EXPECT_EQ(mEventWait(nullptr, M_INFINITE), -1);
    mEventRaise(nullptr);
    mEventDestroy(autoEvent);
    mEventDestroy(manualEvent);
}

struct Waiters {
    mEVENT event;
    unsigned long timeoutMs;
    std::atomic<int> woken{0};
};

void* Wait(void* arg)
{
    Waiters* w = static_cast<Waiters*>(arg);
    if (mEventWait(w->event, w->timeoutMs) == 0) w->woken.fetch_add(1);
    return nullptr;
}

TEST(Event, ARaiseWakesOneAutoWaiterAndEveryManualWaiter)
{
    const struct {
        int manual, waiters, wokenByOneRaise;
        unsigned long timeoutMs;
    } cases[] = {{0, 2, 1, M_INFINITE}, {0, 1, 1, 60000}, {1, 3, 3, M_INFINITE}};
    for (const auto& c : cases) {
        Waiters w;
        w.event = mEventCreate(c.manual);
        w.timeoutMs = c.timeoutMs;
        for (int i = 0; i < c.waiters; ++i)
            ASSERT_NE(mThreadCreate(reinterpret_cast<void*>(&Wait), &w), 0u);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // let them block
        ASSERT_EQ(w.woken.load(), 0);
        mEventRaise(w.event);
        ASSERT_TRUE(rt::WaitFor([&] { return w.woken.load() == c.wokenByOneRaise; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(w.woken.load(), c.wokenByOneRaise);
        for (int left = c.waiters - c.wokenByOneRaise; left > 0; --left) mEventRaise(w.event);
        ASSERT_TRUE(rt::WaitFor([&] { return w.woken.load() == c.waiters; }));
        mEventDestroy(w.event);
    }
}

struct Holder {
    void* lock;
    std::atomic<int> stage{0};  // 1: holds the lock, 2: asked to release, 3: released
};

void* HoldLock(void* arg)
{
    Holder* h = static_cast<Holder*>(arg);
    mSyncLock(h->lock);
    h->stage.store(1);
    rt::WaitFor([h] { return h->stage.load() == 2; });
    mSyncUnlock(h->lock);
    h->stage.store(3);
    return nullptr;
}

TEST(Sync, ASecondReleaseCannotFreeAnotherThreadsLock)
{
    Holder h;
    h.lock = mSyncCreate();
    mSyncLock(h.lock);
    EXPECT_EQ(mSyncTrylock(h.lock), 0);  // not recursive
    mSyncUnlock(h.lock);
    ASSERT_NE(mThreadCreate(reinterpret_cast<void*>(&HoldLock), &h), 0u);
    ASSERT_TRUE(rt::WaitFor([&] { return h.stage.load() == 1; }));
    mSyncUnlock(h.lock);
    EXPECT_EQ(mSyncTrylock(h.lock), 0);
    h.stage.store(2);
    ASSERT_TRUE(rt::WaitFor([&] { return h.stage.load() == 3; }));
    EXPECT_EQ(mSyncTrylock(h.lock), 1);
    mSyncUnlock(h.lock);
    mSyncDestroy(h.lock);
    EXPECT_EQ(mSyncTrylock(nullptr), 0);
}

struct Started {
    std::atomic<int> done{0};
    char name[17] = {};
    size_t stackSize = 0;
};

void* NameSelf(void* arg)
{
    Started* s = static_cast<Started*>(arg);
    if (mSetThreadName("GPSDR_THREAD_WITH_A_LONG_NAME") == 0)
        prctl(PR_GET_NAME, reinterpret_cast<unsigned long>(s->name), 0, 0, 0);
    pthread_attr_t attr;
    pthread_getattr_np(pthread_self(), &attr);
    pthread_attr_getstacksize(&attr, &s->stackSize);
    pthread_attr_destroy(&attr);
    s->done.store(1);
    return nullptr;
}

TEST(Thread, EveryCreatorRunsAThreadThatNamesItself)
{
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    size_t defaultStack = 0;
    pthread_attr_getstacksize(&attr, &defaultStack);
    pthread_attr_destroy(&attr);
    void* routine = reinterpret_cast<void*>(&NameSelf);
    const struct {
        std::function<mTHREAD(Started*)> create;
        size_t stack;
        std::vector<std::string> trace;
    } cases[] = {
        {[&](Started* s) { return mThreadCreate(routine, s); }, defaultStack, {}},
        {[&](Started* s) { return mThreadCreateWithPriority(routine, s, 5); }, defaultStack, {}},
        {[&](Started* s) { return mThreadCreateWithPriority(routine, s, -1); }, defaultStack, {}},
        {[&](Started* s) { return mThreadCreateWithStackSize(routine, s, 1 << 20); }, 1 << 20,
         {"mThread - pthread_attr_getstacksize ======= " + std::to_string(defaultStack) +
          " Byte =====!!!\n"}},
        {[&](Started* s) { return mThreadCreateWithStackSize(routine, s, 1); }, defaultStack,
         {"mThread - pthread_attr_getstacksize ======= " + std::to_string(defaultStack) +
          " Byte =====!!!\n"}},
    };
    rt::NoFileLog noFile;
    for (const auto& c : cases) {
        Started s;
        rt::LogCapture log;
        EXPECT_NE(c.create(&s), 0u);
        ASSERT_TRUE(rt::WaitFor([&] { return s.done.load() == 1; }));
        EXPECT_STREQ(s.name, "GPSDR_THREAD_WI");
        EXPECT_EQ(s.stackSize, c.stack);
        EXPECT_EQ(log.texts, c.trace);
    }
}

}  // namespace
