// Long captures and fresh ones show the same on a real server, whatever is set and whatever happens.
#include "support/fresh_equality.h"

#include <unistd.h>

#include <fstream>
#include <optional>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "support/temporary_folder.h"
#include "support/x11/desktop_session.h"
#include "support/x11/repainter.h"

namespace orvo::testing {
namespace {

class RealScene final : public Scene {
  public:
    // manager: with its arguments; none: openbox.
    explicit RealScene(const std::vector<std::string>& arguments, const std::vector<std::string>& manager = {})
        : server_("320x240x24", arguments), windows_(server_) {
        // openbox's animations would go on after it has answered.
        std::ofstream(folder_.path() + "/rc.xml") << "<openbox_config xmlns=\"http://openbox.org/3.4/rc\"><theme>"
                                                     "<animateIconify>no</animateIconify></theme></openbox_config>";
        if (manager.empty())
            server_.start({"openbox", "--sm-disable", "--config-file", folder_.path() + "/rc.xml"});
        else
            session_.emplace(server_).start(manager);
        if (!windows_.awaitManager()) throw std::runtime_error("no window manager");
        repainter_ = std::make_unique<Repainter>(windows_);
        numbers_ = {
            repainter_->make({.area = {20, 30, 120, 90}, .title = "below", .background = 0x102030}),
            repainter_->make({.area = {60, 60, 100, 80}, .title = "no background", .background = 0x405060}, false),
            repainter_->make({.area = {110, 20, 90, 100}, .title = "shaped", .background = 0x708090}),
            repainter_->make(
                {.area = {90, 90, 60, 40}, .overrideRedirect = true, .background = 0x60203040, .hasAlpha = true})};
        windows_.setNumber(numbers_[1], "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, numbers_[0]);
        for (size_t i = 0; i < 3; i++)
            if (!windows_.awaitMapped(numbers_[i])) throw std::runtime_error("a window is not mapped");
        setMonitor(0, 0, 200);
        settle();
    }

    std::vector<uint32_t> windows() override { return numbers_; }
    std::vector<uint32_t> displays() override {
        std::vector<uint32_t> numbers;
        for (const auto& screen : platform::platform().displays().screens()) numbers.push_back(screen.number);
        return numbers;
    }
    bool shows(uint32_t target) override {
        std::vector<uint32_t> shown;
        platform::platform().windowServer().onScreenNumbers(shown);
        const auto all = displays();
        return std::count(shown.begin(), shown.end(), target) + std::count(all.begin(), all.end(), target) > 0;
    }
    void settle() override {
        repainter_->settle();
        // A compositing manager draws the screen when it likes.
        std::vector<uint8_t> before;
        for (int i = 0; session_ && i < 50; ++i) {
            const auto now = windows_.read({0, 0, 300, 200});  // as small as the screen becomes
            if (std::exchange(before, now) == now) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
        }
    }

    std::vector<Move> events() override {
        const auto on = [this](auto act) { return [this, act](Dice& dice) { act(dice.oneOf(numbers_), dice); }; };
        const auto part = [](Dice& dice) {
            return Area{dice.number(-10, 100), dice.number(-10, 80), dice.number(1, 80), dice.number(1, 80)};
        };
        return {
            {"paint", 5, on([=, this](auto window, Dice& dice) {
                 repainter_->paint(window, part(dice),
                                   dice.colour() | static_cast<uint32_t>(dice.number(0, 255)) << 24);
             })},
            {"opacity", 1, on([this](auto window, Dice& dice) {
                 windows_.setNumbers(window, "_NET_WM_WINDOW_OPACITY", {dice.coin() ? 0xFFFFFFFF : 0x60000000});
             })},
            {"opaque region", 1,
             [=, this](Dice& dice) {
                 const Area area = part(dice);
                 windows_.setNumbers(numbers_[3], "_NET_WM_OPAQUE_REGION",
                                     {static_cast<uint32_t>(area.x), static_cast<uint32_t>(area.y),
                                      static_cast<uint32_t>(area.width), static_cast<uint32_t>(area.height)});
             }},
            {"shadow", 1, on([this](auto window, Dice& dice) {
                 windows_.setNumbers(window, "_GTK_FRAME_EXTENTS", {3, static_cast<uint32_t>(dice.number(0, 9)), 1, 2});
             })},
            {"move", 2, on([this](auto window, Dice& dice) {
                 windows_.move(window, dice.number(-40, 280), dice.number(-40, 200));
             })},
            {"resize", 2, on([this](auto window, Dice& dice) {
                 windows_.resize(window, dice.number(20, 200), dice.number(20, 160));
             })},
            {"raise", 2, on([this](auto window, Dice&) { windows_.raise(window); })},
            {"lower", 1, on([this](auto window, Dice&) { windows_.lower(window); })},
            {"iconify", 1, on([this](auto window, Dice&) { windows_.iconify(window); })},
            // mutter lists a window that it hides a while later.
            {"hide or show", session_ ? 0 : 1,
             [](Dice& dice) {
                 const auto application = OrvoAppProxy::initWithPID(getpid());
                 dice.coin() ? application->hide() : application->show();
             }},
            {"map", 4, on([this](auto window, Dice&) { windows_.map(window); })},
            {"unmap", 1, [this](Dice&) { windows_.unmap(numbers_[3]); }},
            {"shape", 2, [=, this](Dice& dice) { windows_.shape(numbers_[2], part(dice)); }},
            {"pointer", 2, [this](Dice& dice) { windows_.warpPointer(dice.number(0, 319), dice.number(0, 239)); }},
            {"background", 2, [this](Dice& dice) { windows_.setBackground(dice.colour()); }},
            {"root", 1, [this](Dice& dice) { windows_.setRootBackground(dice.colour()); }},
            {"monitor", 2,
             [this](Dice& dice) { setMonitor(dice.number(0, 60), dice.number(0, 40), dice.number(100, 200)); }, true},
            {"screen", 1,
             [this](Dice& dice) {
                 server_.run({"xrandr", "--fb", dice.coin() ? "320x240" : "300x200"});
             },
             true},
        };
    }

  private:
    void setMonitor(int x, int y, int width) {
        const auto text = [](int number) { return std::to_string(number); };
        server_.run({"xrandr", "--setmonitor", "left",
                     text(width) + "/50x" + text(200) + "/50+" + text(x) + "+" + text(y), "screen"});
    }

    TemporaryFolder folder_;
    XServer server_;
    std::optional<DesktopSession> session_;
    Windows windows_;
    std::unique_ptr<Repainter> repainter_;
    std::vector<uint32_t> numbers_;
};

// A server with everything, one that shares no pixmaps, and servers that lack an extension. Without Damage nobody knows
// when a window has repainted.
TEST(FreshEquality, ALongCaptureShowsWhatAFreshOneShows) {
    const bool full = std::getenv("ORVO_TEST_FULL");
    expectFreshEquality([] { return std::make_unique<RealScene>(std::vector<std::string>{}); },
                        full ? seedsTo(40) : std::vector{26, 38, 40}, full ? 30 : 20);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"-extension", "MIT-SHM"}, {"-extension", "RENDER"}}) {
        SCOPED_TRACE(arguments.empty() ? "pixmaps" : arguments.back());
        if (arguments.empty()) setenv("ORVO_SHARED_PIXMAPS", "0", 1);
        expectFreshEquality([&] { return std::make_unique<RealScene>(arguments); },
                            full ? seedsTo(10) : std::vector{26}, full ? 30 : 20);
        unsetenv("ORVO_SHARED_PIXMAPS");
    }
}

TEST(FreshEquality, UnderCompositingManagersToo) {
    if (!std::getenv("ORVO_TEST_FULL")) GTEST_SKIP() << "takes a minute";
    for (const std::vector<std::string>& manager :
         {std::vector<std::string>{"xfwm4", "--compositor=on"}, {"mutter", "--x11"}, {"kwin_x11"}}) {
        SCOPED_TRACE(manager.front());
        XServer server;
        if (!areInstalled(server, manager.front())) {
            std::printf("%s is not installed\n", manager.front().c_str());
            continue;
        }
        expectFreshEquality([&] { return std::make_unique<RealScene>(std::vector<std::string>{}, manager); },
                            seedsTo(2), 15);
    }
}

}  // namespace
}  // namespace orvo::testing
