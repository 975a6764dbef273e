// The three log files: which one is open, how full it is, and the turn from one to the next. Internal; one thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace ORVO::ScreenCapture {

class LogFiles {
  public:
    LogFiles() = default;
    LogFiles(const LogFiles&) = delete;
    LogFiles& operator=(const LogFiles&) = delete;
    ~LogFiles() { close(); }

    // Sets the paths, cut to 511 bytes, and the limit in bytes, and begins again with the first file. Opens nothing.
    void init(const std::string (&paths)[3], uint64_t max_size);
    // Continues the first file, unless one is open.
    void open();
    void close();
    // Writes a scrambled line and its line feed, in the next file when the line does not fit; without an open file the
    // line is lost. `flush_each` flushes now, otherwise every fourth line does.
    void write(std::string_view line, bool flush_each);
    // Deletes the three files and begins the first one.
    void reset();

  private:
    static constexpr size_t kPathSize = 512;

    void rotate();
    const char* next_path();
    void put(std::string_view text);
    void put_scrambled(std::string text);
    void put_header();
    void flush();
    bool is_deleted() const;

    char strLogPath_[3][kPathSize] = {};
    uint64_t maxFileSize_ = 0;
    uint64_t currentFileSize_ = 0;
    int currentLogIndex_ = 0;
    unsigned int log_counter_ = 0;
    FILE* g_fd_ = nullptr;
    bool torn_ = false;  // a write has failed, perhaps in the middle of a line
};

}  // namespace ORVO::ScreenCapture
