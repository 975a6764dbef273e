// The library tells a developer's console of every window that it looks at; in a list that a person reads, these lines
// would be in the way.
#pragma once

#include <cstdio>
#include <memory>

namespace orvocap {

// Drops what is written to standard error while it lives.
class QuietConsole {
  public:
    QuietConsole();
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

    // Where standard error went before.
    [[nodiscard]] std::FILE* console() const { return console_ ? console_.get() : stderr; }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> console_;  // null when nothing could be changed
};

}  // namespace orvocap
