// A running SCStream and the newest picture that it has brought.
#pragma once

#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "ScreenCapture/platform/display_capture.h"
#include "ScreenCapture/platform/macos/cf_ref.h"

namespace orvo::platform::macos {

// What the stream's own queue brings and others read.
class StreamPictures {
  public:
    struct Picture {
        CFRef<CVPixelBufferRef> buffer;
        uint64_t version = 0;
        MediaTime time;
    };
    // On the stream's queue: a sample came whose pixels are new, or the same as before; or the stream has ended.
    using Listener = std::function<void(const StreamPictures&)>;

    explicit StreamPictures(Listener listener) : listener_(std::move(listener)) {}

    void take(CMSampleBufferRef sample);
    void end(NoImage why);
    // What comes from now on until accept() is of a filter that does not hold any more.
    uint64_t refuse();
    void accept(uint64_t turn);

    std::optional<Picture> newest() const;
    NoImage whyEnded() const;  // none: it runs

  private:
    const Listener listener_;
    mutable std::mutex lock_;
    std::optional<Picture> newest_;
    NoImage whyEnded_ = NoImage::none;
    uint64_t refusals_ = 0;
    bool isRefusing_ = false;
};

// Starts at once and ends with the object; neither waits. Calls come from one thread at a time, inside a guard.
class API_AVAILABLE(macos(14.0)) Stream {
  public:
    Stream(SCContentFilter* filter, SCStreamConfiguration* configuration, StreamPictures::Listener listener = nullptr);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Both take effect in place. Pictures of a filter that shows what the new one leaves out are refused at once.
    void update(SCContentFilter* filter, bool refusesOld);
    void update(SCStreamConfiguration* configuration);

    const StreamPictures& pictures() const { return *pictures_; }

  private:
    struct State;
    const std::shared_ptr<StreamPictures> pictures_;
    const std::shared_ptr<State> state_;
};

}  // namespace orvo::platform::macos
