// Small pictures of windows and displays, and the icons of applications.
#include <cmath>

#include "ScreenCapture/thumbnail/OrvoWindowManager.h"

using orvo::platform::Image;
using orvo::platform::NoImage;
using orvo::platform::Picture;
using orvo::platform::platform;
using orvo::platform::Ref;
using orvo::platform::Shot;
using orvo::platform::Size;
using orvo::thumbnail::BitmapItemPtr;

namespace {

constexpr int kPictureWidth = 400;  // pixels
constexpr double kIconWidth = 100;  // pixels
// A window of a few pixels' width and a screen's height would become a picture of hundreds of megabytes: it is made
// smaller, in proportion.
constexpr double kMaxArea = 16.0 * 1024 * 1024;  // pixels

BitmapItemPtr scaledItem(const Picture& picture, Size size) {
    const double excess = std::sqrt(size.width * size.height / kMaxArea);
    if (!std::isfinite(excess)) return nullptr;  // of a picture without width or height
    if (excess > 1) size = {size.width / excess, size.height / excess};
    const auto scaled = OrvoWindowManager::imageByScalingProportionallyToSize(size, picture);
    if (!scaled) return nullptr;
    const Ref<Image> image = OrvoWindowManager::convertNSImageToCGImageref(*scaled);
    return image ? orvo::thumbnail::makeBitmapItem(*image) : nullptr;
}

}  // namespace

BitmapItemPtr OrvoWindowManager::imageForAppname(const std::string& /*appName*/, const OrvoWindow* item,
                                                 orvo::platform::PictureBatch* pictures) {
    if (!item) return nullptr;
    auto& server = platform().windowServer();
    const Shot shot = item->isScreen ? server.displayPicture(item->windowID, kPictureWidth)
                      : pictures     ? pictures->take(item->windowID)
                                     : server.windowPicture(item->windowID);
    if (!shot.image) {
        platform().system().console(std::string("-[OrvoWindowManager imageForAppname:item:] ") +
                                    (item->isScreen ? "screen" : "window") + " image is nil windowtitle " +
                                    item->windowName);
        return nullptr;
    }
    const Picture picture = platform().imaging().picture(shot.image);
    return scaledItem(picture, {kPictureWidth, kPictureWidth * picture.size.height / picture.size.width});
}

BitmapItemPtr OrvoWindowManager::iconForAppname(const std::string& appName) {
    const auto icon = appIconForAppName(appName);
    if (!icon) return nullptr;
    return scaledItem(*icon, {kIconWidth, kIconWidth * icon->size.width / icon->size.height});
}

std::optional<Picture> OrvoWindowManager::appIconForAppName(const std::string& appName) {
    auto& workspace = platform().workspace();
    for (const auto& application : workspace.runningApplications()) {
        if (application->localizedName() != appName) continue;
        if (auto icon = application->icon()) return icon;
        break;
    }
    const auto path = workspace.fullPathForApplication(appName);
    if (!path) {
        platform().system().console("Could not find an app with the name “" + appName + "”.");
        return std::nullopt;
    }
    if (!appName.empty()) {
        if (auto icon = workspace.iconForFile(*path)) return icon;
    }
    platform().system().console("Error: Could not find an app with the name “" + appName + "”.");
    return std::nullopt;
}

std::optional<Picture> OrvoWindowManager::imageByScalingProportionallyToSize(const Size& size,
                                                                             const Picture& sourceImage) {
    return platform().imaging().scaled(sourceImage, size);
}

Ref<Image> OrvoWindowManager::convertNSImageToCGImageref(const Picture& image) {
    return platform().imaging().flatten(image);
}
