// Well-known folders, sizes and copies of files.
#include "xplatform/common/orvoio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "xplatform/common/orvosys.h"
#include "xplatform/common/orvosyslog.h"

namespace {

constexpr std::size_t kMaxPath = 1024;
constexpr std::size_t kCopyChunk = 512000;
constexpr char kDocuments[] = "Documents/";

// Found once, kept as long as the process.
struct well_known_folders {
    char install[kMaxPath] = "";
    char documents[kMaxPath + sizeof kDocuments] = "";

    well_known_folders() {
        if (!orvo::sys::executable_path(install, sizeof install)) install[0] = '\0';
        cut_behind_last_slash(install, std::strlen(install));
        const std::size_t length = std::strlen(install);
        if (length == 0) return;
        std::memcpy(documents, install, length);
        cut_behind_last_slash(documents, length - 1);
        std::strcat(documents, documents[0] == '\0' ? "/" : "");  // the install folder is the root
        std::strcat(documents, kDocuments);
    }

    static void cut_behind_last_slash(char* path, std::size_t length) {
        while (length != 0 && path[length - 1] != '/') --length;
        path[length] = '\0';
    }
};

const well_known_folders& folders() {
    static const well_known_folders found;
    return found;
}

struct file_close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

struct heap_free {
    void operator()(void* block) const { std::free(block); }
};

bool same_file(const char* first, const char* second) {
    struct stat a, b;
    return stat(first, &a) == 0 && stat(second, &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

const char* orvoio_getinstalldir() {
    return folders().install;
}
const char* orvoio_getappdir() {
    return folders().install;
}
const char* orvoio_getdocdir() {
    return folders().documents;
}

uint64_t orvoio_fsize(const char* path) {
    // Not waiting for the other end of a pipe.
    const int fd = path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return 0;
    struct stat info;
    const bool is_folder = fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
    const off_t end = is_folder ? 0 : lseek(fd, 0, SEEK_END);
    close(fd);
    return end < 0 ? 0 : static_cast<uint64_t>(end);
}

uint64_t orvoio_fsize(const char16_t* path) {
    return orvoio_fsize(orvo::strutf8(path).data());
}

bool orvoio_fsinfo(const char* path, uint64_t* total, uint64_t* available) {
    if (path == nullptr || total == nullptr || available == nullptr) {
        orvo_syslog(ESYSLOG_ERROR, "orvofile", __LINE__, "fsinfo illegal argument!");
        return false;
    }
    *total = *available = 0;
    return orvo::sys::file_system_totals(path, total, available);
}

bool orvoio_copyfile(const char* from, const char* to) {
    orvo::io::CFile source, target;
    if (!source.Open(from, "rb")) return false;
    if (to != nullptr && same_file(from, to)) return false;  // opening the target would empty the source
    const std::unique_ptr<std::FILE, file_close> from_file(source.Detach());
    for (std::size_t got = kCopyChunk; got == kCopyChunk;) {
        const std::unique_ptr<void, heap_free> chunk(std::malloc(kCopyChunk));
        if (!chunk) return false;
        got = std::fread(chunk.get(), 1, kCopyChunk, from_file.get());
        if (std::ferror(from_file.get()) != 0) return false;
        // Not before there is something to put there: a folder can be opened like a file, but not read.
        if (!target.IsOpened() && !target.Open(to, "wb")) return false;
        if (target.Write(chunk.get(), got) != got) return false;
    }
    return target.Close();
}

bool orvoio_copyfile(const char16_t* from, const char16_t* to) {
    return orvoio_copyfile(orvo::strutf8(from).data(), orvo::strutf8(to).data());
}
