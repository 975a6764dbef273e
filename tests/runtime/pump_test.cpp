// The descriptor event pump on pipes and socket pairs.
#include "xplatform/common/orvofe.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/runtime/log_lines.h"

namespace {

using Messages = std::vector<std::string>;

class Pump : public testing::Test {
  protected:
    struct Call {
        long long fd;
        int events;  // -1: the release function
        bool operator==(const Call&) const = default;
    };

    void SetUp() override {
        support::capture_log();
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, a_), 0);
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, b_), 0);
    }
    void TearDown() override {
        for (int fd : {a_[0], a_[1], b_[0], b_[1]}) close(fd);
    }
    int add(int fd, int flags, int keep = 0) {
        return orvofe_add(pump_.get(), fd, flags, keep, called, this, released);
    }
    int add_once(int fd, int flags, unsigned int timeout) {
        return orvofe_addonce(pump_.get(), fd, flags, called, this, released, timeout);
    }
    int loop() { return orvofe_loop(pump_.get()); }
    std::vector<Call> take() { return std::exchange(calls_, {}); }
    static void called(orvofe*, long long fd, int events, void* user) {
        auto* self = static_cast<Pump*>(user);
        self->calls_.push_back({fd, events});
        if (self->on_event_) self->on_event_(fd);
    }
    static void released(orvofe*, long long fd, void* user) { static_cast<Pump*>(user)->calls_.push_back({fd, -1}); }

    std::unique_ptr<orvofe, void (*)(orvofe*)> pump_{orvofe_alloc(), orvofe_free};
    std::function<void(long long fd)> on_event_;
    std::vector<Call> calls_;
    int a_[2], b_[2];
};

TEST_F(Pump, RefusesBadArguments) {
    EXPECT_EQ(add(a_[0], 0), 22);
    EXPECT_EQ(add_once(a_[0], 0, 5), 22);
    EXPECT_EQ(orvofe_add(nullptr, a_[0], 2, 0, called, this, nullptr), 22);
    EXPECT_EQ(orvofe_add(pump_.get(), 1LL << 32, 2, 0, called, this, nullptr), 22);
    EXPECT_EQ(orvofe_set(pump_.get(), a_[0], 2), 2);
    EXPECT_EQ(add(a_[0], 2), 0);
    EXPECT_EQ(add(a_[0], 4), 17);
    EXPECT_EQ(support::take_messages("fevent"),
              (Messages{"1 add illegal argument!", "1 addonce illegal argument!", "1 add illegal argument!",
                        "1 add illegal argument!", "1 file not found!", "1 file aready existed!"}));
}

TEST_F(Pump, HoldsSixtyFourDescriptors) {
    std::vector<int> fds;
    for (int i = 0; i < 65; ++i) fds.push_back(dup(a_[0]));
    for (int i = 0; i < 64; ++i) ASSERT_EQ(add(fds[i], 4, 4), 0);
    EXPECT_EQ(add(fds[64], 4, 4), 12);
    EXPECT_EQ(support::take_messages("fevent"), Messages{"1 out of memory!"});
    EXPECT_EQ(loop(), 64);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(calls_[i], (Call{fds[i], 4}));
    EXPECT_EQ(orvofe_unset(pump_.get(), fds[3]), 0);
    EXPECT_FALSE(orvofe_is_added(pump_.get(), fds[3]));
    EXPECT_EQ(add(fds[64], 4, 4), 0);
    take();
    orvofe_clearup(pump_.get());
    EXPECT_EQ(orvofe_fdsize(pump_.get()), 0);
    EXPECT_TRUE(take().empty());
    for (int fd : fds) close(fd);
}

TEST_F(Pump, KeepsOrRemovesAfterAnEvent) {
    write(a_[1], "x", 1);
    add(a_[0], 2);
    add(b_[0], 2 | 4, 2);
    EXPECT_EQ(loop(), 2);
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 2}, {a_[0], -1}, {b_[0], 4}}));
    write(b_[1], "x", 1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(loop(), 1);
        EXPECT_EQ(take(), (std::vector<Call>{{b_[0], 2}})) << "writable was not kept";
    }
    orvofe_set(pump_.get(), b_[0], 4);
    loop();
    EXPECT_EQ(take(), (std::vector<Call>{{b_[0], 4}, {b_[0], -1}}));
    EXPECT_EQ(loop(), 0);
}

