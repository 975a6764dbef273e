// From the library's frame to the written one: copies, limits, figures, pictures.
#include "tools/orvocap/recording.h"

#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <cstring>

#include "support/tool/frames.h"
#include "tools/orvocap/application.h"
#include "tools/orvocap/output_stream.h"
#include "tools/orvocap/png_files.h"
#include "tools/orvocap/terminal.h"

namespace orvocap {
namespace {

// Keeps what it gets; holds every write back while it is closed; fails on the frame of a chosen time.
class GatedSink : public FrameSink {
  public:
    void write(const Frame& frame) override {
        std::unique_lock lock(mutex_);
        ++arrived_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
        if (frame.time == failAt) throw std::runtime_error("full");
        frames.push_back(frame);
    }
    void hold(unsigned long long time) override { held.push_back(time); }
    void finish() override { finished = true; }
    std::string summary() const override { return {}; }
    uint64_t bytes() const override { return 0; }

    void setOpen(bool open) {
        const std::lock_guard lock(mutex_);
        open_ = open;
        changed_.notify_all();
    }
    void waitForArrivals(int count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this, count] { return arrived_ >= count; });
    }

    std::vector<Frame> frames;
    std::vector<unsigned long long> held;
    unsigned long long failAt = 0;
    bool finished = false;

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = true;
    int arrived_ = 0;
};

// A frame of 2x2 pixels with 8 bytes of padding after each row, as the library lends it.
class LentFrame {
  public:
    explicit LentFrame(unsigned long long time) : time_(time) {
        for (size_t i = 0; i < sizeof bytes_; ++i) bytes_[i] = static_cast<char>(i);
    }
    FrameView view() const { return {bytes_, format_, time_}; }

  private:
    char bytes_[32];
    OrvoScreenCaptureFrameFormat format_{2, 2, {16, 0, 0, 0}, 0, ORVO_PIXEL_FORMAT_BGRA};
    unsigned long long time_;
};

TEST(FrameWriter, CopiesRowsWithoutPaddingInOrder) {
    GatedSink sink;
    FrameWriter writer(sink, 4);
    for (unsigned long long time = 1; time <= 3; ++time) EXPECT_TRUE(writer.offer(LentFrame(time).view()));
    writer.finish();
    ASSERT_EQ(sink.frames.size(), 3u);
    EXPECT_TRUE(sink.finished);
    const std::vector<uint8_t> expected{0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(sink.frames[i].time, i + 1);
        EXPECT_EQ(sink.frames[i].pixels, expected);
    }
}

TEST(FrameWriter, RefusesWhatFindsNoRoomAndCountsItAsDropped) {
    GatedSink sink;
    sink.setOpen(false);
    FrameWriter writer(sink, 2);
    Recording recording(writer, 0, 10);
    recording.take(LentFrame(1000).view());
    sink.waitForArrivals(1);
    for (const unsigned long long time : {1100, 1200, 1300}) recording.take(LentFrame(time).view());
    sink.setOpen(true);
    writer.finish();
    EXPECT_EQ(recording.figures().frames, 2u);
    EXPECT_EQ(recording.figures().dropped, 2u);
    EXPECT_EQ(sink.frames.size(), 2u);
}

TEST(FrameWriter, ReportsTheSinksFailureAndWritesNothingAfterIt) {
    GatedSink sink;
    sink.failAt = 2;
    FrameWriter writer(sink, 4);
    for (unsigned long long time = 1; time <= 2; ++time) EXPECT_TRUE(writer.offer(LentFrame(time).view()));
    EXPECT_THROW(writer.finish(), std::runtime_error);
    EXPECT_FALSE(writer.offer(LentFrame(3).view()));
    EXPECT_EQ(sink.frames.size(), 1u);
    EXPECT_FALSE(sink.finished);
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
        {"a late frame still counts", 0.3, {1000, 1100, 1240}, 3, 2000.0 / 240, 140, false},
        {"a gap shows", 0, {1000, 1100, 1500}, 3, 4, 400, false},
        {"one frame has no rate", 0, {1000}, 1, 0, 0, false},
    };
    for (const Case& recorded : cases) {
        GatedSink sink;
        FrameWriter writer(sink, 8);
        Recording recording(writer, recorded.seconds, 10);
        for (const auto time : recorded.times) recording.take(LentFrame(time).view());
        const RecordingFigures figures = recording.figures();
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
        for (const auto time : times) recording.take(LentFrame(time).view());
    };
    take({1000, 1100});
    recording.setPaused(true);
    take({1200, 4900});
    recording.hold();
    recording.setPaused(false);
    take({5000, 5100});
    Recording brief(writer, 0.0005, 10);
    brief.take(LentFrame(7000).view());
    brief.hold();
    writer.finish();
    std::vector<unsigned long long> times;
    for (const Frame& frame : sink.frames) times.push_back(frame.time);
    EXPECT_EQ(times, (std::vector<unsigned long long>{1000, 1100, 1200, 1300, 7000}));
    EXPECT_EQ(recording.figures().longestGap, 100u);
    EXPECT_EQ(sink.held, std::vector<unsigned long long>{7000});
    EXPECT_TRUE(brief.complete());
}

TEST(Progress, FillsItsBarAndKeepsToTheLine) {
    EXPECT_EQ(progressLine(0.5, "text", 80), "[########........] text");
    EXPECT_EQ(progressLine(7, "text", 80), "[################] text");
    EXPECT_EQ(progressLine(-1, "text", 80), "text");
    EXPECT_EQ(progressLine(0, "text", 22), "[................] te");
    EXPECT_EQ(progressLine(0, "text", 0), "");
    EXPECT_EQ(clockText(7.9) + clockText(62) + clockText(3723), "0:071:021:02:03");
}

TEST(PngSink, WritesPicturesThatReadBackTheSameAndShowEmptyPixelsBlack) {
    TemporaryFolder folder;
    const std::string start = folder.path() + "/new/deep/frame-";
    PngSink sink(start, false);
    Frame frame = solidFrame(3, 2, {1, 2, 3}, 0);
    setPixel(frame, 2, 1, {0, 0, 0, 0});
    sink.write(solidFrame(3, 2, {9, 9, 9}, 0));
    sink.write(frame);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, (folder.path() + "/new/deep/frame-000002.png").c_str()));
    image.format = PNG_FORMAT_BGRA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    setPixel(frame, 2, 1, {0, 0, 0, 255});
    EXPECT_EQ(pixels, frame.pixels);
    EXPECT_THROW(writePng("/dev/full", frame), std::runtime_error);
    EXPECT_EQ(access("/dev/full", F_OK), 0);
    EXPECT_THROW(PngSink("/dev/null/folder/a", false), std::runtime_error);
    EXPECT_THROW(PngSink(start, false), Failure);  // nobody can be asked
    writeFile(start + "1x.png", "", 0);
    PngSink(start, true).write(frame);
    EXPECT_EQ(access((start + "000001.png").c_str(), F_OK), 0);
    EXPECT_NE(access((start + "000002.png").c_str(), F_OK), 0);  // of the older series
    EXPECT_EQ(access((start + "1x.png").c_str(), F_OK), 0);      // of none
    PngSink other(folder.path() + "/new/deep/other-", false);
    EXPECT_THROW(writePng(folder.path() + "/none/x.png", frame), std::runtime_error);
}

}  // namespace
}  // namespace orvocap
