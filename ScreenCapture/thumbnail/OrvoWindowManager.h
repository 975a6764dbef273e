// What can be captured and what becomes of it: lists of displays and windows, the registry of target windows with the
// check of every tick, the notifications about them, their pictures and icons.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "ScreenCapture/thumbnail/OrvoWindowProxy.h"
#include "ScreenCapture/thumbnail/bitmap_item.h"
#include "ScreenCapture/window/OrvoWindow.h"
#include "orvo/screencapture.h"

// Made with std::make_shared: jobs hold the manager. Every method may be called from any thread; no lock is held while
// the system is asked or the host is called. Where a record may be missing, a null one answers like one of all zeros.
class OrvoWindowManager : public std::enable_shared_from_this<OrvoWindowManager> {
  public:
    using Numbers = std::vector<uint32_t>;

    explicit OrvoWindowManager(std::shared_ptr<OrvoCaptureSettings> settings);

    // ---- Lists (each call asks afresh; display and window numbers share one space, displays come first) ----

    std::vector<OrvoWindowRef> allWindow();  // displays, then windows front to back
    // Windows only. false drops those that the accessibility service calls minimised.
    std::vector<OrvoWindowRef> allWindowWithIncludeIconic(bool includeIconic);
    OrvoWindowRef getOrvoWindowWithWindowId(uint32_t windowId);  // the first of a fresh allWindow; null for none
    OrvoWindowRef getItemWithTargetWindow(uint32_t windowId);    // the registered record, else a fresh one
    Numbers getAllWindowWithWindowID(uint32_t windowId);         // every window of the process that owns windowId

    // ---- The windows that composed pictures leave out, as the session handed them over last ----

    void setExcludeWindows(Numbers excludeWindows);
    Numbers excludeWindows() const;

    // ---- Targets ----

    bool registTargetWindow(uint32_t windowId);  // asks for a picture through the thumbnail callback; registers nothing
    bool unRegistTargetWindowId(uint32_t windowId);
    // Registers a fresh record; one that is not there yet when a search first finds it.
    void setTargetWindow(uint32_t windowId);
    void removeTargerWindow(uint32_t windowId);

    // Whether a target can be captured now. isNotify: compare with the registered record and notify the host.
    bool checkTargetWindowStatusIsNormal(uint32_t windowId, bool isNotify);
    bool checkScreenIsValid(uint32_t displayId);
    bool checkWindowStatusIsNormal(OrvoWindow& window, bool isNotify);
    // Searches for the slide show that a presentation program shows instead of the window. True when the host was
    // notified.
    bool checkProcessWindowStatus(const OrvoAppProxy& app, const OrvoWindow& window);
    bool checkIsNewFullScreenPPT(const OrvoWindowProxy& proxy, const OrvoWindow& window);
    bool checkNewProcessIsNormal(const OrvoWindowProxy& proxy);  // it is on screen

    bool showTargetWindow(uint32_t windowId, int cmd);
    // A window: its edges. A display: its origin, then width and height. All zero for an unknown number.
    OrvoScreenCaptureRect getRectWithTargetWindow(uint32_t windowId);

    // ---- Notifications: posted to the main queue with the values of this moment, if anybody is registered ----

    void notifyWindowStatusChange(int status, const OrvoWindow* item);
    void notifyWindowMoveChangeItem(const OrvoWindow* item);
    void notifyWindowChange(int change, const OrvoWindow* item);
    void notifyCaptureProcessWindowChange(const OrvoWindowProxy* proxy);
    // Builds the record's picture and icon on the calling thread; they are freed again when nobody gets them.
    void notifyWindowPicture(const OrvoWindow& item, bool isnotify);
    void setThumbnailImage(const OrvoWindow& item, bool isnotify) { notifyWindowPicture(item, isnotify); }

    // ---- Pictures ----

    // 400 pixels wide, in proportion; null when there is none. The name is not used.
    orvo::thumbnail::BitmapItemPtr imageForAppname(const std::string& appName, const OrvoWindow* item,
                                                   orvo::platform::PictureBatch* pictures = nullptr);
    // 100 pixels wide and 100 * width / height high, which is not in proportion; that is intended.
    orvo::thumbnail::BitmapItemPtr iconForAppname(const std::string& appName);
    static std::optional<orvo::platform::Picture> appIconForAppName(const std::string& appName);
    // Draws the picture over the whole size; keeping proportions is the caller's duty, in spite of the name.
    static std::optional<orvo::platform::Picture> imageByScalingProportionallyToSize(
        const orvo::platform::Size& size, const orvo::platform::Picture& sourceImage);
    static orvo::platform::Ref<orvo::platform::Image> convertNSImageToCGImageref(const orvo::platform::Picture& image);

  private:
    bool reportUnchanged(OrvoWindow& record);
    // The steps of the check of a window; each notifies the host of what differs from the record, and updates it.
    void compareActivity(OrvoWindow& window, bool isActive);
    void compareHidden(OrvoWindow& window, bool isHidden);
    void compareBounds(OrvoWindow& window, const orvo::platform::Rect& frame);
    bool checkFoundWindow(OrvoWindow& window, const OrvoAppProxy& app, const OrvoWindowProxy& proxy, bool isNotify);
    void notifyMinimized(OrvoWindow& window);

    template <typename Job>
    void post(int kind, Job job);
    void notifyCaptureError(int errorCode, const char* reason);
    void sendWindowStatus(int status, uint32_t windowId, const OrvoScreenCaptureRect& rect);

    const std::shared_ptr<OrvoCaptureSettings> m_settings;
    const std::shared_ptr<orvo::platform::SerialQueue> imageQueue;
    mutable std::mutex m_mutex;  // guards the two below
    struct Target {
        OrvoWindowRef record;    // null: not found yet
        uint64_t missingAt = 0;  // the desktop's version in which it was not found
    };
    std::map<uint32_t, Target> targetWindowsDictionary;
    Numbers m_excludeWindows;
    std::atomic<double> lastErrorTime{0};  // seconds; when a target was last seen well or a status was sent
};
