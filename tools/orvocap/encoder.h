// A program that makes a file that players know from pictures: ffmpeg, or gst-launch-1.0 of GStreamer.
#pragma once

#include <sys/types.h>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace orvocap {

// ".mkv" of "a.b/c.MKV", in small letters; empty without one.
std::string extensionOf(const std::string& file);

// Whether files of that extension are made by an encoder.
bool isEncoded(const std::string& extension);

// What to run for that file, which gets Y4M on its standard input. folders: those to search for programs, as PATH
// lists them. Empty when there is none of the programs.
std::vector<std::string> encoderCommand(const std::string& file, const std::string& folders);

// The program while it runs. It has a process group of its own: the terminal's Ctrl-C ends the recording, and the
// encoder then writes the end of its file.
class Encoder {
  public:
    // Throws a Failure that names the packages when there is no program, and a runtime_error when it cannot be started.
    explicit Encoder(std::string file);
    ~Encoder();  // waits for its end
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    // For Y4M; what is written to it after the program's end fails with EPIPE.
    [[nodiscard]] std::FILE* input() const { return input_.get(); }

    // Closes the input and waits. Throws what the program says when it has failed.
    void finish();

    [[nodiscard]] const std::string& file() const { return file_; }
    [[nodiscard]] uint64_t bytes() const;  // written into the file so far; from any thread

  private:
    int wait();
    [[nodiscard]] std::string lastWords() const;

    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    std::string file_;
    std::string program_;
    File input_{nullptr, &std::fclose};
    File messages_{nullptr, &std::fclose};
    pid_t process_ = 0;
};

}  // namespace orvocap
