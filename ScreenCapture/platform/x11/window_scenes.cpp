// Which windows a picture is made of, in which order.
#include "ScreenCapture/platform/x11/window_scenes.h"

#include <algorithm>

namespace orvo::platform::x11 {
namespace {

// A frame that holds several clients is there once.
void addFrame(std::vector<SceneLayer>& layers, const DesktopWindow& window) {
    const bool known = std::any_of(layers.begin(), layers.end(),
                                   [&](const SceneLayer& layer) { return layer.window == window.frame; });
    if (!known)
        layers.push_back({window.frame, 0, window.frameBounds, window.frameBounds, window.shape,
                          window.frame == window.number ? window.border : 0, window.mapped});
}

}  // namespace

PixelRect boundsOfClient(const DesktopWindow& window) {
    return {0, 0, window.bounds.width, window.bounds.height};
}

SceneLayer layerOfClient(const DesktopWindow& window, const std::vector<PixelRect>& shape) {
    const int border = window.border;
    const PixelRect inner = boundsOfClient(window);
    const PixelRect outer{-border, -border, inner.width + 2 * border, inner.height + 2 * border};
    return {window.number, 0, outer, inner, shape, border, window.mapped};
}

void setLayersOfArea(std::vector<SceneLayer>& layers, const WindowList& windows) {
    layers.clear();
    for (const DesktopWindow& window : windows.all)
        if (window.frameOnScreen && window.type != WindowType::desktop) addFrame(layers, window);
}

void setLayersOfList(std::vector<SceneLayer>& layers, const WindowList& windows, const std::vector<uint32_t>& numbers,
                     bool withBackground) {
    layers.clear();
    for (const uint32_t number : numbers) {
        const DesktopWindow* window = windows.find(number);
        if (window && window->frameOnScreen) addFrame(layers, *window);
    }
    if (withBackground && windows.background != 0)
        layers.push_back({0, windows.background, windows.root, windows.root, {}});
}

}  // namespace orvo::platform::x11
