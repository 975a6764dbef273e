// Desktop entries, read once and again when one of their folders changes.
#include "ScreenCapture/platform/linux/desktop_entries.h"

#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "ScreenCapture/platform/linux/glib.h"

namespace orvo::platform::linux {
namespace {

constexpr std::chrono::seconds kFoldersAreTrusted{1};

std::string text(const char* from) {
    return from ? from : "";
}

std::string lower(std::string from) {
    for (char& c : from)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return from;
}

using EntryRef = std::shared_ptr<const DesktopEntry>;
using Test = std::function<bool(const DesktopEntry&)>;

Test hasClass(const std::string& name) {
    return [&](const DesktopEntry& entry) { return !name.empty() && entry.windowClass == name; };
}
Test hasFile(const std::string& name) {
    return [&, id = lower(name) + ".desktop"](const DesktopEntry& entry) {
        return !name.empty() && lower(entry.id) == id;
    };
}

class Entries {
  public:
    static Entries& instance() {
        static Entries& one = *new Entries;
        return one;
    }

    EntryRef ofClass(const std::string& instance, const std::string& className) {
        std::lock_guard lock(mutex_);
        refresh();
        const std::string key = instance + '\0' + className;
        const auto known = byClass_.find(key);
        if (known != byClass_.end()) return known->second;
        const EntryRef entry = first({hasClass(className), hasClass(instance), hasFile(className), hasFile(instance)});
        return byClass_.emplace(key, entry).first->second;
    }
    // The first entry that passes the first test that any of them passes.
    EntryRef find(std::initializer_list<Test> tests) {
        std::lock_guard lock(mutex_);
        refresh();
        return first(tests);
    }

  private:
    EntryRef first(std::initializer_list<Test> tests) const {
        for (const Test& test : tests)
            for (const EntryRef& entry : entries_)
                if (test(*entry)) return entry;
        return nullptr;
    }

    void refresh() {
        if (!gio().found) return;
        const auto now = std::chrono::steady_clock::now();
        if (!entries_.empty() && now - readAt_ < kFoldersAreTrusted) return;
        readAt_ = now;
        const std::vector<int64_t> stamps = folderStamps();
        if (stamps == stamps_) return;
        stamps_.clear();  // until everything is read
        entries_.clear();
        byClass_.clear();
        const GType kind = gio().g_desktop_app_info_get_type();
        GList* all = gio().g_app_info_get_all();
        for (GList* each = all; each; each = each->next)
            if (gio().g_type_check_instance_is_a(static_cast<GTypeInstance*>(each->data), kind))
                entries_.push_back(std::make_shared<const DesktopEntry>(readEntry(static_cast<GAppInfo*>(each->data))));
        gio().g_list_free_full(all, gio().g_object_unref);
        stamps_ = stamps;
    }

    static std::vector<int64_t> folderStamps() {
        std::vector<int64_t> stamps;
        const auto add = [&](const char* folder) {
            struct stat status {};
            const bool there = stat((text(folder) + "/applications").c_str(), &status) == 0;
            stamps.push_back(there ? status.st_mtim.tv_sec : 0);
            stamps.push_back(there ? status.st_mtim.tv_nsec : 0);
        };
        add(gio().g_get_user_data_dir());
        for (const char* const* folder = gio().g_get_system_data_dirs(); *folder; ++folder) add(*folder);
        return stamps;
    }

    std::mutex mutex_;
    std::vector<EntryRef> entries_;
    std::unordered_map<std::string, EntryRef> byClass_;
    std::vector<int64_t> stamps_;
    std::chrono::steady_clock::time_point readAt_;
};

}  // namespace

DesktopEntry readEntry(GAppInfo* application) {
    auto* info = reinterpret_cast<GDesktopAppInfo*>(application);
    DesktopEntry entry;
    entry.id = text(gio().g_app_info_get_id(application));
    entry.path = text(gio().g_desktop_app_info_get_filename(info));
    entry.name = text(gio().g_app_info_get_name(application));
    entry.windowClass = text(gio().g_desktop_app_info_get_startup_wm_class(info));
    if (gchar* icon = gio().g_desktop_app_info_get_string(info, "Icon")) {
        entry.icon = icon;
        gio().g_free(icon);
    }
    return entry;
}

EntryRef entryOfClass(const std::string& instance, const std::string& className) {
    return Entries::instance().ofClass(instance, className);
}

EntryRef entryByName(const std::string& name) {
    if (name.empty()) return nullptr;
    return Entries::instance().find(
        {[&](const DesktopEntry& entry) { return entry.name == name; },
         [&](const DesktopEntry& entry) { return entry.id == name || entry.id == name + ".desktop"; }});
}

EntryRef entryByPath(const std::string& path) {
    return Entries::instance().find({[&](const DesktopEntry& entry) { return entry.path == path; }});
}

}  // namespace orvo::platform::linux
