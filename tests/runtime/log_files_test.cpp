// The log files: scrambling, rotation, flushing, failing files, and the way of a line through the log thread.
#include "ScreenCapture/log/orvo_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
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
#include "support/runtime/log_lines.h"
#include "support/temporary_folder.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvotask_io.h"

namespace {

using namespace ORVO::ScreenCapture;

const std::string kHeader = "*** SDK Version: " ORVO_VERSION_TEXT "\n";

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

// The plain text of a file whose lines hold no line feed of their own.
std::string plain(const std::string& path) {
    std::stringstream in(read_file(path));
    std::string all;
    for (std::string line; std::getline(in, line);)
        all += std::string(sym_encrypt(orvo::strutf8(line.c_str())).c_str()) + "\n";
    return all;
}

class LogFolder : public testing::Test {
  protected:
    const std::string& path(size_t i) const { return paths_[i]; }
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

TEST(SymEncrypt, UndoesItself) {
    std::string all;
    for (int i = 0; i < 768; ++i) all += static_cast<char>(i % 256 * 7 + i / 256);
    orvo::strutf8 text;
    text.assign(all.data(), static_cast<unsigned>(all.size()));
    orvo::strutf8 once = sym_encrypt(text);
    orvo::strutf8 twice = sym_encrypt(once);
    ASSERT_EQ(once.length(), all.size());
    EXPECT_EQ(std::string(twice.c_str(), twice.length()), all);
    EXPECT_EQ(std::string(text.c_str(), text.length()), all);
    for (unsigned i = 0; i < all.size(); ++i) {
        char key = "qbt"[i % 3], c = all[i], x = once.data()[i];
        bool stays = c == 0 || c == '\n' || c == key || (c ^ key) == '\n';
        EXPECT_EQ(x, stays ? c : static_cast<char>(c ^ key)) << i;
    }
    char in_place[] = "q\nabc";
    sym_encrypt(in_place);
    EXPECT_STREQ(in_place, "q\n\x15\x13\x01");
    sym_encrypt(static_cast<char*>(nullptr));
    EXPECT_FALSE(should_encrypt('\0'));
    EXPECT_FALSE(should_encrypt('\n'));
    EXPECT_TRUE(should_encrypt('\r'));
}

// Random lines, resets, other orders of the three files, closing and opening again.
TEST_F(LogFile, TurnsThroughTheThreeAsAModelDoes) {
    std::mt19937 random(5);
    LogFiles::Paths order = paths_;
    std::map<std::string, std::string> model;  // plain contents by path
    size_t counted = 0, index = 0;
    std::string now = order[0];
    files_.write("lost: nothing is open", true);
    open_files(100);
    model[now];
    for (int step = 0; step < 2000; ++step) {
        const unsigned act = random() % 60;
        if (act == 0) {
            files_.reset();
            model = {{now = order[0], kHeader}};
            counted = index = 0;
        } else if (act == 1) {
            std::rotate(order.begin(), order.begin() + 1 + random() % 2, order.end());
            files_.init(order, 100);
            files_.open();
            counted = model[now = order[0]].size();
            index = 0;
        } else if (act == 2) {
            files_.close();
            files_.open();
            model[now = order[0]];
        } else {
            std::string line(random() % 60, static_cast<char>('A' + step % 26));
            counted += line.size() + 1;
            if (counted > 100) {
                counted = 0;
                model[now = order[index = (index + 1) % 3]] = kHeader;  // deleted before it is used again
            }
            model[now] += line + "\n";
            sym_encrypt(line.data());
            files_.write(line, true);
        }
        for (const std::string& each : paths_) {
            ASSERT_EQ(exists(each), model.count(each) == 1) << step;
            ASSERT_EQ(plain(each), model[each]) << step;
            if (!exists(each)) model.erase(each);
        }
    }
    struct stat status {};
    ASSERT_EQ(stat(now.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(LogFile, ContinuesAFileAndCountsWhatItHolds) {
    std::ofstream(path(0)) << std::string(60, 'x') << '\n';
    open_files(100);
    files_.write(std::string(38, 'a'), true);
    EXPECT_EQ(read_file(path(0)), std::string(60, 'x') + "\n" + std::string(38, 'a') + "\n");
    files_.init(paths_, 100);  // the open file stays, its size is counted anew
    files_.open();
    files_.write("b", true);
    EXPECT_TRUE(exists(path(1)));

    std::ofstream(path(2)) << "the middle of a li";
    files_.init({path(2), path(0), path(1)}, 100);
    files_.open();
    files_.write("c", true);
    EXPECT_EQ(read_file(path(2)), "the middle of a li\nc\n") << "another file is closed first";
    files_.write(std::string(76, 'd'), true);
    EXPECT_EQ(read_file(path(2)).size(), 98u);
    files_.write("e", true);
    EXPECT_EQ(read_file(path(2)).size(), 100u);
    files_.write("", true);
    EXPECT_EQ(plain(path(0)), kHeader + "\n");
}

TEST_F(LogFile, FlushesEveryFourthLine) {
    open_files(1000);
    for (int n = 0; n < 10; ++n) {
        files_.write("x", false);
        EXPECT_EQ(read_file(path(0)).size(), static_cast<size_t>(n / 4 * 8 + 2)) << n;
    }
    files_.write("x", true);
    EXPECT_EQ(read_file(path(0)).size(), 22u);
    files_.write("x", false);
    const pid_t child = fork();
    if (child == 0) exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(read_file(path(0)).size(), 22u) << "what waits is this process's to write";
    files_.close();
    EXPECT_EQ(read_file(path(0)).size(), 24u);
}

TEST_F(LogFile, FallsBackToTheFirstFile) {
    ASSERT_EQ(mkdir(path(1).c_str(), 0700), 0);
    ASSERT_EQ(symlink("/etc/hostname", path(2).c_str()), 0);
    open_files(5);
    files_.write("aaaa", true);
    files_.write("b", true);
    std::string error = sym_encrypt(orvo::strutf8(("*** open log file error:" + path(1) + "\n").c_str())).c_str();
    EXPECT_EQ(read_file(path(0)), "aaaa\n" + error + "b\n");
    for (int i = 0; i < 3; ++i) files_.write("cc", true);
    struct stat status {};
    ASSERT_EQ(lstat(path(2).c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode)) << "a link is replaced, not followed";
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
    signal(SIGXFSZ, SIG_IGN);
    rlimit whole{};
    getrlimit(RLIMIT_FSIZE, &whole);
    rlimit small = whole;
    small.rlim_cur = 10;
    setrlimit(RLIMIT_FSIZE, &small);
    files_.write("torn apart", true);
    for (int n = 0; n < 300; ++n) files_.write("lost", n % 3 == 2);
    setrlimit(RLIMIT_FSIZE, &whole);
    files_.write("after", true);
    EXPECT_EQ(read_file(path(0)), "before\ntor\nafter\n");
    EXPECT_FALSE(exists(path(1))) << "what was lost does not fill a file";
    files_.write(std::string(982, 'x'), true);
    EXPECT_FALSE(exists(path(1)));
    files_.write("", true);
    EXPECT_TRUE(exists(path(1)));
}

// Every combination of what the three names may be.
TEST_F(LogFile, TheOneToContinueIsTheFirstThatOpensAndHasRoom) {
    enum Kind { missing, small, full, link, folder, pipe, kinds };
    const std::string elsewhere = folder_ + "/elsewhere";
    const auto make = [&](const std::string& name, int kind) {
        if (kind == small || kind == full) std::ofstream(name) << std::string(kind == full ? 10 : 9, 'x');
        const int made = kind == link     ? symlink(elsewhere.c_str(), name.c_str())
                         : kind == folder ? mkdir(name.c_str(), 0700)
                         : kind == pipe   ? mkfifo(name.c_str(), 0600)
                                          : 0;
        EXPECT_EQ(made, 0);
    };
    std::ofstream{elsewhere};
    for (int all = 0; all < kinds * kinds * kinds; ++all) {
        const int kind[] = {all % kinds, all / kinds % kinds, all / kinds / kinds};
        std::optional<size_t> expected, first_full;
        for (size_t i = 3; i-- > 0;) {
            make(path(i), kind[i]);
            if (kind[i] == missing || kind[i] == small) expected = i;
            if (kind[i] == full) first_full = i;
        }
        ASSERT_EQ(LogFiles::choose(paths_, 10), expected ? expected : first_full) << all;
        for (size_t i = 0; i < 3; ++i) {
            const bool is_chosen = i == (expected ? expected : first_full);
            EXPECT_EQ(exists(path(i)), is_chosen || (kind[i] != missing && (expected || kind[i] != full))) << all;
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
        int out = open((folder_ + "/out").c_str(), O_CREAT | O_RDWR, 0600);
        dup2(out, 1);
        close(out);
        task_.Start();
        run_log_on(&runner_, &task_);
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

    int saved_ = -1;
    ORVO::BASE::COrvoQueueRunner runner_;
    CORVOTaskIO task_{"screencap_logger", 10, ETHREAD_PRIORITY_NORMAL};
};

TEST_F(LogThread, WritesAndEchoesWhatPasses) {
    init(5242880);
    set_log_level(3);
    init_log(nullptr, "", "", 1);
    init_log((folder_ + std::string(512, '/') + "0").c_str(), "", "", 1);
    syslog_ex(1, 1, "SC", 1, "an error\r\n");
    syslog_ex(1, 4, "SC", 2, "too detailed");
    orvo_syslog(3, "task", 3, "of the base library");
    verbose_output("%s", "direct");
    orvo_log_hook(1, nullptr, 4, nullptr, 0);
    end();
    std::string out = read_file(folder_ + "/out"), file = plain(path(0));
    for (const char* text :
         {"*** SDK Version: " ORVO_VERSION_TEXT "\n", "[SC:1]: an error\r\n\n", "[task:3]: of the base library\n"}) {
        EXPECT_NE(file.find(text), std::string::npos) << text << file;
    }
    EXPECT_EQ(file.find("too detailed"), std::string::npos);
    EXPECT_NE(file.find("init_log illegal argument"), file.rfind("init_log illegal argument")) << "both refused";
    EXPECT_NE(out.find("++\n["), std::string::npos);
    EXPECT_NE(out.find("[SC:1]: an error\n-------------------------------------------\n["), std::string::npos) << out;
    EXPECT_NE(out.find("[task:3]: of the base library\n["), std::string::npos);
    EXPECT_NE(out.find("][orvo] direct\n"), std::string::npos);
    EXPECT_EQ(out.find("too detailed"), std::string::npos);
}

TEST_F(LogThread, KeepsEveryLineOfEightThreadsOverARotation) {
    constexpr int kThreads = 8, kLines = 1000;
    init(5242880 / 10);
    set_log_level(3);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int n = 0; n < kLines; ++n) syslog_ex(1, 3, "T", t, "%d", n);
        });
    }
    for (std::thread& thread : threads) thread.join();
    end();
    std::vector<int> next(kThreads);
    std::stringstream in(plain(path(0)) + plain(path(1)));
    for (std::string line; std::getline(in, line);) {
        int t = 0, n = 0;
        size_t at = line.find("[T:");
        if (at == std::string::npos) continue;
        ASSERT_EQ(sscanf(line.c_str() + at, "[T:%d]: %d", &t, &n), 2) << line;
        EXPECT_EQ(n, next[static_cast<size_t>(t)]++);
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
    EXPECT_TRUE(exists(path(1)));
    EXPECT_FALSE(exists(path(2)));
}

TEST_F(LogThread, TheLatestLinesWaitForItsStart) {
    constexpr int kLines = 3000;
    task_.Stop();
    init(5242880);
    set_log_level(3);
    for (int n = 0; n < kLines; ++n) syslog_ex(1, 3, "SC", 1, "%01000d", n);
    task_.Start();
    flush_log();
    const std::string file = plain(path(0));
    int dropped = -1;
    ASSERT_EQ(sscanf(file.c_str(), "*** lines dropped, because too many waited: %d", &dropped), 1)
        << file.substr(0, 99);
    EXPECT_NEAR(static_cast<double>(file.size()), 1024 * 1024, 99999);
    std::stringstream lines(file);
    int next = dropped - 3;  // the version's, and two of the task that stopped
    for (std::string line; std::getline(lines, line);) {
        if (line.find("[SC:1]") == std::string::npos) continue;
        EXPECT_EQ(std::stoi(line.substr(line.size() - 9)), next++);
    }
    EXPECT_EQ(next, kLines);
}

TEST_F(LogThread, BeginsAnewAfterAnUpload) {
    init(5242880);
    set_log_level(4);
    syslog_ex(1, 3, "SC", 1, "old");
    remove_log_after_upload();
    while (read_file(path(0)).find(sym_encrypt(orvo::strutf8("*")).c_str()) != 0) std::this_thread::yield();
    end();
    std::string file = plain(path(0));
    EXPECT_EQ(file.find(kHeader), 0u) << file;
    EXPECT_EQ(file.find("old"), std::string::npos);
    EXPECT_EQ(kOrvoLogPass, std::string("qbt"));
}

}  // namespace
