// The three log files: which one is open, how full it is, and the turn from one to the next. Internal; one thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ORVO::ScreenCapture {

class LogFiles {
  public:
    using Paths = std::array<std::string, 3>;
    static constexpr size_t kMaxPath = 511;  // bytes; a longer path is not opened

    // Which file to continue: the first that can be opened and is smaller than `limit`; it is made when missing.
    // Without one the full files are deleted, and the first that can be opened is started again. Nothing when none can
    // be opened. May be called from any thread.
    static std::optional<size_t> choose(const Paths& paths, uint64_t limit);

    LogFiles() = default;
    LogFiles(const LogFiles&) = delete;
    LogFiles& operator=(const LogFiles&) = delete;
    ~LogFiles() { close(); }

    // Sets the paths and the limit in bytes, and begins again with the first file. Opens nothing.
    void init(Paths paths, uint64_t max_size);
    // Continues the first file. Another one that is open, or one that was deleted, is closed before.
    void open();
    void close();
    // Writes a scrambled line and its line feed, in the next file when the line does not fit; without an open file the
    // line is lost. `flush_each` flushes now, otherwise every fourth line does.
    void write(std::string_view line, bool flush_each);
    // Hands what is buffered to the system.
    void flush();
    // Deletes the three files and begins the first one.
    void reset();

  private:
    void rotate();
    const char* next_path();
    bool open_file(const char* path);
    bool is_open_at(const char* path) const;
    void put_line(std::string_view line);
    void put_scrambled(std::string text);

    Paths paths_;
    uint64_t maxFileSize_ = 0;
    uint64_t currentFileSize_ = 0;
    int currentLogIndex_ = 0;
    unsigned int log_counter_ = 0;
    int file_ = -1;
    char last_written_ = '\n';  // the open file's last byte
    // A buffer of our own: one of stdio would be written once more when a forked child exits.
    size_t buffered_ = 0;
    char buffer_[16384];
};

}  // namespace ORVO::ScreenCapture
