// What the library reports of captured windows, as values and as lines of text.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "orvo/screencapture.h"

namespace orvocap {

struct Event {
    enum class Kind { moved, status, process, thumbnail, error };

    Kind kind = Kind::error;
    unsigned int window = 0;       // 0 for errors, which name none
    int code = 0;                  // status, change or error
    OrvoScreenCaptureRect rect{};  // edges in points, of moved and status
    std::string title{};           // UTF-8, of process and thumbnail
    double seconds = 0;            // since the watch began

    [[nodiscard]] bool tellsTheSameAs(const Event& other) const;
};

// One line without its end, such as "    1.204 status    6291466  8 moved  200x200 at 300,120".
std::string eventLine(const Event& event);

// The same as one JSON object and the end of its line.
std::string eventJson(const Event& event);

// Some events come again with every tick: finds those that change what is known of their window.
class EventFilter {
  public:
    bool isNew(const Event& event);

  private:
    std::map<std::pair<Event::Kind, unsigned int>, Event> last_;
};

// Events on their way from the library's threads to the one that prints them.
class EventQueue {
  public:
    void push(Event event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
    }
    std::vector<Event> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(events_, {});
    }

  private:
    std::mutex mutex_;
    std::vector<Event> events_;
};

}  // namespace orvocap
