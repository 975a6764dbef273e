// The log's folder as a host gives it; which of its files is continued is tried with the files themselves.
#include <fstream>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/orvo_log.h"
#include "support/desktop/host.h"
#include "support/temporary_folder.h"

namespace orvo::test {
namespace {

class LogFolder : public DesktopTest {
  protected:
    void TearDown() override {
        ORVO::ScreenCapture::close_log();
        waitForLogThread();
        DesktopTest::TearDown();
    }
    const testing::TemporaryFolder temporary;
};

TEST_F(LogFolder, IsMadeWhateverItEndsWith) {
    g_pScreenCaptureImpl->StartThreadIfNeeded();
    for (const std::string given : {"/one/", "/two\\", "/three", "/three"}) {  // the last one exists
        ORVO::ScreenCapture::close_log();
        takeLog();
        const std::string folder = temporary.path() + given;
        orvo_screencapture_set_log_level(4, folder.c_str());
        EXPECT_EQ(takeLog(), (Lines{"SC orvo_screencapture_set_log_level log level:4 log folder:" + folder,
                                    "OrvoLog *** SDK Version: 2.9.193", "Impl SetLogLevel, level: 4"}));
        waitForLogThread();
        const std::string name = given.substr(0, given.find_last_not_of("/\\") + 1);
        EXPECT_TRUE(std::ifstream(temporary.path() + name + "/orvoscreencaplog1.txt")) << given;
    }
}

}  // namespace
}  // namespace orvo::test
