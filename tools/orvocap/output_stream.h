// A file, or standard output, that data is written to.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace orvocap {

// Used from one thread at a time, but for what says otherwise. Failures are thrown with a message for the user.
class OutputStream {
  public:
    explicit OutputStream(const std::string& path);  // "-" is standard output; a terminal is refused
    void put(const void* data, size_t size);
    void finish();  // everything was put; nothing can be put any more

    // Whether whoever reads the pipe has ended; what is put from then on is dropped. From any thread.
    [[nodiscard]] bool isClosed() const { return closed_; }
    [[nodiscard]] uint64_t bytes() const { return bytes_; }  // put so far; from any thread
    [[nodiscard]] const std::string& name() const { return name_; }

  private:
    void fail();

    std::string name_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, &std::fclose};
    std::atomic<bool> closed_ = false;
    std::atomic<uint64_t> bytes_ = 0;
};

// Writes a whole file, or to standard output for "-". A file that cannot be written whole is not left behind.
void writeFile(const std::string& path, const void* data, size_t size);

}  // namespace orvocap
