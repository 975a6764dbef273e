// Icon files, found by name and read by gdk-pixbuf.
#include "ScreenCapture/platform/linux/icon_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string_view>
#include <vector>

#include "ScreenCapture/platform/linux/glib.h"
#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::linux {
namespace {

constexpr int kMaxSide = 1024;         // pixels; larger files are scaled while they are read
constexpr int kMaxClaimedSide = 4096;  // files that claim more are not read: gdk-pixbuf allocates what they claim
constexpr int kDrawnSide = 256;        // of icons that are drawings

Ref<Image> bitmapOf(const GdkPixbuf* pixels) {
    const int width = pixbuf().gdk_pixbuf_get_width(pixels);
    const int height = pixbuf().gdk_pixbuf_get_height(pixels);
    const int channels = pixbuf().gdk_pixbuf_get_n_channels(pixels);
    const auto bitmap = software::MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
    if (!bitmap || channels < 3) return nullptr;
    uint8_t* out = bitmap->data();
    for (int y = 0; y < height; ++y) {
        const guint8* in = pixbuf().gdk_pixbuf_read_pixels(pixels) +
                           static_cast<size_t>(y) * static_cast<size_t>(pixbuf().gdk_pixbuf_get_rowstride(pixels));
        for (int x = 0; x < width; ++x, in += channels, out += 4) {
            const uint32_t value = software::premultiplied(channels > 3 ? in[3] : 255, in[0], in[1], in[2]);
            std::memcpy(out, &value, 4);
        }
    }
    return bitmap;
}

// Whether opening it cannot block, as it does for a pipe.
bool isFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// What icons are made of. Other readers take a file at its word about the memory that it needs.
bool isIconFormat(GdkPixbufFormat* format) {
    gchar* const name = pixbuf().gdk_pixbuf_format_get_name(format);
    const std::string_view known = name ? name : "";
    const bool is = known == "png" || known == "svg" || known == "xpm";
    pixbuf().g_free(name);
    return is;
}

std::optional<Picture> iconOfFile(const std::string& path) {
    int width = 0;
    int height = 0;
    if (!isFile(path)) return std::nullopt;
    if (!pixbuf().found) return std::nullopt;
    GdkPixbufFormat* const format = pixbuf().gdk_pixbuf_get_file_info(path.c_str(), &width, &height);
    if (!format || !isIconFormat(format) || width > kMaxClaimedSide || height > kMaxClaimedSide) return std::nullopt;
    const bool drawn = path.size() > 4 && path.compare(path.size() - 4, 4, ".svg") == 0;
    GdkPixbuf* pixels = nullptr;
    if (drawn || width > kMaxSide || height > kMaxSide) {
        const int size = drawn ? kDrawnSide : kMaxSide;
        pixels = pixbuf().gdk_pixbuf_new_from_file_at_scale(path.c_str(), size, size, TRUE, nullptr);
    } else {
        pixels = pixbuf().gdk_pixbuf_new_from_file(path.c_str(), nullptr);
    }
    if (!pixels) return std::nullopt;
    const Ref<Image> bitmap = bitmapOf(pixels);
    pixbuf().g_object_unref(pixels);
    if (!bitmap) return std::nullopt;
    return software::pictureOf({bitmap});
}

// From good to poor for a picture of 100 pixels.
std::vector<std::string> candidates(const std::string& name) {
    if (!gio().found) return {};
    std::vector<std::string> folders = {std::string(gio().g_get_user_data_dir())};
    for (const char* const* folder = gio().g_get_system_data_dirs(); *folder; ++folder) folders.emplace_back(*folder);
    std::vector<std::string> paths;
    for (const char* size : {"128x128", "256x256", "192x192", "512x512", "scalable", "96x96", "64x64", "48x48", "32x32",
                             "24x24", "22x22", "16x16"})
        for (const std::string& folder : folders)
            for (const char* ending : {".png", ".svg", ".xpm"})
                paths.push_back(folder + "/icons/hicolor/" + size + "/apps/" + name + ending);
    for (const std::string& folder : folders)
        for (const char* ending : {".png", ".svg", ".xpm", ""}) paths.push_back(folder + "/pixmaps/" + name + ending);
    return paths;
}

}  // namespace

std::optional<Picture> iconByName(const std::string& name) {
    if (name.empty()) return std::nullopt;
    if (name.front() == '/') return iconOfFile(name);
    if (name.find('/') != std::string::npos) return std::nullopt;
    for (const std::string& path : candidates(name)) {
        if (access(path.c_str(), R_OK) != 0) continue;
        if (auto icon = iconOfFile(path)) return icon;
    }
    return std::nullopt;
}

}  // namespace orvo::platform::linux
