// Threads, their slots and names, locks and events.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "common/utils/orvo_signal_block.h"
#include "xplatform/common/orvoevent.h"
#include "xplatform/common/orvolock.h"
#include "xplatform/common/orvothread.h"
#include "xplatform/common/orvoutil.h"

namespace {

TEST(Thread, RunsAndReportsItsFlag) {
    struct Seen {
        orvoevent* go = orvoevent_create(0, 0);
        orvoevent* looked = orvoevent_create(0, 0);
        std::vector<int> answers;
        std::atomic<orvothread*> self{nullptr};
    } seen;
    auto body = [](void* argument) {
        auto* s = static_cast<Seen*>(argument);
        s->answers = {orvothread_signaled()};
        orvoevent_signal(s->looked);
        orvoevent_wait(s->go);
        for (const int answer : {orvothread_waitfor(s->self), orvothread_terminate(s->self, -1), orvothread_signaled()})
            s->answers.push_back(answer);
    };
    seen.self = orvothread_create(body, &seen, ETHREAD_PRIORITY_HIGH);
    ASSERT_NE(seen.self.load(), nullptr);
    orvoevent_wait(seen.looked);
    EXPECT_EQ(orvothread_signaled2(seen.self), 0);
    EXPECT_EQ(orvothread_priority(seen.self), ETHREAD_PRIORITY_HIGH);
    orvoevent_signal(seen.go);
    EXPECT_EQ(orvothread_waitfor(seen.self), 0);
    EXPECT_EQ(orvothread_waitfor(seen.self), 22);
    EXPECT_EQ(orvothread_signaled2(seen.self), 1);
    EXPECT_EQ(orvothread_terminate(seen.self, -1), 0);
    EXPECT_EQ(seen.answers, (std::vector<int>{0, EDEADLK, EDEADLK, 1}));
    orvoevent_destory(seen.go);
    orvoevent_destory(seen.looked);
}

// A thread sees what it has set itself, up to a number of slots that all threads share.
TEST(ThreadSlots, AreEachThreadsOwnAndEndAtTheirLimit) {
    errno = 0;
    EXPECT_EQ(orvothread_setspecific(-1, &errno), 34);
    EXPECT_EQ(errno, 34);
    EXPECT_EQ(orvothread_setspecific(0x7FFFFFFF, &errno), 0);
    using Values = std::vector<void*>;
    const auto all = [] {
        Values values;
        for (unsigned slot = 0; slot < 2000; ++slot) values.push_back(orvothread_getspecific(slot));
        return values;
    };
    const auto fill = [all] {
        int mark = 0;  // of this thread's stack
        Values set(2000);
        EXPECT_EQ(all(), set);
        for (int slot = 1999; slot >= 0; --slot) {
            const int result = orvothread_setspecific(slot, &mark + slot);
            EXPECT_TRUE(result == 0 || result == 12);
            if (result == 0) set[static_cast<size_t>(slot)] = &mark + slot;
        }
        EXPECT_EQ(all(), set);
        return set;
    };
    const Values own = fill();
    Values others;
    std::thread([&] { others = fill(); }).join();
    EXPECT_EQ(all(), own);
    const auto room = std::count(own.begin(), own.end(), nullptr);
    EXPECT_EQ(std::count(others.begin(), others.end(), nullptr), room);
    EXPECT_TRUE(room >= 980 && room <= 1000)
        << "three are the runtime's own, and other tests have taken some: " << room;
    EXPECT_EQ(orvothread_getspecific(0x7FFFFFFF), &errno);
    bool ran = false;
    orvothread_terminate(orvothread_create([](void* r) { *static_cast<bool*>(r) = true; }, &ran, {}), -1);
    EXPECT_TRUE(ran) << "the runtime's own are there from the start";
    EXPECT_EQ(orvothread_setspecific(1999, nullptr), 0);
    EXPECT_EQ(orvothread_getspecific(1999), nullptr);
}

TEST(SignalBlock, LeavesTheThreadsOwnFaultsAndTheProfiler) {
    sigset_t blocked;
    {
        const ORVO::BASE::SignalBlock block;
        std::thread([&] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); }).join();
    }
    for (int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGPROF})
        EXPECT_EQ(sigismember(&blocked, number), 0) << number;
    for (int number : {SIGTERM, SIGINT, SIGPIPE, SIGXFSZ, SIGALRM, SIGCHLD})
        EXPECT_EQ(sigismember(&blocked, number), 1);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0) << "only while it lives";
}

