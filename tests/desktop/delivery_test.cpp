// Frames of the display path on their way to the host, and the registry of its callbacks.
#include "orvo/screencapture_additions.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Delivery : public DesktopTest {
  protected:
    void start() {
        init();
        orvo_screencapture_set_target_screen(1);
        orvo_screencapture_start_capture();
        runSteps();
    }
    platform::Ref<FrameBuffer> deliver(platform::Ref<FrameBuffer> frame, platform::MediaTime time = {1, 1}) {
        desk.device().produce(frame, time);
        desk.stepper.run(mainQueue);
        return frame;
    }
};

TEST_F(Delivery, AFrameIsTheDevicesOwnMemoryDescribedExactly) {
    start();
    const auto image = pattern(1, 100, 3);  // rows of 448 bytes
    const auto frame = deliver(platform::makeCounted<FrameBuffer>(image), {90000, 90000});
    ASSERT_EQ(host.frames.size(), 1u);
    const auto& got = host.frames[0];
    EXPECT_EQ(got.data, reinterpret_cast<const char*>(image->bytes()));
    EXPECT_EQ(got.length, 448u * 3);
    EXPECT_EQ(got.format.width, 100);
    EXPECT_EQ(got.format.height, 3);
    EXPECT_EQ(got.format.strides[0], 448);
    EXPECT_EQ(got.format.strides[1] | got.format.strides[2] | got.format.strides[3] | got.format.reserved, 0);
    EXPECT_EQ(got.format.pixelFormat, 4);
    EXPECT_EQ(got.time, 1000u);
    EXPECT_EQ(got.timeScale, 1000u);
    EXPECT_EQ(got.at(99, 2), patternPixel(1, 99, 2));
    EXPECT_EQ(frame->locks, 1);
    EXPECT_EQ(frame->unlocks, 1);
    EXPECT_TRUE(host.windowFrames.empty());
    EXPECT_TRUE(frame->unique());  // nobody keeps it
}

TEST_F(Delivery, TimesAreTruncatedMilliseconds) {
    struct {
        platform::MediaTime time;
        unsigned long long milliseconds;
    } cases[] = {{{90000, 90000}, 1000}, {{1, 3}, 333}, {{-1, 3}, static_cast<unsigned long long>(-333)},
                 {{0, 600}, 0},          {{7, 0}, 0},   {{9007199254740993, 1000}, 9007199254740993}};
    start();
    orvo_screencapture_set_timestamp_offset(5000);  // of no concern to displays
    for (const auto& c : cases) {
        host.frames.clear();
        deliver(platform::makeCounted<FrameBuffer>(pattern(1, 4, 1)), c.time);
        ASSERT_EQ(host.frames.size(), 1u);
        EXPECT_EQ(host.frames[0].time, c.milliseconds);
    }
}

TEST_F(Delivery, FormatsChooseBetweenBytesAndBuffer) {
    struct {
        int format;
        int reported;
    } cases[] = {{100, 100}, {7, 4}, {0, 4}, {4, 4}};
    start();
    for (const auto& c : cases) {
        host.frames.clear();
        orvo_screencapture_set_capture_video_pixel_format(c.format);
        const auto frame = deliver(platform::makeCounted<FrameBuffer>(pattern(1, 16, 2)));
        ASSERT_EQ(host.frames.size(), 1u);
        EXPECT_EQ(host.frames[0].format.pixelFormat, c.reported);
        EXPECT_EQ(host.frames[0].length, 128u);
        EXPECT_EQ(host.frames[0].data, c.reported == 100 ? frame->hostHandle() : frame->baseAddress());
    }
}

TEST_F(Delivery, DisplaySizeAndPlanesFollowTheirRules) {
    start();
    const char planes[3] = {};
    auto frame = platform::makeCounted<FrameBuffer>(pattern(1, 16, 4));
    frame->planes = {&planes[0], &planes[1], &planes[2]};
    frame->shown = {15.9, 2.5};
    orvo_screencapture_set_capture_video_pixel_format(4);
    desk.device().produce(frame, {1, 1});
    // The host must not read planar bytes as rows: look at the arguments only.
    orvo_screencapture_reg_captured_frame_available_notify(
        [](const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format, unsigned long long,
           unsigned int, void* user) {
            static_cast<Host*>(user)->keep(static_cast<Host*>(user)->frames, {data, length, *format, 0, 0, 0, {}});
        },
        &host);
    desk.stepper.run(mainQueue);
    ASSERT_EQ(host.frames.size(), 1u);
    EXPECT_EQ(host.frames[0].data, &planes[2]);  // the plane whose index is the number of planes
    EXPECT_EQ(host.frames[0].format.width, 15);
    EXPECT_EQ(host.frames[0].format.height, 2);
    EXPECT_EQ(host.frames[0].length, 160u);  // 64 bytes times 2.5 rows
}

