// Applications, their elements, icons and the pointer, on a real server with a real window manager.
#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/managed_desktop.h"

namespace orvo::testing {
namespace {

using platform::ElementRef;
using platform::Point;
using platform::Size;

platform::Workspace& workspace() {
    return platform::platform().workspace();
}

class Applications : public ManagedDesktop, public ::testing::Test {
  protected:
    Applications() : ManagedDesktop("openbox") {}
    ElementRef self() { return accessibility().application(getpid()); }
};

TEST_F(Applications, ElementsTellOfWindowsAndTakeOrders) {
    const auto first = show({.area = {50, 60, 200, 100}, .title = "First", .className = "Mine"});
    windows_.setText(first, "WM_WINDOW_ROLE", "STRING", "browser");
    const auto dialog = show({.area = {300, 300, 120, 80}, .title = "Dialog"});
    windows_.setNumber(dialog, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, first);
    const ElementRef one = elementOf(first);
    const ElementRef two = elementOf(dialog);
    ASSERT_TRUE(one && two);

    const auto bounds = windows_.rootBounds(first);
    EXPECT_EQ(value<std::string>(one, "AXTitle"), "First");
    EXPECT_EQ(value<Point>(one, "AXPosition"), bounds.origin());
    EXPECT_EQ(value<Size>(one, "AXSize"), (Size{200, 100}));
    EXPECT_EQ(value<std::string>(one, "AXSubrole"), "AXStandardWindow");
    EXPECT_EQ(value<std::string>(two, "AXSubrole"), "AXDialog");
    EXPECT_EQ(value<std::string>(one, "AXIdentifier"), "browser");
    EXPECT_EQ(accessibility().copyAttribute(one, "AXIdentifier").typeIdentifier, 7U);
    EXPECT_NE(accessibility().copyAttribute(two, "AXIdentifier").error, 0);
    EXPECT_EQ(accessibility().processIdentifier(one), getpid());

    // An order is given again until the manager has done it in time: this one may be slow.
    const auto order = [&](const char* name, bool wanted) {
        return comesAbout([&] { return accessibility().setAttribute(one, name, wanted) == 0; });
    };
    for (const bool minimized : {true, false}) {
        EXPECT_TRUE(order("AXMinimized", minimized));
        EXPECT_EQ(value<bool>(one, "AXMinimized"), minimized);
    }
    EXPECT_TRUE(order("AXFullScreen", true));
    EXPECT_TRUE(comesAbout([&] { return value<Size>(one, "AXSize") == Size{800, 600}; }));
    windows_.destroy(first);
    EXPECT_NE(accessibility().copyAttribute(one, "AXTitle").error, 0);
    EXPECT_NE(accessibility().setAttribute(one, "AXMain", true), 0);
    EXPECT_TRUE(value<std::vector<ElementRef>>(accessibility().application(1), "AXWindows").empty());
    EXPECT_FALSE(accessibility().bringToFront(1));
}

TEST_F(Applications, AnOpenMenuIsAWindowOfItsApplicationButNoneToCommand) {
    const auto window = show({.area = {50, 60, 200, 100}});
    const auto menu = windows_.make({.area = {80, 90, 60, 60}, .overrideRedirect = true});
    const ElementRef element = elementOf(menu);
    ASSERT_TRUE(element);
    EXPECT_EQ(value<Point>(element, "AXPosition"), (Point{80, 90}));
    EXPECT_EQ(value<std::string>(element, "AXSubrole"), "AXUnknown");
    EXPECT_EQ(accessibility().windowNumber(value<ElementRef>(self(), "AXMainWindow")), window);
    windows_.unmap(menu);
    EXPECT_FALSE(elementOf(menu));
}

TEST_F(Applications, RunningOnesAreListedAndEnd) {
    show({.area = {50, 60, 200, 100}, .className = "Mine"});
    server_.start({"xterm", "-title", "Other", "-e", "sleep", "60"});
    const auto others = [&] {
        auto all = workspace().runningApplications();
        std::erase_if(all, [](const auto& each) { return each->processIdentifier() == getpid(); });
        return all;
    };
    ASSERT_TRUE(comesAbout([&] { return others().size() == 1; }));
    const auto all = workspace().runningApplications();
    ASSERT_EQ(all.size(), 2U);
    const auto& mine = all[0];
    const auto& other = all[1];
    EXPECT_EQ(mine->localizedName(), "Mine");
    EXPECT_FALSE(workspace().application(1));

    EXPECT_FALSE(mine->forceTerminate());  // never the host itself
    EXPECT_TRUE(other->terminate());
    EXPECT_TRUE(comesAbout([&] { return others().empty(); }));
    EXPECT_FALSE(workspace().fullPathForApplication("No Such Application"));
}

TEST_F(Applications, IconsComeFromTheWindowWithAllSizes) {
    const auto window = show({.area = {50, 60, 200, 100}});
    std::vector<uint32_t> icon = {2, 2, 0x80FF0000, 0, 0, 0, 4, 4};
    icon.resize(icon.size() + 16, 0xFF00FF00);
    icon.insert(icon.end(), {1000000, 1000000, 7});  // not whole
    windows_.setNumbers(window, "_NET_WM_ICON", icon);
    ASSERT_TRUE(application());
    const auto picture = application()->icon();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size, (Size{4, 4}));
    EXPECT_EQ(pixel(platform::Shot(picture->image), 0, 0), 0xFF00FF00U);
    ASSERT_EQ(picture->representations.size(), 2U);
    EXPECT_EQ(pixel(platform::Shot(picture->representations[0].image), 0, 0), 0x80800000U);  // multiplied by alpha
}

TEST_F(Applications, ObserversHearOfMovesFocusAndNewWindows) {
    const auto window = show({.area = {50, 60, 200, 100}});
    std::vector<std::string> heard;
    auto observer = accessibility().makeObserver(getpid(), [&](const ElementRef& element, const char* name, void*) {
        heard.push_back(std::string(name) + " " + std::to_string(accessibility().windowNumber(element)));
    });
    ASSERT_TRUE(observer);
    const ElementRef element = elementOf(window);
    for (const char* name : {"AXWindowCreated", "AXWindowMoved", "AXWindowResized", "AXWindowMiniaturized"})
        observer->add(element, name, nullptr);
    observer->add(self(), "AXWindowDeminiaturized", nullptr);
    observer->addToCurrentRunLoop();
    const auto hears = [&](const std::string& name, xcb_window_t about) {
        const std::string wanted = name + " " + std::to_string(about);
        return comesAbout([&] {
            while (g_main_context_iteration(nullptr, FALSE)) {
            }
            return std::find(heard.begin(), heard.end(), wanted) != heard.end();
        });
    };
    windows_.move(window, 200, 150);
    EXPECT_TRUE(hears("AXWindowMoved", window));
    windows_.resize(window, 210, 110);
    EXPECT_TRUE(hears("AXWindowResized", window));
    windows_.iconify(window);
    EXPECT_TRUE(hears("AXWindowMiniaturized", window));
    windows_.map(window);
    EXPECT_TRUE(hears("AXWindowDeminiaturized", window));
    const auto other = show({.area = {10, 10, 50, 50}});
    EXPECT_TRUE(hears("AXWindowCreated", other));

    heard.clear();
    observer->removeFromCurrentRunLoop();
    windows_.move(window, 10, 10);
    windows_.awaitRepaint();
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    EXPECT_TRUE(heard.empty());
    EXPECT_FALSE(accessibility().makeObserver(1, [](const ElementRef&, const char*, void*) {}));
}

}  // namespace
}  // namespace orvo::testing
