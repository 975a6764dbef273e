// The descriptor event pump on socket pairs.
#include "xplatform/common/orvofe.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "support/runtime/log_lines.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A pump beside a model of its table: what is watched, by descriptor. What is ready, poll says for one descriptor.
class Pump : public testing::Test {
  protected:
    struct Watch {
        int flags, keep;
        bool expired;
        unsigned serial;
    };
    struct Event {
        int fd, events;
        unsigned serial;
    };

    Pump() {
        support::capture_log();
        signal(SIGPIPE, SIG_IGN);
        for (auto& pair : pairs_) open(pair);
    }
    ~Pump() override {
        for (auto& pair : pairs_) close(pair[0]), close(pair[1]);
    }
    static void open(int (&pair)[2]) { ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0); }
    int add(int fd, int flags, int keep) {
        return expect(fd, {flags, keep, false, ++serial_},
                      orvofe_add(pump_.get(), fd, flags, keep, called, this, released));
    }
    int add_once(int fd, int flags, unsigned timeout) {
        return expect(fd, {flags, 0, timeout == 0, ++serial_},
                      orvofe_addonce(pump_.get(), fd, flags, called, this, released, timeout));
    }
    int expect(int fd, const Watch& watch, int answer) {
        const bool is_new = watches_.count(fd) == 0;
        EXPECT_EQ(answer, watch.flags == 0 ? 22 : !is_new ? 17 : watches_.size() == ORVOFE_MAX_FDS ? 12 : 0);
        if (answer == 0) watches_[fd] = watch;
        return answer;
    }
    void set(int fd, int flags) {
        EXPECT_EQ(orvofe_set(pump_.get(), fd, flags), watches_.count(fd) ? 0 : 2);
        if (watches_.count(fd)) watches_[fd].flags = flags;
    }
    void unset(int fd) {
        EXPECT_EQ(orvofe_is_added(pump_.get(), fd), watches_.count(fd) == 1);
        EXPECT_EQ(orvofe_unset(pump_.get(), fd), watches_.erase(fd) ? 0 : 2);
    }
    void change_something() {
        auto& pair = pairs_[random_() % std::size(pairs_)];
        const int fd = pair[0], flags = random_() % 4 * 2, keep = random_() % 4 * 2;
        const unsigned kind = random_() % 16;
        char byte;
        if (kind < 4) add(fd, flags, keep);
        if (kind == 4 || kind == 5) add_once(fd, flags, kind == 4 ? 0 : 60000);
        if (kind == 6) set(fd, flags);
        if (kind == 7) unset(fd);
        if (kind == 8) send(pair[1], "x", 1, MSG_DONTWAIT);
        if (kind == 9) recv(fd, &byte, 1, MSG_DONTWAIT);
        if (kind == 10) shutdown(pair[1], SHUT_RDWR);
        if (kind == 11 && !watches_.count(fd)) close(pair[0]), close(pair[1]), open(pair);
    }
    void pass() {
        for (const auto& [fd, watch] : watches_) {
            const auto bit = [flags = watch.flags](int flag, int bits) { return flags & flag ? bits : 0; };
            pollfd ready{fd, static_cast<short>(bit(ORVOFE_READABLE, POLLIN) | bit(ORVOFE_WRITABLE, POLLOUT)), 0};
            poll(&ready, 1, 0);
            int events =
                (ready.revents & POLLIN ? ORVOFE_READABLE : 0) | (ready.revents & POLLOUT ? ORVOFE_WRITABLE : 0);
            if (events == 0 && watch.expired) events = ORVOFE_TIMEOUT;
            if (ready.revents & (POLLHUP | POLLERR | POLLNVAL)) events |= ORVOFE_ERROR;
            if (events != 0) expected_.push_back({fd, events, watch.serial});
        }
        const auto count = static_cast<int>(expected_.size());
        EXPECT_EQ(orvofe_loop_within(pump_.get(), 0), count);
        skip_unwatched();
        EXPECT_TRUE(expected_.empty() && to_release_ < 0);
        EXPECT_EQ(orvofe_fdsize(pump_.get()), static_cast<int>(watches_.size()));
    }
    // What an earlier callback has removed gets nothing of this pass, nor does what was added again.
    void skip_unwatched() {
        std::erase_if(expected_, [this](const Event& event) {
            const auto watch = watches_.find(event.fd);
            return watch == watches_.end() || watch->second.serial != event.serial;
        });
    }
    static void called(orvofe*, long long fd, int events, void* user) {
        auto& self = *static_cast<Pump*>(user);
        self.skip_unwatched();
        if (self.expected_.empty()) return void(ADD_FAILURE() << fd);
        EXPECT_EQ(self.expected_[0].fd, fd);
        EXPECT_EQ(self.expected_[0].events, events);
        EXPECT_LT(self.to_release_, 0);
        self.expected_.erase(self.expected_.begin());
        int& flags = self.watches_[static_cast<int>(fd)].flags;
        const bool ends = events & (ORVOFE_TIMEOUT | ORVOFE_ERROR);
        flags = ends ? 0 : flags & (~events | self.watches_[static_cast<int>(fd)].keep);
        if (self.changes_) self.change_something();
        const auto watch = self.watches_.find(static_cast<int>(fd));
        if (watch != self.watches_.end() && watch->second.flags == 0) self.to_release_ = static_cast<int>(fd);
    }
    static void released(orvofe*, long long fd, void* user) {
        auto& self = *static_cast<Pump*>(user);
        EXPECT_EQ(std::exchange(self.to_release_, -1), fd);
        self.watches_.erase(static_cast<int>(fd));
    }

    std::unique_ptr<orvofe, void (*)(orvofe*)> pump_{orvofe_alloc(), orvofe_free};
    std::mt19937 random_{17};
    int pairs_[100][2];
    std::map<int, Watch> watches_;
    std::vector<Event> expected_;  // of this pass
    int to_release_ = -1;
    unsigned serial_ = 0;
    bool changes_ = false;  // in callbacks
};

