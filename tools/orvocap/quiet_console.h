// The library tells a developer's console of every window that it looks at; in a list that a person reads, these lines
// would be in the way.
#pragma once

namespace orvocap {

// Drops what is written to standard error while it lives.
class QuietConsole {
  public:
    QuietConsole();
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

  private:
    int kept_;  // where standard error went before; -1 when it could not be changed
};

}  // namespace orvocap
