#include "ThreadCall.h"

#include <stdexcept>

#include "TestSupport.h"

using namespace vyn::test;
using namespace rhu::os;
using vyn::SThread;
using vyn::ThreadCall;

Time FromNow(double seconds) {
    Time point, span;
    point.setNow();
    span.set(seconds);
    point.add(span);
    return point;
}

unsigned long PutOne(void* semaphore) {
    static_cast<Semaphore*>(semaphore)->put(1);
    return 0;
}

struct SWaiter {
    bool limited;
    Semaphore semaphore{};
    std::atomic<bool> woken{false};
};

unsigned long Wait(void* waiter) {
    SWaiter* self = static_cast<SWaiter*>(waiter);
    self->limited ? self->semaphore.get(FromNow(1e9)) : self->semaphore.get();
    self->woken = true;
    return 0;
}

TEST(Time, AddsAndSaturates) {
    const Rows<double, double, uint32_t, uint32_t> rows = {{1.75, 2.5, 4, 250000000},
                                                           {0.5, 0.5, 1, 0},
                                                           {-3, 1, 1, 0},
                                                           {4294967295.0, 0, 4294967295U, 0},
                                                           {2147483648.0, 2147483648.0, 4294967295U, 999999999}};
    for (const auto& [first, second, seconds, nanoseconds] : rows) {
        Time a, b;
        a.set(first);
        b.set(second);
        a.add(b);
        EXPECT_EQ(std::pair(seconds, nanoseconds), std::pair(a.seconds(), a.nanoseconds())) << first << " + " << second;
    }
}

TEST(Semaphore, CountsUpToItsMaximum) {
    Semaphore semaphore;
    EXPECT_EQ(eStatusTimedOut, semaphore.get(FromNow(0)));
    EXPECT_EQ(eStatusFailed, semaphore.init(3, 2));
    ASSERT_EQ(eStatusOk, semaphore.init(1, 2));
    EXPECT_EQ(eStatusOk, semaphore.put(1));
    EXPECT_EQ(eStatusFailed, semaphore.put(1));
    EXPECT_EQ(eStatusOk, semaphore.get());
    EXPECT_EQ(eStatusOk, semaphore.get(FromNow(0))) << "what is there is taken even at the deadline";
    const Time deadline = FromNow(0.02);
    EXPECT_EQ(2, semaphore.get(deadline));
    const Time now = FromNow(0);
    EXPECT_GE(std::pair(now.seconds(), now.nanoseconds()), std::pair(deadline.seconds(), deadline.nanoseconds()));
}

TEST(Semaphore, MayBeDestroyedByWhoeverTakesTheLastUnit) {
    for (int round = 0; round < 300; ++round) {
        auto semaphore = std::make_unique<Semaphore>();
        SThread thread;
        ASSERT_TRUE(thread.Launch(PutOne, semaphore.get()));
        semaphore->get();
        // The sanitizers see a put that still runs.
        semaphore.reset();
        thread.KillWait();
    }
}

TEST(Semaphore, StaysWholeWhenAWaiterIsCancelled) {
    for (const bool limited : {true, false}) {
        SWaiter waiter{limited};
        SThread thread;
        ASSERT_TRUE(thread.Launch(Wait, &waiter));
        thread.KillWait();
        EXPECT_FALSE(waiter.woken);
        waiter.semaphore.put(1);
        EXPECT_EQ(eStatusOk, waiter.semaphore.get(FromNow(0))) << "the cancelled waiter left the mutex locked";
    }
}

TEST(Mutex, ExcludesOtherThreadsAndIsFreedByAnException) {
    static Mutex mutex;
    static long count = 0;
    const auto add = [](void*) -> unsigned long {
        for (int i = 0; i < 20000; ++i) {
            const auto_lock lock(mutex);
            ++count;
        }
        return 0;
    };
    const auto leave = [] {
        const auto_lock lock(mutex);
        throw std::runtime_error("left");
    };
    EXPECT_THROW(leave(), std::runtime_error);
    SThread threads[3];
    for (SThread& thread : threads) {
        ASSERT_TRUE(thread.Launch(add, nullptr));
    }
    for (SThread& thread : threads) {
        thread.KillWait();  // no cancellation point on its way: it ends by itself
    }
    EXPECT_EQ(60000, count);
    ASSERT_EQ(eStatusOk, mutex.init(true));
    mutex.lock();
    EXPECT_EQ(eStatusOk, mutex.lock()) << "a recursive mutex";
    mutex.unlock();
    mutex.unlock();
}

TEST(SThread, ReportsAThreadThatCannotBeMade) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto launch = [] {
        Semaphore semaphore;
        SThread thread;
        const bool ok = !thread.Launch(PutOne, &semaphore) && errno == EAGAIN;
        thread.Wait();  // no handle is left: prints nothing
        return ok;
    };
    EXPECT_EXIT(WithoutProcesses(launch), testing::ExitedWithCode(0),
                "^pthread_create: Resource temporarily unavailable\n$");
}

// A thread that starts after the end of another gets its id.
TEST(SThread, LeavesAThreadAloneThatHasTheIdOfAJoinedOneAndDoesNothingWithoutAThread) {
    const std::string join = "pthread_join: No such process\n", cancel = "pthread_cancel: No such process\n";
    const Rows<void (SThread::*)(), std::string> rows = {
        {&SThread::Wait, join}, {&SThread::Kill, cancel}, {&SThread::KillWait, cancel + join}};
    for (const auto& [operation, message] : rows) {
        Semaphore semaphore;
        SThread joined, next, none;
        ASSERT_TRUE(joined.Launch(PutOne, &semaphore));
        joined.Wait();
        EXPECT_EQ(0, errno);
        EXPECT_EQ(eStatusOk, semaphore.get(FromNow(0)));
        SWaiter waiter{false};
        ASSERT_TRUE(next.Launch(Wait, &waiter));
        testing::internal::CaptureStderr();
        errno = ENOTTY;
        (none.*operation)();
        EXPECT_EQ(ENOTTY, errno);
        (joined.*operation)();
        EXPECT_EQ(ESRCH, errno);
        EXPECT_EQ(message, testing::internal::GetCapturedStderr());
        waiter.semaphore.put(1);
        next.Wait();
        EXPECT_TRUE(waiter.woken) << message;
        ASSERT_TRUE(next.Launch(PutOne, &semaphore));
        next.Wait();
        EXPECT_EQ(0, errno) << "a thread of its own";
    }
}

TEST(ThreadCall, PutsOneOnItsSemaphore) {
    Semaphore semaphore;
    ThreadCall call = {&semaphore, nullptr};
    call.called();
    call.setSemaphore(&semaphore);
    call.called();
    EXPECT_EQ(eStatusOk, semaphore.get(FromNow(0)));
    EXPECT_EQ(eStatusTimedOut, semaphore.get(FromNow(0)));
}
