// Named notifications inside the process.
#pragma once

#include <memory>

namespace orvo::platform {

class Notifications {
  public:
    virtual ~Notifications() = default;
    // Posts now, on the calling thread, to whoever listens to the name. Those of the same name that still wait in the
    // process's queue are merged. thing: what listeners find under the key "thing".
    virtual void postCoalescing(const char* name, const std::shared_ptr<void>& thing) = 0;
};

}  // namespace orvo::platform