// Locks that this thread holds, each with what another thread's attempts answer.
TEST(Lock, TakesRefusesAndFrees) {
    orvolock_t mutex;
    ASSERT_EQ(orvolock_init(&mutex), &mutex);
    orvorwlock_t* lock = orvorwlock_alloc();
    ASSERT_NE(lock, nullptr);
    for (const auto take : {orvolock_lock, orvolock_trylock}) {
        EXPECT_EQ(take(&mutex), 0);
        std::thread([&] { EXPECT_EQ(orvolock_trylock(&mutex), EBUSY); }).join();
        EXPECT_EQ(orvolock_unlock(&mutex), 0);
    }
    for (const auto& [take, shared] : {std::pair(&orvorwlock_rdlock, true),
                                       {orvorwlock_tryrdlock, true},
                                       {orvorwlock_wrlock, false},
                                       {orvorwlock_tryrwlock, false}}) {
        EXPECT_EQ(take(lock), 0);
        std::thread([&lock, shared = shared] {
            EXPECT_EQ(orvorwlock_tryrwlock(lock), EBUSY);
            EXPECT_EQ(orvorwlock_tryrdlock(lock), shared ? 0 : EBUSY);
            EXPECT_EQ(shared ? orvorwlock_unlock(lock) : 0, 0);
        }).join();
        EXPECT_EQ(orvorwlock_unlock(lock), 0);
    }
    EXPECT_EQ(orvolock_destroy(&mutex) + orvorwlock_destroy(lock), 0);
}

TEST(Null, IsRefused) {
    errno = 0;
    EXPECT_EQ(orvothread_create(nullptr, nullptr, ETHREAD_PRIORITY_LOW), nullptr);
    EXPECT_EQ(errno, 22);
    EXPECT_EQ(orvolock_init(nullptr), nullptr);
    const int answers[] = {
        orvothread_terminate(nullptr, 0), orvothread_signaled(),          orvothread_signaled2(nullptr),
        orvothread_waitfor(nullptr),      orvolock_destroy(nullptr),      orvolock_lock(nullptr),
        orvolock_trylock(nullptr),        orvolock_unlock(nullptr),       orvorwlock_destroy(nullptr),
        orvorwlock_rdlock(nullptr),       orvorwlock_tryrdlock(nullptr),  orvorwlock_wrlock(nullptr),
        orvorwlock_tryrwlock(nullptr),    orvorwlock_unlock(nullptr),     orvoevent_destory(nullptr),
        orvoevent_signal(nullptr),        orvoevent_reset(nullptr),       orvoevent_issignaled(nullptr),
        orvoevent_wait(nullptr),          orvoevent_timedwait(nullptr, 5)};
    for (const int& answer : answers) EXPECT_EQ(answer, 22) << &answer - answers;
}

TEST(Event, KeepsOrClearsItsFlag) {
    for (int manual : {0, 1}) {
        orvoevent* event = orvoevent_create(manual, 1);
        EXPECT_EQ(orvoevent_issignaled(event), 1);
        EXPECT_EQ(orvoevent_timedwait(event, 5), 0);
        EXPECT_EQ(orvoevent_issignaled(event), manual);
        EXPECT_EQ(orvoevent_timedwait(event, 0), manual ? 0 : 60);
        EXPECT_EQ(orvoevent_reset(event), 0);
        EXPECT_EQ(orvoevent_timedwait(event, -2), 60);
        const auto start = orvo_gettickcount64();
        EXPECT_EQ(orvoevent_timedwait(event, 50), 60);
        EXPECT_GE(orvo_gettickcount64() - start, 45u);
        std::thread waker([&] { orvoevent_signal(event); });
        EXPECT_EQ(orvoevent_timedwait(event, -1), 0);
        waker.join();
        EXPECT_EQ(orvoevent_destory(event), 0);
    }
}

}  // namespace
