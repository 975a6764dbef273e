// Which windows a picture is made of, in which order.
#pragma once

#include <optional>
#include <vector>

#include "ScreenCapture/platform/x11/scene_grabber.h"
#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// A window's client alone, without its border, in its own coordinates: its place on the root does not matter.
PixelRect boundsOfClient(const DesktopWindow& window);
SceneLayer layerOfClient(const DesktopWindow& window, const std::vector<PixelRect>& shape);

// The next two write over the layers given, whose memory serves again.

// Everything on screen but desktop windows and the background, with frames, front to back.
void setLayersOfArea(std::vector<SceneLayer>& layers, const WindowList& windows);

// The windows of the list, each with its frame, in the order given; numbers that are not on screen are left out.
// withBackground: what the root shows lies behind them.
void setLayersOfList(std::vector<SceneLayer>& layers, const WindowList& windows, const std::vector<uint32_t>& numbers,
                     bool withBackground);

}  // namespace orvo::platform::x11
