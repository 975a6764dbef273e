// The property behind everything that a capture keeps from tick to tick: after any sequence of settings and events, the
// next frame of a capture that has gone on for long equals that of a capture made now with the same settings.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"
#include "support/changes.h"

// Runs single ticks of a session whose timer does not run.
struct CaptureSessionPeer {
    static void tick(OrvoWindowCaptureSession& session) { session.tick(); }
    static orvo::platform::SerialQueue& queue(OrvoWindowCaptureSession& session) { return *session.captureQueue; }
};

namespace orvo::testing {

// Draws the numbers of one step.
class Dice {
  public:
    explicit Dice(uint32_t seed) : random_(seed) {}
    int number(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }
    bool coin() { return number(0, 1) == 1; }
    uint32_t colour() { return random_() & 0xFFFFFF; }
    template <typename List>
    auto& oneOf(List& list) {
        return list[static_cast<size_t>(number(0, static_cast<int>(std::size(list)) - 1))];
    }

  private:
    std::mt19937 random_;
};

// What the host has set, apart from the capture that it was set on.
struct Wishes {
    std::vector<uint32_t> targets;
    std::vector<uint32_t> excluded;
    uint32_t mode = 1, fit = 0;
    int width = 0, height = 0;
    platform::PixelRect crop;
    bool cursor = false;
};

// One session, and what the last tick gave for each target.
class Capture final : public OrvoWindowCaptureSessionDelegate {
  public:
    struct Frame {
        uint32_t target = 0;
        int width = 0, height = 0;
        std::vector<uint8_t> pixels;  // rows packed
        bool operator==(const Frame&) const = default;
    };
    struct Result {
        std::vector<Frame> frames;
        std::string reason;  // of the last target that had none
    };
    // pump: runs the session's queue, where queues do not run by themselves.
    static std::shared_ptr<Capture> make(std::function<void()> pump) {
        auto capture = std::make_shared<Capture>();
        capture->pump_ = std::move(pump);
        capture->session->setDelegate(capture);
        return capture;
    }

    void configure(const Wishes& wishes) {
        session->setTargetWindowMode(wishes.mode);
        session->setTargetWindowResolutionMode(wishes.fit);
        session->setResolutionWidth(wishes.width, wishes.height);
        session->setTargetWindowRectLeft(wishes.crop.x, wishes.crop.y, wishes.crop.width, wishes.crop.height);
        session->setBVisible(wishes.cursor);
    }
    void apply(const Wishes& wishes) {
        configure(wishes);
        exclude(wishes.excluded, true);
        aim(wishes.targets);
    }
    void aim(const std::vector<uint32_t>& targets) {
        session->setTargetWindow(targets.front());
        session->setExtraWindows(targets.data() + 1, static_cast<int>(targets.size()) - 1, true);
    }
    void exclude(const std::vector<uint32_t>& windows, bool add) {
        session->setExcludeWindows(windows.data(), static_cast<int>(windows.size()), add);
    }
    Result tick() {
        result_ = {};
        const uint64_t drops = settings->statistics().figures().framesDropped;
        std::promise<void> done;
        CaptureSessionPeer::queue(*session).async([&] {
            CaptureSessionPeer::tick(*session);
            done.set_value();
        });
        if (pump_) pump_();
        done.get_future().wait();
        const auto figures = settings->statistics().figures();
        if (figures.framesDropped != drops) result_.reason = figures.lastErrorReason;
        return std::move(result_);
    }

    bool onCapturedWindowImage(platform::PixelBuffer& buffer, uint32_t target, uint64_t,
                               const platform::Changes& changes) override {
        result_.frames.push_back({target, buffer.width(), buffer.height(), pixelsOf(buffer)});
        Frame& before = last_[target];
        const Frame& now = result_.frames.back();
        const bool isSameSize = before.width == now.width && before.height == now.height;
        if (changes.isKnown() && !(isSameSize && isReported(changes, before.pixels, now.pixels, now.width)))
            result_.reason = "an unreported change";
        before = now;
        if (holds > 0) held.emplace_back(platform::Ref<platform::PixelBuffer>::retain(&buffer), pixelsOf(buffer));
        if (holds > 0) --holds;
        return true;
    }
    void captureSessionRuntimeErrorOccur() override {}

