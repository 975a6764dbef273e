// A file, standard output or an encoder that data is written to, and the care that nothing is lost by it.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "encoder.h"

namespace orvocap {

// Used from one thread at a time, but for what says otherwise. Failures are thrown with a message for the user.
class OutputStream {
  public:
    explicit OutputStream(const std::string& path);  // "-" is standard output; a terminal is refused
    explicit OutputStream(std::unique_ptr<Encoder> encoder);
    void put(const void* data, size_t size);
    void finish();   // everything was put; nothing can be put any more
    void discard();  // instead of finish: a file that was made is taken away

    // Whether the reader of the pipe has ended; what is put from then on is dropped. From any thread.
    [[nodiscard]] bool isClosed() const { return closed_; }
    [[nodiscard]] uint64_t bytes() const { return encoder_ ? encoder_->bytes() : bytes_.load(); }  // from any thread
    [[nodiscard]] const std::string& name() const { return name_; }

  private:
    void fail();

    std::string name_;
    std::string path_;  // of a file; else empty
    std::unique_ptr<Encoder> encoder_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, &std::fclose};
    std::atomic<bool> closed_ = false;
    std::atomic<uint64_t> bytes_ = 0;
};

// Writes a whole file, or to standard output for "-". A file that cannot be written whole is not left behind.
void writeFile(const std::string& path, const void* data, size_t size);

// "recording-2024-02-29-120000.mkv": what a file is called whose user gives no name.
std::string defaultName(const std::string& kind, const std::string& extension);

// What is already there is written over if force says so, or the user at a terminal. Throws a Failure if not. A device
// or a pipe loses nothing by it.
void allowOverwriting(const std::string& path, bool force);

// The same for what is there, in words such as "pictures holds 30 frames".
void allowOverwritingWhat(const std::string& whatIsThere, bool force);

}  // namespace orvocap
