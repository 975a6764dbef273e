// Running applications and their icons: NSWorkspace and NSRunningApplication.
#include <AppKit/AppKit.h>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

// None for nil.
std::optional<Picture> iconFrom(NSImage* image) {
    if (!image) return std::nullopt;
    return pictureOf(image);
}

class MacRunningApplication final : public RunningApplication {
  public:
    explicit MacRunningApplication(NSRunningApplication* application) : application_(application) {}

    int32_t processIdentifier() override {
        return answered(int32_t{0}, [&] { return application_.processIdentifier; });
    }
    std::string localizedName() override {
        return answered(std::string(), [&] { return textOf(application_.localizedName); });
    }
    std::string bundleIdentifier() override {
        return answered(std::string(), [&] { return textOf(application_.bundleIdentifier); });
    }
    std::optional<Picture> icon() override {
        return answered(std::optional<Picture>(), [&] { return iconFrom(application_.icon); });
    }
    bool isActive() override {
        return answered(false, [&] { return application_.active; });
    }
    bool isHidden() override {
        return answered(false, [&] { return application_.hidden; });
    }
    bool isTerminated() override {
        return answered(false, [&] { return application_.terminated; });
    }

    // From 14.0 on an application gives its place at the front to another; that it ignores the others is over.
    bool activate(Activation how) override {
        return answered(false, [&] {
            if (how == Activation::ignoringOthers) {
                if (@available(macOS 14.0, *))
                    return [application_ activateFromApplication:[NSRunningApplication currentApplication] options:0];
            }
            return [application_ activateWithOptions:static_cast<NSApplicationActivationOptions>(how)];
        });
    }
    bool hide() override {
        return answered(false, [&] { return [application_ hide]; });
    }
    bool unhide() override {
        return answered(false, [&] { return [application_ unhide]; });
    }
    bool terminate() override {
        return answered(false, [&] { return [application_ terminate]; });
    }
    bool forceTerminate() override {
        return answered(false, [&] { return [application_ forceTerminate]; });
    }

  private:
    NSRunningApplication* const application_;
};

// The second has no effect since 14.0.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
static_assert(static_cast<NSUInteger>(Activation::allWindows) == NSApplicationActivateAllWindows);
static_assert(static_cast<NSUInteger>(Activation::ignoringOthers) == NSApplicationActivateIgnoringOtherApps);
#pragma clang diagnostic pop

class MacWorkspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override {
        return answered(std::vector<std::shared_ptr<RunningApplication>>(), [] {
            std::vector<std::shared_ptr<RunningApplication>> applications;
            for (NSRunningApplication* application in [NSWorkspace sharedWorkspace].runningApplications) {
                applications.push_back(std::make_shared<MacRunningApplication>(application));
            }
            return applications;
        });
    }

    std::shared_ptr<RunningApplication> application(int32_t pid) override {
        return answered(std::shared_ptr<RunningApplication>(), [&]() -> std::shared_ptr<RunningApplication> {
            NSRunningApplication* application = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
            if (!application) return nullptr;
            return std::make_shared<MacRunningApplication>(application);
        });
    }

    std::optional<std::string> fullPathForApplication(const std::string& name) override {
        return answered(std::optional<std::string>(), [&]() -> std::optional<std::string> {
// There is no other call that finds an application by its name.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
            NSString* path = [[NSWorkspace sharedWorkspace] fullPathForApplication:textFrom(name)];
#pragma clang diagnostic pop
            if (!path) return std::nullopt;
            return textOf(path);
        });
    }

    std::optional<Picture> iconForFile(const std::string& path) override {
        return answered(std::optional<Picture>(),
                        [&] { return iconFrom([[NSWorkspace sharedWorkspace] iconForFile:textFrom(path)]); });
    }
};

}  // namespace

std::unique_ptr<Workspace> makeWorkspace() {
    return std::make_unique<MacWorkspace>();
}

}  // namespace orvo::platform::macos
