// Videos: colours, odd sizes, constant rate, encoders, failures.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "support/tool/frames.h"
#include "tools/orvocap/application.h"
#include "tools/orvocap/video.h"

namespace orvocap {
namespace {

class Y4mTest : public testing::Test {
  protected:
    // What a video of the frames holds, without the line that is its header; a frame without pixels only holds the
    // last.
    std::string recordAndRead(const std::vector<Frame>& frames) {
        VideoSink sink(file_, y4mFormat, 25);
        for (const Frame& frame : frames) frame.pixels.empty() ? sink.hold(frame.time) : sink.write(frame);
        sink.finish();
        std::ifstream stream(file_, std::ios::binary);
        std::getline(stream, header_);
        const std::string data{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(sink.bytes(), data.size() + header_.size() + 1);
        return data;
    }

    TemporaryFolder folder_;
    const std::string file_ = folder_.path() + "/video.y4m";
    std::string header_;
};

TEST_F(Y4mTest, GivesAnOddEdgeChromaOfItsOwn) {
    Frame frame = solidFrame(5, 3, {128, 128, 128}, 0);
    for (int row = 0; row < 3; ++row) setPixel(frame, 4, row, {255, 0, 0});
    const std::string data = recordAndRead({frame});
    EXPECT_EQ(header_, "YUV4MPEG2 W5 H3 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED");
    ASSERT_EQ(data.size(), 6 + 15 + 6 + 6u);
    const auto* u = reinterpret_cast<const unsigned char*>(data.data()) + 6 + 15;
    for (int row = 0; row < 2; ++row) {
        EXPECT_NEAR(u[row * 3 + 1], 128, 2);
        EXPECT_NEAR(u[row * 3 + 2], 240, 2);
    }
}

TEST_F(Y4mTest, RepeatsAPictureWhereFramesAreMissing) {
    std::vector<Frame> frames;
    const unsigned char greys[] = {10, 20, 30};
    const unsigned long long times[] = {1000, 1041, 1199};  // places 0, 1, 5
    for (int i = 0; i < 3; ++i) frames.push_back(solidFrame(2, 2, {greys[i], greys[i], greys[i]}, times[i]));
    frames.push_back({.width = 0, .height = 0, .time = 1280, .pixels = {}});  // held for one more
    const std::string data = recordAndRead(frames);
    constexpr size_t frameSize = 6 + 4 + 2;
    ASSERT_EQ(data.size(), 7 * frameSize);
    std::string luma;
    for (size_t i = 0; i < 6; ++i) luma += data[i * frameSize + 6];
    EXPECT_EQ(luma, std::string({luma[0], luma[1], luma[1], luma[1], luma[1], luma[5]}));
    EXPECT_TRUE(luma[0] < luma[1] && luma[1] < luma[5]);
}

// A program of that name, alone in PATH.
class EncoderTest : public Y4mTest {
  protected:
    void install(const std::string& name, const std::string& script) {
        const std::string program = folder_.path() + "/" + name;
        std::ofstream(program) << "#!/bin/sh\nPATH=/usr/bin:/bin\n" << script;
        ASSERT_EQ(chmod(program.c_str(), 0700), 0);
        setenv("PATH", folder_.path().c_str(), 1);
    }
    ~EncoderTest() override { setenv("PATH", path_.c_str(), 1); }

    const std::string path_ = std::getenv("PATH");
    const std::string video_ = folder_.path() + "/a.MKV";
};

TEST_F(EncoderTest, GetsEvenPicturesAndMakesTheFile) {
    install("gst-launch-1.0", "exit 1\n");
    EXPECT_EQ(encoderCommand(video_, folder_.path()).back(), "location=" + video_);
    install("ffmpeg", "for last; do :; done; cat >\"${last#file:}\"\n");
    VideoSink sink(std::make_unique<Encoder>(video_), 25);
    sink.write(solidFrame(5, 3, {}, 0));
    sink.finish();
    std::ifstream stream(video_, std::ios::binary);
    std::getline(stream, header_);
    EXPECT_EQ(header_.substr(0, 20), "YUV4MPEG2 W4 H2 F25:");
    EXPECT_EQ(sink.bytes(), header_.size() + 1 + 6 + 8 + 2 + 2);
    VideoSink(std::make_unique<Encoder>(video_), 25).finish();
    EXPECT_NE(access(video_.c_str(), F_OK), 0);  // a video without a picture
}

TEST_F(EncoderTest, SaysWhatTheProgramSays) {
    install("ffmpeg", "cat >/dev/null; echo first >&2; echo no room >&2; exit 3\n");
    VideoSink sink(std::make_unique<Encoder>(video_), 25);
    sink.write(solidFrame(4, 2, {}, 0));
    try {
        sink.finish();
        ADD_FAILURE() << "a failed encoder";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(std::string(failure.what()), "ffmpeg cannot write " + video_ + ": no room");
    }
    setenv("PATH", "/nonexistent", 1);
    EXPECT_THROW(Encoder{video_}, Failure);
}

}  // namespace
}  // namespace orvocap
