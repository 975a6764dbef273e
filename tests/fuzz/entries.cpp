// Desktop entries and icon files: what they say is text, and a picture of a limited size or none.
#include <gio/gdesktopappinfo.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "ScreenCapture/platform/linux/desktop_entries.h"
#include "ScreenCapture/platform/linux/icon_files.h"
#include "tests/fuzz/fuzz.h"

using namespace orvo::platform;

namespace {

void isWhole(const std::optional<Picture>& icon) {
    if (!icon) return;
    REQUIRE(!icon->representations.empty() && icon->image);
    for (const auto& each : icon->representations) {
        REQUIRE(each.image->width() > 0 && each.image->width() <= 1024);
        REQUIRE(each.image->height() > 0 && each.image->height() <= 1024);
    }
}

void entrySays(const std::string& text) {
    const std::string all = "[Desktop Entry]\nType=Application\nExec=true\n" + text;
    GKeyFile* keys = g_key_file_new();
    if (g_key_file_load_from_data(keys, all.data(), all.size(), G_KEY_FILE_NONE, nullptr)) {
        if (GDesktopAppInfo* info = g_desktop_app_info_new_from_keyfile(keys)) {
            const linux::DesktopEntry entry = linux::readEntry(G_APP_INFO(info));
            for (const std::string* each : {&entry.name, &entry.windowClass, &entry.icon})
                REQUIRE(g_utf8_validate(each->data(), static_cast<gssize>(each->size()), nullptr));
            isWhole(linux::iconByName(entry.icon));
            g_object_unref(info);
        }
    }
    g_key_file_free(keys);
}

void fileShows(const std::string& content) {
    static const int file = memfd_create("icon", 0);
    REQUIRE(ftruncate(file, 0) == 0);
    REQUIRE(pwrite(file, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    isWhole(linux::iconByName("/proc/self/fd/" + std::to_string(file)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string text(bytes, bytes + size);
    entrySays(text);
    fileShows(text);
    return 0;
}
