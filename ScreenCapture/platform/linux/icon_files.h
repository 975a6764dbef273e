// Icon files: what the name in a desktop entry stands for. BGRA with colours multiplied by alpha.
#pragma once

#include <optional>
#include <string>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::linux {

// The icon of that name: a file's path, or a name looked up in the hicolor theme and the pixmaps folder. Reads files;
// none when no file has it. Callable from any thread.
std::optional<Picture> iconByName(const std::string& name);

}  // namespace orvo::platform::linux
