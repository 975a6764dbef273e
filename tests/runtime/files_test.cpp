// Files, folders and the functions beside them, in a folder of their own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

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
    // The messages of that line of the code.
    static Messages take(int line) {
        Messages messages;
        for (const auto& each : support::take_log())
            messages.push_back((each.line == line ? "" : "elsewhere ") + std::to_string(each.level) + " " +
                               each.message);
        return messages;
    }
    const orvo::testing::TemporaryFolder temporary_;
    const std::string folder_ = temporary_.path();
};

TEST_F(Files, OpensOnceAndOnlyWhatThereIs) {
    CFile file;
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
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(file.GetFileName().empty());
    EXPECT_TRUE(CFile::IsExisted(path("\xc3\xa4").c_str()));
    EXPECT_FALSE(CFile::IsExisted(path("b").c_str()));
    EXPECT_TRUE(CFile::IsExisted(path("\xc3\xa4/below").c_str())) << "an error other than ENOENT";
}

TEST_F(Files, ReadsWritesAndSizes) {
    CFile file;
    ASSERT_TRUE(file.Open(path("a").c_str(), "wb+"));
    EXPECT_EQ(file.Write("0123456789", 10), 10u);
    EXPECT_TRUE(file.Seek(-4, orvo::io::eSeekEnd));
    EXPECT_EQ(file.GetSize(), 10u);
    EXPECT_EQ(file.GetPos(), 6u);
    char buffer[20] = "";
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 4u);
    EXPECT_STREQ(buffer, "6789");
    EXPECT_FALSE(file.Seek(-1, orvo::io::eSeekBegin));
    EXPECT_TRUE(file.SetSize(3));
    EXPECT_EQ(content("a"), "012");
    EXPECT_TRUE(file.Seek(0, orvo::io::eSeekBegin));
    EXPECT_EQ(file.Write("x", 1), 1u);
    EXPECT_TRUE(file.Flush());
    EXPECT_EQ(content("a"), "x12");
    std::FILE* stream = file.Detach();
    EXPECT_FALSE(file.IsOpened());
    EXPECT_TRUE(file.Attach(stream));
    EXPECT_FALSE(file.Attach(stream));
    file.Close();
    EXPECT_TRUE(CFile::Move(path("a").c_str(), path("b").c_str()));
    EXPECT_EQ(content("b"), "x12");
    EXPECT_TRUE(CFile::Remove(path("b").c_str()));
    EXPECT_FALSE(CFile::Remove(path("b").c_str()));
}

TEST_F(Files, ClosedObjectsRefuseEveryOperation) {
    CFile file;
    char byte = 0;
    EXPECT_EQ(file.GetSize() + file.Read(&byte, 1) + file.Write(&byte, 1) + file.GetPos(), 0u);
    EXPECT_FALSE(file.Seek(0, orvo::io::eSeekBegin) || file.SetSize(1) || file.Flush());
    EXPECT_EQ(support::take_messages("orvofile"), Messages(7, "1 illegal operating!"));
}

TEST_F(Files, AFullDiskIsNoticed) {
    CFile file;
    ASSERT_TRUE(file.Open("/dev/full", "wb"));
    EXPECT_EQ(file.Write("x", 1), 1u);
    EXPECT_FALSE(file.Close());
    EXPECT_FALSE(file.IsOpened());
    std::ofstream(path("a")) << "x";
    EXPECT_FALSE(orvoio_copyfile(path("a").c_str(), "/dev/full"));
}

