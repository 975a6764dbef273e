// The scenes that are captured: windows of one client, repainted step by step, with the time of each step in the
// picture.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "x11_client.h"

namespace bench {

struct Corner {
    int x = 0, y = 0;
};

// What a capturer has to know of a scene.
struct SceneFacts {
    std::vector<xcb_window_t> windows;  // the one that is captured as a window first
    std::vector<Corner> stamps;         // on the root; all of one step show the same time
};

class Scene {
  public:
    virtual ~Scene() = default;
    // One step: everything of it appears on screen at once. The number counts from 0; time is what the stamps show.
    virtual void step(int number, uint64_t time) = 0;
    virtual bool isStill() const { return false; }
    SceneFacts facts;
};

// name: static, busy, small, scroll, under, drag, tiles (count small windows), crowd (busy among count windows),
// crowd-static, list (count windows of 640x480). Null for another name.
std::unique_ptr<Scene> makeScene(Client& client, const std::string& name, int count);

}  // namespace bench