TEST_F(Pump, FollowsItsModel) {
    size_t most = 0;
    for (int step = 0; step < 20000 && !HasFailure(); ++step) {
        change_something();
        changes_ = step / 1000 % 2;
        if (step % 1000 > 700 && random_() % 4 == 0) pass();
        most = std::max(most, watches_.size());
    }
    EXPECT_EQ(most, size_t{ORVOFE_MAX_FDS}) << "it was full at times";
    EXPECT_EQ(orvofe_add(nullptr, 1, 2, 0, called, this, nullptr), 22);
    EXPECT_EQ(orvofe_add(pump_.get(), 1LL << 32, 2, 0, called, this, nullptr), 22);
    const auto messages = support::take_messages("fevent");
    for (const char* each : {"1 add illegal argument!", "1 addonce illegal argument!", "1 file not found!",
                             "1 file aready existed!", "1 out of memory!"})
        EXPECT_NE(std::find(messages.begin(), messages.end(), each), messages.end()) << each;
    orvofe_clearup(pump_.get());
    EXPECT_EQ(orvofe_fdsize(pump_.get()) + orvofe_loop(nullptr), 0);
}

TEST_F(Pump, WaitsForTheEarliestDeadlineOrAMillisecond) {
    const auto begin = steady_clock::now();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(orvofe_loop(pump_.get()), 0);
    add_once(pairs_[1][0], 2, 60000);
    for (int i = 0; i < 10; ++i) {
        add_once(pairs_[0][0], 2, 1);
        expected_ = {{pairs_[0][0], ORVOFE_TIMEOUT, serial_}};
        EXPECT_EQ(orvofe_loop(pump_.get()), 1) << "it has passed afterwards";
    }
    EXPECT_GE(steady_clock::now() - begin, milliseconds(15));
    EXPECT_EQ(watches_.size(), 1u);
}

struct Handler : CRefCountSafe {
    Handler(int& events, int& deaths) : events_(events), deaths_(deaths) {}
    ~Handler() override { ++deaths_; }
    void on_event(long long fd, int events) {
        int &sum = events_, &deaths = deaths_;
        sum += events;
        if (leave_) leave_->Unset(fd);
        sum += deaths == 0 ? 100 : 0;  // the handler still lives
    }
    int &events_, &deaths_;
    CFEventPump* leave_ = nullptr;
};

TEST_F(Pump, RoutesToCountedHandlers) {
    const auto wrapper = CFECallbackWraper::to<Handler, &Handler::on_event>();
    const int a = pairs_[0][0], b = pairs_[1][0];
    int events = 0, deaths = 0;
    {
        CFEventPump pump;
        auto* handler = new Handler(events, deaths);
        EXPECT_EQ(pump.Add(a, 4, 4, wrapper, handler), 0);
        EXPECT_EQ(pump.Add(a, 4, 4, wrapper, handler), 17);
        EXPECT_EQ(pump.Add(b, 4, 4, wrapper, nullptr), 22);
        EXPECT_EQ(pump.AddOnce(b, 2, wrapper, handler, 0), 0);
        handler->Release();
        EXPECT_EQ(pump.Loop(), 2);
        EXPECT_EQ(events, 205);
        handler->leave_ = &pump;
        EXPECT_EQ(pump.Set(a, 4) + deaths, 0);
        EXPECT_EQ(pump.Loop(), 1);
        EXPECT_EQ(events, 309);
        EXPECT_EQ(deaths, 1) << "its only reference went inside its own callback";

        handler = new Handler(events, deaths);
        pump.Add(a, 4, 4, wrapper, handler);
        handler->Release();
    }
    EXPECT_EQ(deaths, 2) << "the pump's end gives the handlers back";
}

}  // namespace
