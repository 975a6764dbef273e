// From the library's frame to the written one: copies, limits, figures, pictures.
#include "tools/orvocap/recording.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>

#include "support/full_disk.h"
#include "support/tool/frames.h"
#include "tools/orvocap/application.h"
#include "tools/orvocap/output_stream.h"
#include "tools/orvocap/png_files.h"

namespace orvocap {
namespace {

// Keeps what it gets; waits for the gate with every write; fails on the frame of a chosen time.
class GatedSink : public FrameSink {
  public:
    void write(const Frame& frame) override {
        ++arrived;
        const std::lock_guard lock(gate);
        if (frame.time == failAt) throw std::runtime_error("full");
        frames.push_back(frame);
    }
    void hold(unsigned long long time) override { held.push_back(time); }
    void finish() override { finished = true; }
    std::string summary() const override { return {}; }
    uint64_t bytes() const override { return 0; }

    std::mutex gate;
    std::atomic<int> arrived{0};
    std::vector<Frame> frames;
    std::vector<unsigned long long> held;
    unsigned long long failAt = 0;
    bool finished = false;
};

// A frame of 2x2 pixels with 8 bytes of padding after each row, as the library lends it.
FrameView lent(unsigned long long time) {
    static const std::string bytes = [] {
        std::string all;
        for (char i = 0; i < 32; ++i) all += i;
        return all;
    }();
    static const OrvoScreenCaptureFrameFormat format{2, 2, {16, 0, 0, 0}, 0, ORVO_PIXEL_FORMAT_BGRA};
    return {bytes.data(), format, time};
}

TEST(FrameWriter, CopiesRowsWithoutPaddingInOrderUntilTheSinkFails) {
    for (const unsigned long long failAt : {0, 3}) {
        GatedSink sink;
        sink.failAt = failAt;
        FrameWriter writer(sink, 4);
        for (unsigned long long time = 1; time <= 3; ++time) EXPECT_TRUE(writer.offer(lent(time)));
        if (failAt != 0) {
            EXPECT_THROW(writer.finish(), std::runtime_error);
            EXPECT_FALSE(writer.offer(lent(4)));
        } else {
            writer.finish();
        }
        EXPECT_EQ(sink.finished, failAt == 0);
        ASSERT_EQ(sink.frames.size(), failAt == 0 ? 3u : 2u);
        for (size_t i = 0; i < sink.frames.size(); ++i) {
            EXPECT_EQ(sink.frames[i].time, i + 1);
            EXPECT_EQ(sink.frames[i].pixels,
                      (std::vector<uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23}));
        }
    }
}

TEST(FrameWriter, RefusesWhatFindsNoRoomAndCountsItAsDropped) {
    GatedSink sink;
    std::unique_lock closed(sink.gate);
    FrameWriter writer(sink, 2);
    Recording recording(writer, 0, 10);
    recording.take(lent(1000));
    while (sink.arrived == 0) std::this_thread::yield();
    for (const unsigned long long time : {1100, 1200, 1300}) recording.take(lent(time));
    closed.unlock();
    writer.finish();
    EXPECT_EQ(recording.figures().frames, 2u);
    EXPECT_EQ(recording.figures().dropped, 2u);
    EXPECT_EQ(sink.frames.size(), 2u);
}

TEST(Recording, TakesTheFramesOfItsTime) {
    struct Case {
        const char* name;
        double seconds;
        std::vector<unsigned long long> times;
        unsigned int frames;
        double rate;
        unsigned long long gap;
        bool complete;
    };
    const Case cases[] = {
        {"a frame on the closing edge is of the next second", 0.3, {1000, 1100, 1200, 1299}, 3, 10, 100, true},
        {"a gap shows", 0, {1000, 1100, 1500}, 3, 4, 400, false},
        {"one frame has no rate", 0, {1000}, 1, 0, 0, false},
    };
    for (const Case& recorded : cases) {
        GatedSink sink;
        FrameWriter writer(sink, 8);
        Recording recording(writer, recorded.seconds, 10);
        unsigned int taken = 0;
        for (const auto time : recorded.times) taken += recording.take(lent(time));
        const RecordingFigures figures = recording.figures();
        EXPECT_EQ(taken, recorded.frames) << recorded.name;
        EXPECT_EQ(figures.frames, recorded.frames) << recorded.name;
        EXPECT_DOUBLE_EQ(figures.rate(), recorded.rate) << recorded.name;
        EXPECT_EQ(figures.longestGap, recorded.gap) << recorded.name;
        EXPECT_EQ(recording.complete(), recorded.complete) << recorded.name;
    }
}

TEST(Recording, LeavesPausesOutAndShowsWhatIsAwayOn) {
    GatedSink sink;
    FrameWriter writer(sink, 8);
    Recording recording(writer, 0, 10);
    const auto take = [&](std::initializer_list<unsigned long long> times) {
        for (const auto time : times) recording.take(lent(time));
    };
    take({1000, 1100});
    recording.setPaused(true);
    take({1200, 4900});
    recording.hold();
    recording.setPaused(false);
    take({5000, 5100});
    Recording brief(writer, 0.0005, 10);
    brief.take(lent(7000));
    brief.hold();
    writer.finish();
    std::vector<unsigned long long> times;
    for (const Frame& frame : sink.frames) times.push_back(frame.time);
    EXPECT_EQ(times, (std::vector<unsigned long long>{1000, 1100, 1200, 1300, 7000}));
    EXPECT_EQ(recording.figures().longestGap, 100u);
    EXPECT_EQ(sink.held, std::vector<unsigned long long>{7000});
    EXPECT_TRUE(brief.complete());
}

TEST(PngSink, WritesPicturesThatReadBackTheSameAndShowEmptyPixelsBlack) {
    TemporaryFolder folder;
    const std::string start = folder.path() + "/new/deep/frame-";
    PngSink sink(start, false);
    Frame frame = solidFrame(3, 2, {1, 2, 3}, 0);
    setPixel(frame, 2, 1, {0, 0, 0, 0});
    sink.write(solidFrame(3, 2, {9, 9, 9}, 0));
    sink.write(frame);
    setPixel(frame, 2, 1, {0, 0, 0, 255});
    EXPECT_EQ(readPng([&](png_image& image) {
                  return png_image_begin_read_from_file(&image, (start + "000002.png").c_str());
              }),
              frame.pixels);
    EXPECT_THROW(PngSink("/dev/null/folder/a", false), std::runtime_error);
    EXPECT_THROW(writePng(folder.path() + "/none/x.png", frame), std::runtime_error);
    const orvo::testing::FullDisk full(10);
    EXPECT_THROW(writePng(folder.path() + "/x.png", frame), std::runtime_error);
    EXPECT_NE(access((folder.path() + "/x.png").c_str(), F_OK), 0);
}

}  // namespace
}  // namespace orvocap