TEST_F(Delivery, ABusyMainQueueFindsTheNewestFrameAndNothingAfterTheStop) {
    start();
    for (int64_t i = 1; i <= 3; ++i)
        desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(1, 4, 1)), {i, 1});
    desk.stepper.run(mainQueue);
    ASSERT_EQ(host.frames.size(), 1u);
    EXPECT_EQ(host.frames[0].time, 3000u);
    desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(1, 4, 1)), {4, 1});
    orvo_screencapture_stop_capture();
    desk.stepper.settle();
    EXPECT_EQ(host.frames.size(), 1u);
}

TEST_F(Delivery, CallbacksAreReplacedSilencedAndLost) {
    host.listen();  // before init: lost
    start();
    Host second;
    second.listen();
    DesktopTest::deliver();
    EXPECT_TRUE(host.frames.empty());
    EXPECT_EQ(second.frames.size(), 1u);
    second.silenceFrames();
    auto frame = deliver(platform::makeCounted<FrameBuffer>(pattern(1, 4, 1)));
    EXPECT_EQ(second.frames.size(), 1u);
    EXPECT_EQ(frame->locks, 1);  // the frame went its way, only nobody was called
    EXPECT_TRUE(orvo_screencapture_is_capturing());
    orvo_screencapture_uninit();
    orvo_screencapture_init();  // an empty registry
    orvo_screencapture_start_capture();
    EXPECT_TRUE(second.take() == Lines{"frame"} && host.take().empty());
}

TEST_F(Delivery, StatisticsTellWhatBecameOfTheTicks) {
    OrvoScreenCaptureStatistics figures{};
    EXPECT_FALSE(orvo_screencapture_get_statistics(&figures));
    EXPECT_FALSE(orvo_screencapture_get_statistics(nullptr));
    start();  // 15 a second
    const struct {
        int64_t milliseconds;
        uint64_t merged, longestGap;
        int drops = 0;  // of ticks before this one
    } ticks[] = {{1000, 0, 0}, {1067, 0, 67}, {1267, 2, 200}, {1300, 2, 200}, {1567, 3, 267, 2}, {1633, 3, 267, 1}};
    uint64_t delivered = 0;
    for (const auto& tick : ticks) {
        for (int i = 0; i < tick.drops; ++i) desk.device().output.lock()->onDropped(platform::NoImage::noBuffer);
        deliver(platform::makeCounted<FrameBuffer>(pattern(1, 4, 1)), {tick.milliseconds, 1000});
        ASSERT_TRUE(orvo_screencapture_get_statistics(&figures));
        EXPECT_EQ(figures.framesDelivered, ++delivered);
        EXPECT_EQ(figures.ticksMerged, tick.merged);
        EXPECT_EQ(figures.longestGapMilliseconds, tick.longestGap);
    }
    desk.device().fail({"", "unplugged"});
    desk.stepper.run(mainQueue);
    orvo_screencapture_get_statistics(&figures);
    EXPECT_EQ(figures.lastErrorCode, 4);
    EXPECT_STREQ(figures.lastErrorReason, "unplugged");
    orvo_screencapture_uninit();
    EXPECT_FALSE(orvo_screencapture_get_statistics(&figures));
}

TEST_F(Delivery, PermissionsAreThoseOfTheSystem) {
    desk.permission = platform::PermissionState::restartNeeded;
    EXPECT_EQ(orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING), ORVO_PERMISSION_RESTART_NEEDED);
    desk.permission = platform::PermissionState::neverAsked;
    EXPECT_EQ(orvo_screencapture_request_permission(ORVO_PERMISSION_ACCESSIBILITY), ORVO_PERMISSION_NEVER_ASKED);
    EXPECT_EQ(orvo_screencapture_get_permission(7), ORVO_PERMISSION_DENIED);
}

}  // namespace
}  // namespace orvo::test
