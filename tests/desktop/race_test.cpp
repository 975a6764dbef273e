// The library on real queues, driven from several threads at once; meant for the thread sanitiser.
#include <atomic>
#include <thread>

#include "support/desktop/host.h"
#include "support/desktop/threads.h"
#include "support/every_export.h"

namespace orvo::test {
namespace {

const With inTheMiddle{2, 7, 8, [](bool good) { EXPECT_TRUE(good); }};

class Races : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        desk.useQueues(queues, queues);
        host.during = [this](const std::string&) {
            ++calls;
            if (closed) ++late;
        };
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
    std::atomic<bool> closed{false};
    std::atomic<int> calls{0}, late{0};  // of the host; those that came while it was closed
};

TEST_F(Races, NothingReachesTheHostAfterUninitHasReturned) {
    std::atomic<bool> done{false};
    std::thread motion([&] { stir(done); });
    for (int round = 0; round < 60; ++round) {
        orvo_screencapture_init();
        closed = false;
        host.listen();
        orvo_screencapture_set_fps(30);
        round % 2 ? orvo_screencapture_set_target_window(7) : orvo_screencapture_set_target_screen(1 + round / 2 % 2);
        orvo_screencapture_start_capture();
        if (round % 3) queues.flush();
        const int before = calls;
        if (round % 3 == 2) {
            while (calls == before) std::this_thread::yield();  // frames flow
        }
        orvo_screencapture_uninit();
        closed = true;
    }
    done = true;
    motion.join();
    queues.flush();
    queues.flush();
    EXPECT_EQ(late, 0);
    EXPECT_GT(calls, 20);
    for (const auto& device : desk.devices) EXPECT_FALSE(device->running);
}

TEST_F(Races, AFrameCallbackMayUninitOnItsOwnThread) {
    std::atomic<int> ends{0};
    std::atomic<bool> done{false};
    host.during = [&](const std::string& event) {
        if (event.rfind("frame", 0) != 0) return;
        orvo_screencapture_uninit();
        ++ends;
    };
    std::thread motion([&] { stir(done); });
    for (int round = 0; round < 20; ++round) {
        orvo_screencapture_init();
        host.listen();
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
                everyExport[i * stride % count].make(inTheMiddle);
                if (i % 10 == 0) host.listen();
            }
        });
    }
    for (auto& thread : hosts) thread.join();
    done = true;
    motion.join();
    orvo_screencapture_uninit();
    closed = true;
    queues.flush();
    queues.flush();
    EXPECT_EQ(late, 0);
}

}  // namespace
}  // namespace orvo::test