    static std::vector<uint8_t> pixelsOf(platform::PixelBuffer& buffer) {
        std::vector<uint8_t> pixels;
        const size_t row = static_cast<size_t>(buffer.width()) * 4;
        buffer.lock();
        const auto* bytes = static_cast<const uint8_t*>(buffer.baseAddress());
        for (int y = 0; y < buffer.height(); y++, bytes += buffer.bytesPerRow())
            pixels.insert(pixels.end(), bytes, bytes + row);
        buffer.unlock();
        return pixels;
    }

    const std::shared_ptr<OrvoCaptureSettings> settings = std::make_shared<OrvoCaptureSettings>();
    const std::shared_ptr<OrvoWindowCaptureSession> session = OrvoWindowCaptureSession::initWithSettings(settings);
    int holds = 0;  // frames to come that the host keeps
    std::vector<std::pair<platform::Ref<platform::PixelBuffer>, std::vector<uint8_t>>> held;

  private:
    std::function<void()> pump_;
    Result result_;
    std::map<uint32_t, Frame> last_;
};

struct Move {
    const char* name;
    int weight;
    std::function<void(Dice&)> act;
    bool movesDisplays = false;
};

// A desktop on which the property is tried. It goes on for one sequence of steps.
class Scene {
  public:
    virtual ~Scene() = default;
    virtual std::vector<uint32_t> windows() = 0;   // that can be chosen, those that are off screen too
    virtual std::vector<uint32_t> displays() = 0;  // at least one
    virtual bool shows(uint32_t target) = 0;       // of a target that does not, the last known state may be used
    virtual std::vector<Move> events() = 0;
    virtual void settle() = 0;  // until nothing is drawn any more
    virtual std::function<void()> pump() { return nullptr; }
};

class FreshEquality {
  public:
    explicit FreshEquality(Scene& scene) : scene_(scene), capture_(Capture::make(scene.pump())) {
        wishes_.targets = {scene_.displays().front()};
        capture_->apply(wishes_);
        moves_ = settings();
        for (Move& event : scene_.events()) moves_.push_back(std::move(event));
    }
    // Takes steps, each kind as often as it weighs, for as long as the frames are equal after each. Answers nothing, or
    // the steps and what differs.
    std::string run(int steps, uint32_t seed) {
        std::mt19937 random(seed);
        std::vector<const Move*> bag;
        for (const Move& move : moves_) bag.insert(bag.end(), static_cast<size_t>(move.weight), &move);
        std::string story;
        while (steps-- > 0) {
            const Move& move = *bag[random() % bag.size()];
            const auto dice = static_cast<uint32_t>(random());
            story += std::string(" ") + move.name + "(" + std::to_string(dice) + ")";
            const std::string wrong = step(move, Dice(dice));
            if (!wrong.empty()) return story + ": " + wrong;
        }
        return "";
    }

