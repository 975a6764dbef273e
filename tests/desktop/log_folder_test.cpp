// Which of the three log files of a folder the library continues.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/orvo_log.h"
#include "support/desktop/host.h"
#include "support/temporary_folder.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::test {
namespace {

constexpr long full = 5'242'880;  // bytes
constexpr long missing = -1;

class LogFolder : public DesktopTest {
  protected:
    void TearDown() override {
        ORVO::ScreenCapture::close_log();
        waitForLogThread();
        DesktopTest::TearDown();
    }
    static std::string file(const std::string& folder, int number) {
        return folder + "/orvoscreencaplog" + std::to_string(number) + ".txt";
    }
    static long size(const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? static_cast<long>(status.st_size) : missing;
    }

    const testing::TemporaryFolder temporary;
    int folders = 0;
};

TEST_F(LogFolder, TheFirstFileWithRoomIsContinued) {
    const struct {
        long before[3];  // sizes
        int continued;   // number of the file that a line goes to
        const char* ending;
        bool folderExists = true;
    } cases[] = {
        {{missing, missing, missing}, 1, "/", false},
        {{missing, missing, missing}, 1, "\\", false},
        {{full, missing, 20}, 2, ""},
        {{full, full, full}, 1, ""},
    };
    g_pScreenCaptureImpl->StartThreadIfNeeded();
    for (const auto& c : cases) {
        const std::string folder = temporary.path() + "/" + std::to_string(folders++);
        ASSERT_TRUE(!c.folderExists || mkdir(folder.c_str(), 0700) == 0);
        for (int i = 1; i <= 3; ++i) {
            if (c.before[i - 1] == missing) continue;
            std::ofstream(file(folder, i)).flush();
            ASSERT_EQ(truncate(file(folder, i).c_str(), c.before[i - 1]), 0);
        }
        ORVO::ScreenCapture::close_log();
        takeLog();
        const std::string given = folder + c.ending;
        orvo_screencapture_set_log_level(4, given.c_str());
        EXPECT_EQ(takeLog(), (Lines{"SC orvo_screencapture_set_log_level log level:4 log folder:" + given,
                                    "OrvoLog *** SDK Version: 2.9.193", "Impl SetLogLevel, level: 4"}));
        waitForLogThread();
        const bool allWereFull = c.before[0] >= full && c.before[1] >= full && c.before[2] >= full;
        for (int i = 1; i <= 3; ++i) {
            const long untouched = allWereFull ? missing : c.before[i - 1];
            const long now = size(file(folder, i));
            EXPECT_TRUE(i == c.continued ? now >= std::max(untouched, 0l) : now == untouched) << folder << " " << i;
        }
    }
}

}  // namespace
}  // namespace orvo::test
