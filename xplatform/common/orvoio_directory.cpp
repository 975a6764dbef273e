// Folders: creating them with their parents, and listing them.
#include <dirent.h>
#include <fnmatch.h>
#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "xplatform/common/orvoio.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::io {

namespace {

// The lines that these messages are known by.
constexpr int kLineNoPath = 759, kLineNotCreated = 782, kLineExisted = 789;

constexpr char kModule[] = "orvofile";

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// Creates the folder whose path has no separator at its end, its missing parents first.
bool create(const strutf8& path) {
    unsigned int parent = path.size();
    while (parent != 0 && !is_separator(path[parent - 1])) --parent;
    while (parent != 0 && is_separator(path[parent - 1])) --parent;
    strutf8 above;
    above.append(path, 0, parent);
    if (!above.empty() && !CDirectory::IsExisted(above.data()) && !create(above)) return false;
    if (mkdir(path.c_str(), 0777) == 0) return true;
    if (errno == EEXIST && CDirectory::IsExisted(path.c_str())) return true;  // somebody else was faster
    const int reason = errno;
    orvo_syslog(ESYSLOG_WARN, kModule, kLineNotCreated, "failed to create path [%s]!", path.c_str());
    errno = reason;
    return false;
}

}  // namespace

CDirectory::~CDirectory() {
    Close();
}

bool CDirectory::IsExisted(const char* path) {
    struct stat info;
    return path != nullptr && stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}
bool CDirectory::IsExisted(const char16_t* path) {
    return IsExisted(strutf8(path).data());
}

bool CDirectory::Create(const char* path) {
    if (path == nullptr) {
        orvo_syslog(ESYSLOG_ERROR, kModule, kLineNoPath, "illegal agurment!");
        return false;
    }
    std::size_t length = std::strlen(path);
    while (length > 1 && is_separator(path[length - 1])) --length;
    if (length >= PATH_MAX) {  // the system takes no such path: no way down through its parents
        orvo_syslog(ESYSLOG_WARN, kModule, kLineNotCreated, "failed to create path [%s]!", path);
        errno = ENAMETOOLONG;
        return false;
    }
    strutf8 folder;
    folder.append(path, length);
    if (!IsExisted(folder.c_str())) return create(folder);
    orvo_syslog(ESYSLOG_WARN, kModule, kLineExisted, "path [%s] is aready existed!", folder.c_str());
    return true;
}
bool CDirectory::Create(const char16_t* path) {
    return Create(strutf8(path).data());
}

bool CDirectory::Open(const char* path, const char* pattern) {
    if (folder_ != nullptr || path == nullptr) {
        const char* const reason = folder_ != nullptr ? "CFile object is under used!" : "illegal agurment!";
        orvo_syslog(ESYSLOG_ERROR, kModule, __LINE__, "%s", reason);
        return false;
    }
    folder_ = opendir(path);
    if (folder_ == nullptr) {
        const int reason = errno;
        orvo_syslog(ESYSLOG_ERROR, kModule, __LINE__, "failed to open folder [%s]!", path);
        errno = reason;
        return false;
    }
    name_ = path;
    pattern_ = pattern;
    return true;
}
bool CDirectory::Open(const char16_t* path, const char16_t* pattern) {
    return Open(strutf8(path).data(), strutf8(pattern).data());
}

bool CDirectory::Next(strutf8& name) {
    while (const dirent* entry = folder_ == nullptr ? nullptr : readdir(static_cast<DIR*>(folder_))) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        if (!pattern_.empty() && fnmatch(pattern_.c_str(), entry->d_name, 0) != 0) continue;
        name = entry->d_name;
        return true;
    }
    return false;
}

void CDirectory::Close() {
    if (folder_ != nullptr) closedir(static_cast<DIR*>(folder_));
    folder_ = nullptr;
    name_.clear();
    pattern_.clear();
}

}  // namespace orvo::io