TEST_F(Pump, AnErrorEndsAllWatching) {
    add(a_[0], 2, 2);
    close(a_[1]);
    loop();
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 2 | 8}, {a_[0], -1}}));
    const int closed = dup(b_[0]);
    add(closed, 4, 4);
    close(closed);
    loop();
    EXPECT_EQ(take(), (std::vector<Call>{{closed, 8}, {closed, -1}}));
    a_[1] = dup(b_[0]);
}

TEST_F(Pump, FiresAtItsDeadline) {
    const auto begin = std::chrono::steady_clock::now();
    add_once(a_[0], 2, 30);
    add_once(b_[0], 2, 60000);
    EXPECT_EQ(loop(), 1) << "waits until the earliest deadline";
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(25));
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 1}, {a_[0], -1}}));
    EXPECT_EQ(orvofe_loop_within(pump_.get(), 0), 0);

    add_once(a_[0], 2, 0);  // passed already; readiness elsewhere does not hide it, readiness of its own does
    write(b_[1], "x", 1);
    EXPECT_EQ(loop(), 2);
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 1}, {a_[0], -1}, {b_[0], 2}, {b_[0], -1}}));
    add_once(b_[0], 2, 0);
    EXPECT_EQ(loop(), 1);
    EXPECT_EQ(take(), (std::vector<Call>{{b_[0], 2}, {b_[0], -1}}));
}

TEST_F(Pump, CallbacksMayChangeTheTable) {
    write(a_[1], "x", 1);
    write(b_[1], "x", 1);
    add(a_[0], 2);
    add(b_[0], 2);
    on_event_ = [&](long long fd) {
        if (fd != a_[0]) return;
        orvofe_unset(pump_.get(), b_[0]);  // its event of this pass must not reach the new watch
        add(b_[0], 2);
        orvofe_set(pump_.get(), a_[0], 2);  // watching again keeps it
    };
    EXPECT_EQ(loop(), 2);
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 2}}));
    on_event_ = [&](long long fd) { orvofe_unset(pump_.get(), fd); };
    EXPECT_EQ(loop(), 2);
    EXPECT_EQ(take(), (std::vector<Call>{{a_[0], 2}, {b_[0], 2}})) << "no release for what a callback removed";
    EXPECT_EQ(orvofe_fdsize(pump_.get()), 0);
}

TEST_F(Pump, EmptyPassesWaitAMillisecond) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(loop(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5));
    EXPECT_EQ(orvofe_loop(nullptr), 0);
}

TEST_F(Pump, EndsAPassThatPollRefuses) {
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    add(a_[0], 4, 4);
    const rlimit none{0, before.rlim_max};  // poll answers EINVAL for more descriptors than the limit
    setrlimit(RLIMIT_NOFILE, &none);
    const int handled = loop();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(handled, 0);
    EXPECT_EQ(loop(), 1);
}

struct Handler : CRefCountSafe {
    Handler(int* events, int* deaths) : events_(events), deaths_(deaths) {}
    ~Handler() override { ++*deaths_; }
    void on_event(long long fd, int events) {
        *events_ += events;
        if (leave_) leave_->Unset(fd);
        *events_ += 100;  // the handler still lives
    }
    int* events_;
    int* deaths_;
    CFEventPump* leave_ = nullptr;
};

TEST_F(Pump, RoutesToCountedHandlers) {
    const auto wrapper = CFECallbackWraper::to<Handler, &Handler::on_event>();
    int events = 0, deaths = 0;
    {
        CFEventPump pump;
        auto* handler = new Handler(&events, &deaths);
        EXPECT_EQ(pump.Add(a_[0], 4, 4, wrapper, handler), 0);
        EXPECT_EQ(pump.Add(a_[0], 4, 4, wrapper, handler), 17);
        EXPECT_EQ(pump.Add(b_[0], 4, 4, wrapper, nullptr), 22);
        EXPECT_EQ(pump.AddOnce(b_[0], 2, wrapper, handler, 0), 0);
        handler->Release();
        EXPECT_EQ(pump.Loop(), 2);
        EXPECT_EQ(events, 205);
        EXPECT_EQ(deaths, 0);
        handler->leave_ = &pump;
        EXPECT_EQ(pump.Set(a_[0], 4), 0);
        EXPECT_EQ(pump.Loop(), 1);
        EXPECT_EQ(deaths, 1) << "its only reference went inside its own callback";

        handler = new Handler(&events, &deaths);
        pump.Add(a_[0], 4, 4, wrapper, handler);
        handler->Release();
    }
    EXPECT_EQ(deaths, 2) << "the pump's end gives the handlers back";
}

}  // namespace