  private:
    std::string step(const Move& move, Dice dice) {
        move.act(dice);
        // A target's record keeps its display's place until it is chosen again; only a bare display does without it.
        displaysMoved_ |= move.movesDisplays;
        if (displaysMoved_ && (!wishes_.excluded.empty() || wishes_.mode == 5 || wishes_.cursor)) {
            capture_->aim(wishes_.targets);
            displaysMoved_ = false;
        }
        scene_.settle();
        for (const auto& [buffer, pixels] : capture_->held)
            if (Capture::pixelsOf(*buffer) != pixels) return "a frame was written while it was held";
        const Capture::Result kept = capture_->tick();
        if (!std::all_of(wishes_.targets.begin(), wishes_.targets.end(), [&](auto each) { return scene_.shows(each); }))
            return "";
        const auto fresh = Capture::make(scene_.pump());
        fresh->apply(wishes_);
        return difference(kept, fresh->tick());
    }
    std::vector<Move> settings() {
        const auto set = [this](auto change) {
            return [this, change](Dice& dice) {
                change(dice);
                capture_->configure(wishes_);
            };
        };
        return {
            {"target", 3, [this](Dice& dice) { aim(dice.coin() ? scene_.displays() : scene_.windows(), dice); }},
            {"extra", 2, [this](Dice& dice) { extra(dice); }},
            {"exclude", 6, [this](Dice& dice) { exclude(dice); }},
            {"mode", 2, set([this](Dice& dice) { wishes_.mode = static_cast<uint32_t>(dice.number(0, 2) * 2 + 1); })},
            {"size", 4, set([this](Dice& dice) {
                 wishes_.width = dice.number(0, 2) == 0 ? 0 : dice.number(2, 60);
                 wishes_.height = dice.number(2, 60);
             })},
            {"fit", 1, set([this](Dice& dice) { wishes_.fit = static_cast<uint32_t>(dice.number(0, 2)); })},
            {"crop", 4, set([this](Dice& dice) {
                 wishes_.crop = {dice.number(0, 60), dice.number(0, 40), dice.number(2, 90), dice.number(2, 90)};
                 if (dice.number(0, 2) == 0) wishes_.crop = {};
             })},
            {"cursor", 1, set([this](Dice& dice) { wishes_.cursor = dice.coin(); })},
            {"hold", 1,
             [this](Dice& dice) {
                 for (int i = capture_->holds = dice.number(1, 9); i > 0; i--) capture_->tick();
             }},
            {"release", 2, [this](Dice&) { capture_->held.clear(); }},
        };
    }
    void aim(const std::vector<uint32_t>& numbers, Dice& dice) {
        wishes_.targets = {dice.oneOf(numbers)};
        capture_->aim(wishes_.targets);
    }
    void extra(Dice& dice) {
        const auto numbers = scene_.windows();
        const uint32_t window = dice.oneOf(numbers);
        if (wishes_.targets == std::vector{window}) return;
        const bool add = std::erase(wishes_.targets, window) == 0;
        if (add) wishes_.targets.push_back(window);
        capture_->session->setExtraWindows(&window, 1, add);
    }
    void exclude(Dice& dice) {
        const auto numbers = scene_.windows();
        const uint32_t window = dice.oneOf(numbers);
        const bool add = std::erase(wishes_.excluded, window) == 0;
        if (add) wishes_.excluded.push_back(window);
        capture_->exclude({window}, add);
    }

    static std::string difference(const Capture::Result& kept, const Capture::Result& fresh) {
        // A host that holds every buffer has no frame, and a drop with that reason, until it gives one back.
        if (kept.reason != fresh.reason && kept.reason == platform::describe(platform::NoImage::noBuffer)) return "";
        std::ostringstream text;
        if (kept.frames.size() != fresh.frames.size() || kept.reason != fresh.reason) {
            text << kept.frames.size() << " frames (" << kept.reason << ") instead of " << fresh.frames.size() << " ("
                 << fresh.reason << ")";
            return text.str();
        }
        for (size_t i = 0; i < kept.frames.size(); i++) {
            const auto& [target, width, height, pixels] = kept.frames[i];
            if (kept.frames[i] == fresh.frames[i]) continue;
            const auto& expected = fresh.frames[i].pixels;
            const auto [wrong, right] = std::mismatch(pixels.begin(), pixels.end(), expected.begin(), expected.end());
            const auto pixel = (wrong - pixels.begin()) / 4;
            text << "target " << target << ": " << width << "x" << height << " instead of " << fresh.frames[i].width
                 << "x" << fresh.frames[i].height << ", differs first at " << pixel % width << "," << pixel / width;
            return text.str();
        }
        return "";
    }

    Scene& scene_;
    Wishes wishes_;
    std::shared_ptr<Capture> capture_;
    std::vector<Move> moves_;
    bool displaysMoved_ = false;  // since the targets were chosen
};

// Tries sequences of steps on scenes made by makeScene(). ORVO_TEST_SEED chooses one seed instead of those given.
template <typename MakeScene>
void expectFreshEquality(MakeScene makeScene, std::vector<int> seeds, int steps) {
    if (const char* only = std::getenv("ORVO_TEST_SEED")) seeds = {std::atoi(only)};
    for (const int seed : seeds) {
        const auto once = [&] {
            const auto scene = makeScene();
            return FreshEquality(*scene).run(steps, static_cast<uint32_t>(seed));
        };
        // What a busy machine delays shows once, what is kept wrongly shows each time.
        std::string story = once();
        if (!story.empty()) story = once();
        EXPECT_EQ(story, "") << "seed " << seed;
    }
}

inline std::vector<int> seedsTo(int last) {
    std::vector<int> seeds(static_cast<size_t>(last));
    std::iota(seeds.begin(), seeds.end(), 1);
    return seeds;
}

}  // namespace orvo::testing