TEST_F(Files, CreatesFoldersWithTheirParents) {
    const mode_t before = umask(022);
    EXPECT_TRUE(CDirectory::Create(path("a/b//c/\\/").c_str()));
    umask(before);
    for (const char* name : {"a", "a/b", "a/b/c"}) EXPECT_TRUE(CDirectory::IsExisted(path(name).c_str()));
    struct stat info;
    EXPECT_EQ(stat(path("a/b/c").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    EXPECT_TRUE(support::take_log().empty());

    std::ofstream(path("file")) << "x";
    EXPECT_FALSE(CDirectory::IsExisted(path("file").c_str()));
    const std::string file = path("file"), none(5000, 'x');
    const struct {
        std::string path;
        bool created;
        std::string message;
    } cases[] = {{path("a/b/"), true, "2 path [" + path("a/b") + "] is aready existed!"},
                 {"/", true, "2 path [/] is aready existed!"},
                 {file, false, "2 failed to create path [" + file + "]!"},
                 {file + "/x/y", false, "2 failed to create path [" + file + "]!"},
                 {"", false, "2 failed to create path []!"},
                 {"/" + none, false, "2 failed to create path [/" + none + "]!"}};
    for (const auto& c : cases) {
        EXPECT_EQ(CDirectory::Create(c.path.c_str()), c.created) << c.path;
        EXPECT_EQ(take(c.created ? 789 : 782), Messages{c.message});
    }
    EXPECT_FALSE(CDirectory::Create(static_cast<const char*>(nullptr)));
    EXPECT_EQ(take(759), Messages{"1 illegal agurment!"});
}

TEST_F(Files, ListsFolders) {
    for (const char* name : {"a.txt", "b.txt", "c.log", ".hidden"}) std::ofstream(path(name)) << "x";
    const struct {
        const char* pattern;
        std::set<std::string> names;
    } cases[] = {{"*.txt", {"a.txt", "b.txt"}}, {nullptr, {"a.txt", "b.txt", "c.log", ".hidden"}}, {"x*", {}}};
    CDirectory folder;
    strutf8 name;
    for (const auto& c : cases) {
        ASSERT_TRUE(folder.Open(folder_.c_str(), c.pattern));
        std::set<std::string> names;
        while (folder.Next(name)) names.insert(name.c_str());
        EXPECT_EQ(names, c.names);
        EXPECT_FALSE(folder.Open(folder_.c_str(), c.pattern));
        EXPECT_EQ(strutf8(folder.GetFolderName()).c_str(), folder_);
        folder.Close();
    }
    EXPECT_FALSE(folder.Next(name));
    EXPECT_FALSE(folder.Open(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(folder.Open("/nowhere"));
    EXPECT_EQ(
        support::take_messages("orvofile"),
        (Messages{"1 CFile object is under used!", "1 CFile object is under used!", "1 CFile object is under used!",
                  "1 illegal agurment!", "1 failed to open folder [/nowhere]!"}));
}

TEST_F(Files, CopiesAndMeasures) {
    for (const std::size_t size : {0, 1, 512000, 1024000, 1200000}) {
        std::string bytes(size, 'x');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 512);
        std::ofstream(path("from")) << bytes;
        ASSERT_TRUE(orvoio_copyfile(path("from").c_str(), path("to").c_str()));
        EXPECT_EQ(content("to"), bytes);
        EXPECT_EQ(orvoio_fsize(path("to").c_str()), size);
        EXPECT_EQ(orvoio_fsize(strutf16(path("to").c_str()).c_str()), size);
    }
    EXPECT_FALSE(orvoio_copyfile(path("missing").c_str(), path("to").c_str()));
    EXPECT_FALSE(orvoio_copyfile(path("from").c_str(), path("missing/to").c_str()));
    EXPECT_FALSE(orvoio_copyfile(path("from").c_str(), nullptr));
    EXPECT_FALSE(orvoio_copyfile(folder_.c_str(), path("to").c_str()));
    EXPECT_EQ(orvoio_fsize(path("to").c_str()), 1200000u) << "what cannot be read empties nothing";
    EXPECT_EQ(symlink(path("from").c_str(), path("link").c_str()), 0);
    EXPECT_FALSE(orvoio_copyfile(path("link").c_str(), path("from").c_str()));
    EXPECT_EQ(orvoio_fsize(path("from").c_str()), 1200000u) << "the source outlives a copy onto itself";
    EXPECT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(orvoio_fsize(path("pipe").c_str()), 0u);
    EXPECT_EQ(orvoio_fsize(folder_.c_str()), 0u);
    EXPECT_EQ(orvoio_fsize(path("missing").c_str()), 0u);
}

TEST_F(Files, KnowsFoldersAndFileSystems) {
    char self[4096] = "";
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
    const std::string file = self, install = file.substr(0, file.rfind('/') + 1);
    EXPECT_EQ(orvoio_getinstalldir(), install);
    EXPECT_STREQ(orvoio_getappdir(), orvoio_getinstalldir());
    EXPECT_EQ(orvoio_getdocdir(), install.substr(0, install.rfind('/', install.size() - 2) + 1) + "Documents/");

    uint64_t total = 0, available = 0;
    struct statvfs info;
    ASSERT_EQ(statvfs("/tmp", &info), 0);
    EXPECT_TRUE(orvoio_fsinfo("/tmp", &total, &available));
    EXPECT_EQ(total, uint64_t{info.f_blocks} * info.f_frsize);
    EXPECT_LE(available, total);
    EXPECT_FALSE(orvoio_fsinfo("/nowhere", &total, &available));
    EXPECT_FALSE(orvoio_fsinfo("/tmp", nullptr, &available));
    EXPECT_EQ(support::take_messages("orvofile"), Messages{"1 fsinfo illegal argument!"});
}

}  // namespace
