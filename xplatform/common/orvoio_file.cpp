// Files over stdio streams.
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "xplatform/common/orvofailure.h"
#include "xplatform/common/orvoio.h"

namespace orvo::io {

namespace {

constexpr char kModule[] = "orvofile";

}  // namespace

CFile::~CFile() {
    Close();
}

bool CFile::Open(const char* path, const char* mode) {
    if (stream_ != nullptr) {
        log_failure(kModule, __LINE__, "CFile object is under used!");
        return false;
    }
    if (path == nullptr || mode == nullptr) {
        log_failure(kModule, __LINE__, "illegal agurment!");
        return false;
    }
    std::string closed_in_children(mode);  // a coding may follow the letters
    closed_in_children.insert(std::min(closed_in_children.find(','), closed_in_children.size()), 1, 'e');
    stream_ = std::fopen(path, closed_in_children.c_str());
    if (stream_ == nullptr) {
        const int reason = errno;
        orvo_syslog(ESYSLOG_ERROR, kModule, __LINE__, "failed to open file[%s]!", path);
        errno = reason;
        return false;
    }
    name_ = path;
    return true;
}

bool CFile::Open(const char16_t* path, const char* mode) {
    return Open(strutf8(path).data(), mode);
}

bool CFile::Close() {
    std::FILE* const stream = Detach();
    return stream == nullptr || std::fclose(stream) == 0;
}

bool CFile::Attach(std::FILE* stream) {
    if (stream_ != nullptr || stream == nullptr) {
        log_failure(kModule, __LINE__, stream_ != nullptr ? "CFile object is under used!" : "illegal agurment!");
        return false;
    }
    stream_ = stream;
    return true;
}

std::FILE* CFile::Detach() {
    name_.clear();
    return std::exchange(stream_, nullptr);
}

// The stream, or null with a line.
std::FILE* CFile::usable(int line) const {
    if (stream_ == nullptr) log_failure(kModule, line, "illegal operating!");
    return stream_;
}

uint64_t CFile::GetSize() {
    if (usable(__LINE__) == nullptr) return 0;
    const off_t position = ftello(stream_);
    if (position < 0 || fseeko(stream_, 0, SEEK_END) != 0) return 0;
    const off_t size = ftello(stream_);
    fseeko(stream_, position, SEEK_SET);
    return size < 0 ? 0 : static_cast<uint64_t>(size);
}

std::size_t CFile::Read(void* buffer, std::size_t n) {
    if (usable(__LINE__) == nullptr || buffer == nullptr) return 0;
    return std::fread(buffer, 1, n, stream_);
}

std::size_t CFile::Write(const void* buffer, std::size_t n) {
    if (usable(__LINE__) == nullptr || buffer == nullptr) return 0;
    return std::fwrite(buffer, 1, n, stream_);
}

bool CFile::Seek(int64_t offset, eSeekWhence whence) {
    if (usable(__LINE__) == nullptr) return false;
    const int from = whence == eSeekBegin ? SEEK_SET : whence == eSeekCurrent ? SEEK_CUR : SEEK_END;
    return fseeko(stream_, static_cast<off_t>(offset), from) == 0;
}

uint64_t CFile::GetPos() {
    if (usable(__LINE__) == nullptr) return 0;
    const off_t position = ftello(stream_);
    return position < 0 ? 0 : static_cast<uint64_t>(position);
}

bool CFile::SetSize(uint64_t n) {
    return usable(__LINE__) != nullptr && std::fflush(stream_) == 0 &&
           ftruncate(fileno(stream_), static_cast<off_t>(n)) == 0;
}

bool CFile::Flush() {
    return usable(__LINE__) != nullptr && std::fflush(stream_) == 0;
}

bool CFile::IsExisted(const char* path) {
    return path != nullptr && (access(path, F_OK) == 0 || errno != ENOENT);
}
bool CFile::IsExisted(const char16_t* path) {
    return IsExisted(strutf8(path).data());
}

bool CFile::Move(const char* from, const char* to) {
    return from != nullptr && to != nullptr && std::rename(from, to) == 0;
}
bool CFile::Move(const char16_t* from, const char16_t* to) {
    return Move(strutf8(from).data(), strutf8(to).data());
}

bool CFile::Remove(const char* path) {
    return path != nullptr && std::remove(path) == 0;
}
bool CFile::Remove(const char16_t* path) {
    return Remove(strutf8(path).data());
}

}  // namespace orvo::io
