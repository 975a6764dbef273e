// The log files: scrambling, rotation, flushing, failing files, and the way of a line through the log thread.
#include "ScreenCapture/log/orvo_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ScreenCapture/log/orvo_log_files.h"
#include "support/full_disk.h"
#include "support/runtime/log_lines.h"
#include "support/temporary_folder.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvotask_io.h"

namespace {

using namespace ORVO::ScreenCapture;

const std::string kHeader = "*** SDK Version: " ORVO_VERSION_TEXT "\n";

std::string read_file(const std::string& path) {
    std::stringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    return all.str();
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

// Each line as it is scrambled, or scrambled lines in plain text; none holds a line feed of its own.
std::string scrambled(const std::string& lines) {
    std::stringstream in(lines);
    std::string all;
    for (std::string line; std::getline(in, line);)
        all += std::string(sym_encrypt(orvo::strutf8(line.c_str())).c_str()) + "\n";
    return all;
}

class LogFolder : public testing::Test {
  protected:
    const std::string& path(size_t i) const { return paths_[i]; }
    std::string plain(size_t i) const { return scrambled(read_file(path(i))); }
    // Opens three files of that size; lines need room for their end too.
    void open_files(unsigned long long size) {
        files_.init(paths_, size);
        files_.open();
    }

    const orvo::testing::TemporaryFolder temporary_;
    const std::string folder_ = temporary_.path();
    const LogFiles::Paths paths_ = {folder_ + "/0", folder_ + "/1", folder_ + "/2"};
    LogFiles files_;
};

using LogFile = LogFolder;

// That it undoes itself, the model of logs holds.
TEST(SymEncrypt, KeepsZeroAndLineFeedAndWhatWouldBecomeThem) {
    char text[] = "q\na{c\r";
    sym_encrypt(text);
    EXPECT_STREQ(text, "q\n\x15{\x01y");
    sym_encrypt(static_cast<char*>(nullptr));
    EXPECT_EQ(kOrvoLogPass, std::string("qbt"));
    EXPECT_TRUE(should_encrypt('\r') && !should_encrypt('\0') && !should_encrypt('\n'));
}

// Random lines, resets, other orders of the three files, closing and opening again behind what another process has
// left, and removed files, against what each file has to hold.
TEST_F(LogFile, TurnsThroughTheThreeAsAModelDoes) {
    std::mt19937 random(5);
    const std::string header = scrambled(kHeader);
    LogFiles::Paths order = paths_;
    std::map<std::string, std::string> model;  // by path
    std::string now = order[0], waiting;
    size_t counted = 0, index = 0, lines = 0;
    const auto flush = [&] { model[now] += std::exchange(waiting, ""); };
    const auto put = [&](const std::string& line) {
        const std::string& before = waiting.empty() ? model[now] : waiting;
        if (!before.empty() && before.back() != '\n') ++counted, waiting += '\n';
        waiting += line;
    };
    const auto open = [&] {
        if (now == order[0] && exists(now)) return;
        flush();
        now = order[0];
    };
    files_.write("lost: nothing is open", true);
    open_files(100);
    for (int step = 0; step < 4000; ++step) {
        const unsigned act = random() % 60;
        if (act == 0) {
            files_.reset();
            model = {{now = order[0], header}};
            waiting.clear();
            counted = index = 0;
        } else if (act == 1) {
            std::rotate(order.begin(), order.begin() + 1 + random() % 2, order.end());
            flush();
            counted = model[order[0]].size();
            index = 0;
            files_.init(order, 100);
            files_.open();
            open();
        } else if (act == 2) {
            files_.close();
            flush();
            if (random() % 2) std::ofstream(order[0], std::ios::app) << "torn", model[order[0]] += "torn";
            files_.open();
            now = order[0];
        } else if (act == 3) {
            unlink(now.c_str());
            files_.close();
            model.erase(now);
            waiting.clear();
            files_.open();
            now = order[0];
        } else {
            const bool flushes = random() % 2;
            std::string line(random() % 60, static_cast<char>('A' + step % 26));
            counted += line.size() + 1;
            if (counted > 100) {
                flush();
                counted = 0;
                model[now = order[index = (index + 1) % 3]] = header;  // deleted before it is used again
            }
            put(line + '\n');
            files_.write(line, flushes);
            if (flushes || lines++ % 4 == 0) flush();
        }
        model[now];
        for (const std::string& each : paths_) {
            ASSERT_EQ(exists(each), model.count(each) == 1) << step;
            ASSERT_EQ(read_file(each), model.count(each) ? model[each] : "") << step;
        }
    }
    struct stat status {};
    ASSERT_EQ(stat(now.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(LogFile, FallsBackToTheFirstFile) {
    ASSERT_EQ(mkdir(path(1).c_str(), 0700) + symlink("/etc/hostname", path(2).c_str()), 0);
    open_files(5);
    for (const char* line : {"aaaa", "b"}) files_.write(line, true);
    EXPECT_EQ(read_file(path(0)), "aaaa\n" + scrambled("*** open log file error:" + path(1) + "\n") + "b\n");
    for (int i = 0; i < 3; ++i) files_.write("cc", true);
    struct stat status {};
    EXPECT_TRUE(lstat(path(2).c_str(), &status) == 0 && S_ISREG(status.st_mode)) << "a link is replaced, not followed";
}

TEST_F(LogFile, AForkedChildLeavesWhatWaitsToItsParent) {
    open_files(1000);
    for (int n = 0; n < 2; ++n) files_.write("x", false);
    const pid_t child = fork();
    if (child == 0) exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(read_file(path(0)), "x\n");
    files_.close();
    EXPECT_EQ(read_file(path(0)), "x\nx\n");
}

TEST_F(LogFile, SurvivesARemovedFolderAndComesBack) {
    open_files(10);
    EXPECT_EQ(system(("rm -rf " + folder_).c_str()), 0);
    files_.write("into nowhere", true);  // a rotation that finds no folder
    files_.write("nothing is open", true);
    ASSERT_EQ(mkdir(folder_.c_str(), 0700), 0);
    files_.open();
    files_.write("back", true);
    EXPECT_EQ(read_file(path(0)), "back\n");
    unlink(path(0).c_str());
    files_.open();
    files_.write("on", true);
    EXPECT_EQ(read_file(path(0)), "on\n") << "a deleted file counts as closed";
}

TEST_F(LogFile, BeginsALineOfItsOwnAfterAFullDisk) {
    open_files(1000);
    files_.write("before", true);
    {
        const orvo::testing::FullDisk full(10);
        files_.write("torn apart", true);
        for (int n = 0; n < 300; ++n) files_.write("lost", n % 3 == 2);
    }
    files_.write("after", true);
    EXPECT_EQ(read_file(path(0)), "before\ntor\nafter\n");
    files_.write(std::string(982, 'x'), true);
    EXPECT_FALSE(exists(path(1))) << "what was lost does not fill a file";
    files_.write("", true);
    EXPECT_TRUE(exists(path(1)));
}

// Every combination of what the three names may be.
TEST_F(LogFile, TheOneToContinueIsTheFirstThatOpensAndHasRoom) {
    enum Kind { missing, small, full, link, folder, pipe, kinds };
    const std::string elsewhere = folder_ + "/elsewhere";
    std::ofstream{elsewhere};
    for (int all = 0; all < kinds * kinds * kinds; ++all) {
        const int kind[] = {all % kinds, all / kinds % kinds, all / kinds / kinds};
        std::optional<size_t> expected, first_full;
        for (size_t i = 3; i-- > 0;) {
            const char* const name = path(i).c_str();
            if (kind[i] == small || kind[i] == full) std::ofstream(name) << std::string(kind[i] == full ? 10 : 9, 'x');
            EXPECT_EQ(kind[i] == link     ? symlink(elsewhere.c_str(), name)
                      : kind[i] == folder ? mkdir(name, 0700)
                      : kind[i] == pipe   ? mkfifo(name, 0600)
                                          : 0,
                      0);
            if (kind[i] == missing || kind[i] == small) expected = i;
            if (kind[i] == full) first_full = i;
        }
        const auto chosen = expected ? expected : first_full;
        ASSERT_EQ(LogFiles::choose(paths_, 10), chosen) << all;
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(exists(path(i)), i == chosen || (kind[i] != missing && (expected || kind[i] != full))) << all;
            files_.init({path(i), path(i), path(i)}, 100);
            files_.open();
            files_.write("line", true);
            files_.close();
            struct stat status {};
            EXPECT_EQ(lstat(path(i).c_str(), &status), 0);
            EXPECT_EQ(S_ISREG(status.st_mode), kind[i] < link) << "opened if and only if it may be chosen";
            EXPECT_EQ(remove(path(i).c_str()), 0);
        }
    }
    EXPECT_EQ(read_file(elsewhere), "");
    EXPECT_EQ(LogFiles::choose({folder_ + std::string(512, '/') + "0", "/dev/null/1", "/dev/null"}, 10), std::nullopt);
}

// The whole way of a line, with standard output in a file of the test.
class LogThread : public LogFolder {
  protected:
    void SetUp() override {
        support::capture_log();
        support::route_log(orvo_log_hook);
        fflush(stdout);
        saved_ = dup(1);
        const int out = open((folder_ + "/out").c_str(), O_CREAT | O_RDWR, 0600);
        dup2(out, 1);
        close(out);
        task_.Start();
        run_log_on(&runner_, &task_);
        set_log_level(3);
    }
    void TearDown() override {
        end();
        dup2(saved_, 1);
        close(saved_);
    }
    // Closes the files and waits for the log thread's end.
    void end() {
        close_log();
        support::capture_log();
        run_log_on(nullptr, nullptr);
        if (task_.IsStarted()) task_.Stop();
        fflush(stdout);
    }
    void init(unsigned long long size) { init_log(path(0).c_str(), path(1).c_str(), path(2).c_str(), size); }
    // The numbers that the module's lines hold, of a text of many lines.
    static std::vector<int> numbers(const std::string& text, const std::string& module) {
        std::vector<int> all;
        std::stringstream in(text);
        for (std::string line; std::getline(in, line);)
            if (line.find("[" + module + ":1]: ") != std::string::npos) all.push_back(atoi(&line[line.rfind(' ')]));
        return all;
    }
    static std::vector<int> count_up(int from, int to) {
        std::vector<int> all;
        while (from < to) all.push_back(from++);
        return all;
    }

    int saved_ = -1;
    ORVO::BASE::COrvoQueueRunner runner_;
    CORVOTaskIO task_{"screencap_logger", 10, ETHREAD_PRIORITY_NORMAL};
};

TEST_F(LogThread, WritesAndEchoesWhatPasses) {
    init(5242880);
    init_log(nullptr, "", "", 1);
    init_log((folder_ + std::string(512, '/') + "0").c_str(), "", "", 1);
    syslog_ex(1, 1, "SC", 1, "an error\r\n");
    syslog_ex(1, 4, "SC", 2, "too detailed");
    orvo_syslog(3, "task", 3, "of the base library");
    verbose_output("%s", "direct");
    orvo_log_hook(1, nullptr, 4, nullptr, 0);
    end();
    const std::string out = read_file(folder_ + "/out"), file = plain(0);
    const auto times = [](const std::string& all, const std::string& text) {
        int count = 0;
        for (size_t at = 0; (at = all.find(text, at)) != std::string::npos; ++at) ++count;
        return count;
    };
    const struct {
        const char* text;
        int in_file, in_output;
    } expected[] = {{"*** SDK Version: " ORVO_VERSION_TEXT "\n", 1, 1},
                    {"init_log illegal argument", 2, 2},
                    {"[SC:1]: an error\r\n\n", 1, 0},
                    {"[SC:1]: an error\n-------------------------------------------\n[", 0, 1},
                    {"++\n[", 0, 3},
                    {"[task:3]: of the base library\n[", 0, 1},
                    {"[task:3]: of the base library\n", 1, 1},
                    {"][orvo] direct\n", 0, 1},
                    {"too detailed", 0, 0}};
    for (const auto& each : expected) {
        EXPECT_EQ(times(file, each.text), each.in_file) << each.text << file;
        EXPECT_EQ(times(out, each.text), each.in_output) << each.text << out;
    }
}

TEST_F(LogThread, KeepsEveryLineOfEightThreadsOverARotation) {
    init(5242880 / 10);
    std::vector<std::thread> threads;
    for (char t = 'a'; t <= 'h'; ++t) {
        threads.emplace_back([module = std::string(1, t)] {
            for (int n = 0; n < 1000; ++n) syslog_ex(1, 3, module.c_str(), 1, "number %d", n);
        });
    }
    for (std::thread& thread : threads) thread.join();
    end();
    const std::string all = plain(0) + plain(1);
    for (char t = 'a'; t <= 'h'; ++t) EXPECT_EQ(numbers(all, std::string(1, t)), count_up(0, 1000));
    EXPECT_TRUE(exists(path(1)) && !exists(path(2)));
}

TEST_F(LogThread, TheLatestLinesWaitForItsStart) {
    task_.Stop();
    init(5242880);
    for (int n = 0; n < 3000; ++n) syslog_ex(1, 3, "SC", 1, "%0900d %d", 0, n);
    task_.Start();
    end();
    const std::string file = plain(0);
    int dropped = -1;
    ASSERT_EQ(sscanf(file.c_str(), "*** lines dropped, because too many waited: %d\n", &dropped), 1);
    EXPECT_NEAR(static_cast<double>(file.size()), 1024 * 1024, 99999);
    // The version's, and two of the task that stopped, come before.
    EXPECT_EQ(numbers(file, "SC"), count_up(dropped - 3, 3000));
}

TEST_F(LogThread, BeginsAgainAfterAnUpload) {
    init(5242880);
    set_log_level(4);
    syslog_ex(1, 3, "SC", 1, "old");
    remove_log_after_upload();
    while (read_file(path(0)).find(scrambled("*").substr(0, 1)) != 0) std::this_thread::yield();
    end();
    EXPECT_EQ(plain(0).find(kHeader), 0u) << plain(0);
    EXPECT_EQ(plain(0).find("old"), std::string::npos);
}

}  // namespace
