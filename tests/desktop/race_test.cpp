// The library on real queues, driven from several threads at once; meant for the thread sanitiser.
#include <atomic>
#include <thread>

#include "support/desktop/host.h"
#include "support/desktop/threads.h"
#include "support/every_export.h"

namespace orvo::test {
namespace {

const With inTheMiddle{2, 7, 8, [](bool good) { EXPECT_TRUE(good); }};

// Counts calls, and those that come while it is closed.
struct Witness {
    std::atomic<bool> closed{false};
    std::atomic<int> calls{0};
    std::atomic<int> late{0};

    static void seen(void* user) {
        auto& self = *static_cast<Witness*>(user);
        ++self.calls;
        if (self.closed) ++self.late;
    }
    void listen() {
        orvo_screencapture_reg_capture_error_notify([](int, void* user) { seen(user); }, this);
        orvo_screencapture_reg_captured_frame_available_notify(
            [](const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat*, unsigned long long,
               unsigned int, void* user) {
                seen(user);
                volatile char last = data[length - 1];
                (void)last;
            },
            this);
        orvo_screencapture_reg_mutiple_captured_frame_available_notify(
            [](const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
               unsigned int, void* user) { seen(user); },
            this);
        orvo_screencapture_reg_captured_window_moved_notify(
            [](unsigned int, int, int, int, int, void* user) { seen(user); }, this);
        orvo_screencapture_reg_captured_window_status_change_notify(
            [](int, unsigned int, OrvoScreenCaptureRect, void* user) { seen(user); }, this);
    }
};

class Races : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        desk.useQueues(queues, queues);
        desk.addDisplay({.number = 2, .bounds = {1920, 0, 64, 48}});
        desk.addWindow({.number = 8, .pid = 200, .bounds = {30, 30, 20, 20}});
        desk.addWindow({.number = 7, .pid = 100, .bounds = {10, 10, 32, 24}});
    }
    void TearDown() override {
        orvo_screencapture_uninit();
        queues.flush();
        queues.flush();  // what the first round queued
    }
    // A desk in motion, until told to stop.
    void stir(const std::atomic<bool>& done) {
        for (int i = 0; !done; ++i) {
            desk.change(&Desktop::window, 7, [i](ScriptedWindow& window) { window.bounds.x = 10 + i % 5; });
            desk.change(&Desktop::window, 8, [i](ScriptedWindow& window) { window.minimized = i % 7 == 0; });
            std::shared_ptr<Device> device;
            {
                auto lock = desk.gate.hold();
                if (!desk.devices.empty()) device = desk.devices.back();
            }
            if (device) device->produce(platform::makeCounted<FrameBuffer>(pattern(1, 8, 2)), {i, 30});
            std::this_thread::yield();
        }
    }

    ThreadedQueues& queues = *new ThreadedQueues;  // its threads outlive the test
    Witness witness;
};

TEST_F(Races, NothingReachesTheHostAfterUninitHasReturned) {
    std::atomic<bool> done{false};
    std::thread motion([&] { stir(done); });
    for (int round = 0; round < 60; ++round) {
        orvo_screencapture_init();
        witness.closed = false;
        witness.listen();
        orvo_screencapture_set_fps(30);
        round % 2 ? orvo_screencapture_set_target_window(7) : orvo_screencapture_set_target_screen(1 + round / 2 % 2);
        orvo_screencapture_start_capture();
        if (round % 3) queues.flush();
        const int before = witness.calls;
        if (round % 3 == 2) {
            while (witness.calls == before) std::this_thread::yield();  // frames flow
        }
        orvo_screencapture_uninit();
        witness.closed = true;
    }
    done = true;
    motion.join();
    queues.flush();
    queues.flush();
    EXPECT_EQ(witness.late, 0);
    EXPECT_GT(witness.calls, 20);
    for (const auto& device : desk.devices) EXPECT_FALSE(device->running);
}

TEST_F(Races, AFrameCallbackMayUninitOnItsOwnThread) {
    static std::atomic<int> ends{0};
    std::atomic<bool> done{false};
    std::thread motion([&] { stir(done); });
    for (int round = 0; round < 20; ++round) {
        orvo_screencapture_init();
        orvo_screencapture_reg_captured_frame_available_notify(
            [](const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
               void*) {
                orvo_screencapture_uninit();
                ++ends;
            },
            nullptr);
        round % 2 ? orvo_screencapture_set_target_window(7) : orvo_screencapture_set_target_screen(1);
        orvo_screencapture_start_capture();
        while (ends <= round) std::this_thread::yield();
    }
    done = true;
    motion.join();
    queues.flush();
    EXPECT_EQ(ends, 20);
    EXPECT_FALSE(orvo_screencapture_is_capturing());
}

TEST_F(Races, EverythingMayBeCalledFromEveryThread) {
    constexpr size_t count = std::size(everyExport);
    std::atomic<bool> done{false};
    std::thread motion([&] { stir(done); });
    orvo_screencapture_init();
    std::vector<std::thread> hosts;
    for (size_t stride : {1, 7, 11}) {
        hosts.emplace_back([&, stride] {
            for (size_t i = 0; i < 300; ++i) {
                everyExport[i * stride % count].call(inTheMiddle);
                if (i % 10 == 0) witness.listen();
            }
        });
    }
    for (auto& thread : hosts) thread.join();
    done = true;
    motion.join();
    orvo_screencapture_uninit();
    witness.closed = true;
    queues.flush();
    queues.flush();
    EXPECT_EQ(witness.late, 0);
}

}  // namespace
}  // namespace orvo::test
