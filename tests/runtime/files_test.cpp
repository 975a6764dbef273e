// Files, folders and the functions beside them, in a folder of their own.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/full_disk.h"
#include "support/runtime/log_lines.h"
#include "support/temporary_folder.h"
#include "xplatform/common/orvoio.h"

using orvo::strutf16;
using orvo::strutf8;
using orvo::io::CDirectory;
using orvo::io::CFile;

namespace {

using Messages = std::vector<std::string>;

class Files : public testing::Test {
  protected:
    void SetUp() override { support::capture_log(); }
    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    std::string content(const std::string& name) const {
        std::stringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }
    const orvo::testing::TemporaryFolder temporary_;
    const std::string folder_ = temporary_.path();
};

TEST_F(Files, OpensOnceAndOnlyWhatThereIs) {
    CFile file;
    char byte = 0;
    EXPECT_EQ(file.GetSize() + file.Read(&byte, 1) + file.Write(&byte, 1) + file.GetPos(), 0u);
    EXPECT_FALSE(file.Seek(0, orvo::io::eSeekBegin) || file.SetSize(1) || file.Flush());
    EXPECT_EQ(support::take_messages("orvofile"), Messages(7, "1 illegal operating!"));
    EXPECT_FALSE(file.Open(static_cast<const char*>(nullptr), "rb"));
    EXPECT_FALSE(file.Open(path("a").c_str(), nullptr));
    EXPECT_FALSE(file.Open(path("a").c_str(), "rb"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(file.Open(strutf16(path("\xc3\xa4").c_str()).c_str(), "wb"));
    EXPECT_EQ(strutf8(file.GetFileName()).c_str(), path("\xc3\xa4"));
    EXPECT_FALSE(file.Open(path("b").c_str(), "wb"));
    EXPECT_EQ(support::take_messages("orvofile"),
              (Messages{"1 illegal agurment!", "1 illegal agurment!", "1 failed to open file[" + path("a") + "]!",
                        "1 CFile object is under used!"}));
    EXPECT_TRUE(file.Close() && file.GetFileName().empty());
    EXPECT_TRUE(CFile::IsExisted(path("\xc3\xa4").c_str()) && !CFile::IsExisted(path("b").c_str()));
    EXPECT_TRUE(CFile::IsExisted(path("\xc3\xa4/below").c_str())) << "an error other than ENOENT";
}

TEST_F(Files, ReadsWritesAndSizes) {
    CFile file;
    ASSERT_TRUE(file.Open(path("a").c_str(), "wb+"));
    EXPECT_EQ(file.Write("0123456789", 10), 10u);
    EXPECT_TRUE(file.Seek(-6, orvo::io::eSeekEnd) && file.Seek(2, orvo::io::eSeekCurrent));
    EXPECT_TRUE(file.GetSize() == 10 && file.GetPos() == 6);
    char buffer[20] = "";
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 4u);
    EXPECT_STREQ(buffer, "6789");
    EXPECT_FALSE(file.Seek(-1, orvo::io::eSeekBegin));
    EXPECT_TRUE(file.Seek(0, orvo::io::eSeekBegin) && file.Write("x", 1) == 1 && file.SetSize(3));
    EXPECT_EQ(content("a"), "x12") << "what waits is written before";
    EXPECT_TRUE(file.Write("y", 1) == 1 && file.Flush());
    EXPECT_EQ(content("a"), "xy2");
    std::FILE* stream = file.Detach();
    EXPECT_TRUE(!file.IsOpened() && file.Attach(stream) && !file.Attach(stream));
    file.Close();
    EXPECT_TRUE(CFile::Move(path("a").c_str(), path("b").c_str()));
    EXPECT_EQ(content("b"), "xy2");
    EXPECT_TRUE(CFile::Remove(path("b").c_str()) && !CFile::Remove(path("b").c_str()));
}

TEST_F(Files, AFullDiskIsNoticed) {
    std::ofstream(path("a")) << "xx";
    const orvo::testing::FullDisk full(1);
    CFile file;
    EXPECT_TRUE(file.Open(path("b").c_str(), "wb") && file.Write("xx", 2) == 2);
    EXPECT_FALSE(file.Close() || file.IsOpened() || orvoio_copyfile(path("a").c_str(), path("c").c_str()));
}

TEST_F(Files, CreatesFoldersWithTheirParents) {
    const mode_t before = umask(022);
    EXPECT_TRUE(CDirectory::Create(path("a/b//c/\\/").c_str()));
    umask(before);
    struct stat info;
    EXPECT_TRUE(CDirectory::IsExisted(path("a/b/c").c_str()) && stat(path("a/b/c").c_str(), &info) == 0);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    EXPECT_TRUE(support::take_log().empty());
    std::ofstream(path("file")) << "x";
    EXPECT_FALSE(CDirectory::IsExisted(path("file").c_str()) || CDirectory::Create(static_cast<const char*>(nullptr)));
    const std::string file = path("file");
    std::string endless = path("y");
    while (endless.size() < 5000) endless += "/y";
    const struct {
        std::string path, named;
        bool exists;
    } cases[] = {{path("a/b/"), path("a/b"), true}, {"/", "/", true}, {file, file, false},
                 {file + "/x/y", file, false},      {"", "", false},  {endless, endless, false}};
    std::vector<std::pair<int, std::string>> expected{{759, "illegal agurment!"}}, logged;
    for (const auto& c : cases) {
        EXPECT_EQ(CDirectory::Create(c.path.c_str()), c.exists) << c.path;
        expected.emplace_back(c.exists ? 789 : 782, c.exists ? "path [" + c.named + "] is aready existed!"
                                                             : "failed to create path [" + c.named + "]!");
    }
    for (const auto& line : support::take_log()) logged.emplace_back(line.line, line.message);
    EXPECT_EQ(logged, expected);
    EXPECT_FALSE(CDirectory::IsExisted(path("y").c_str())) << "no way down through its parents";
    std::vector<std::thread> makers;  // of the same folders at the same time
    for (int i = 0; i < 3; ++i)
        makers.emplace_back([this] {
            for (int n = 0; n < 300; ++n)
                EXPECT_TRUE(CDirectory::Create(path("x" + std::to_string(n) + "/a/b").c_str())) << n;
        });
    for (std::thread& maker : makers) maker.join();
}

TEST_F(Files, ListsFolders) {
    for (const char* name : {"a.txt", "b.txt", "c.log", ".hidden"}) std::ofstream(path(name)) << "x";
    const std::pair<const char*, std::set<std::string>> cases[] = {
        {"*.txt", {"a.txt", "b.txt"}}, {nullptr, {"a.txt", "b.txt", "c.log", ".hidden"}}, {"x*", {}}};
    CDirectory folder;
    strutf8 name;
    for (const auto& [pattern, expected] : cases) {
        ASSERT_TRUE(folder.Open(folder_.c_str(), pattern) && !folder.Open(folder_.c_str(), pattern));
        EXPECT_EQ(strutf8(folder.GetFolderName()).c_str(), folder_);
        std::set<std::string> names;
        while (folder.Next(name)) names.insert(name.c_str());
        EXPECT_EQ(names, expected);
        folder.Close();
    }
    EXPECT_FALSE(folder.Next(name) || folder.Open(static_cast<const char*>(nullptr)) || folder.Open("/nowhere"));
    const std::string used = "1 CFile object is under used!";
    EXPECT_EQ(support::take_messages("orvofile"),
              (Messages{used, used, used, "1 illegal agurment!", "1 failed to open folder [/nowhere]!"}));
}

TEST_F(Files, CopiesAndMeasures) {
    for (const std::size_t size : {0, 1, 512000, 1024000, 1200000}) {
        std::string bytes(size, 'x');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 512);
        std::ofstream(path("from")) << bytes;
        ASSERT_TRUE(orvoio_copyfile(path("from").c_str(), path("to").c_str()));
        EXPECT_EQ(content("to"), bytes);
        EXPECT_EQ(orvoio_fsize(strutf16(path("to").c_str()).c_str()), size);
    }
    ASSERT_EQ(symlink(path("from").c_str(), path("link").c_str()) + mkfifo(path("pipe").c_str(), 0600), 0);
    const std::pair<const char*, const char*> refused[] = {
        {"missing", "to"}, {"from", "missing/to"}, {"", "to"}, {"link", "from"}};
    for (const auto& [from, to] : refused) EXPECT_FALSE(orvoio_copyfile(path(from).c_str(), path(to).c_str())) << from;
    EXPECT_FALSE(orvoio_copyfile(path("from").c_str(), nullptr));
    const std::pair<const char*, uint64_t> sizes[] = {
        {"to", 1200000}, {"from", 1200000}, {"pipe", 0}, {"", 0}, {"no", 0}};
    for (const auto& [name, size] : sizes)
        EXPECT_EQ(orvoio_fsize(path(name).c_str()), size) << name << ": what is refused empties nothing";
}

TEST_F(Files, KnowsFoldersAndFileSystems) {
    const std::string install = orvoio_getinstalldir();
    EXPECT_EQ(access((install + "/runtime_tests").c_str(), F_OK), 0) << install;
    EXPECT_STREQ(orvoio_getappdir(), orvoio_getinstalldir());
    EXPECT_EQ(orvoio_getdocdir(), install.substr(0, install.find_last_of('/', install.size() - 2)) + "/Documents/");
    uint64_t total = 0, available = 0;
    struct statvfs info {};
    ASSERT_EQ(statvfs("/tmp", &info), 0);
    EXPECT_TRUE(orvoio_fsinfo("/tmp", &total, &available) && available <= total);
    EXPECT_EQ(total, static_cast<uint64_t>(info.f_blocks) * info.f_frsize);
    EXPECT_FALSE(orvoio_fsinfo("/nowhere", &total, &available) || orvoio_fsinfo("/tmp", nullptr, &available));
    EXPECT_EQ(support::take_messages("orvofile"), Messages{"1 fsinfo illegal argument!"});
}

}  // namespace
