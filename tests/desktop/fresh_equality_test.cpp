// Long captures and fresh ones show the same on the scripted desktop: the half of the property that is the logic's.
#include "support/fresh_equality.h"

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

using testing::Dice;

class ScriptedScene final : public testing::Scene {
  public:
    ScriptedScene() {
        desk.reset();
        desk.addDisplay({.number = 1, .bounds = {0, 0, 96, 72}});
        desk.addDisplay({.number = 2, .bounds = {96, 8, 64, 48}, .scale = 2});
        for (const uint32_t number : windows())
            desk.addWindow({.number = number,
                            .pid = number < 8 ? 100 : 200,
                            .title = "Window",
                            .bounds = {number * 5.0, number * 3.0, 40, 30}});
        desk.cursor = platform::Cursor{pictureOf(filled(4, 4, {1, 2, 3, 255})), {1, 1}};
        desk.pointer = {50, 40};
    }
    ~ScriptedScene() override { desk.reset(); }

    std::vector<uint32_t> windows() override { return {6, 7, 8, 9}; }
    std::vector<uint32_t> displays() override { return {1, 2}; }
    bool shows(uint32_t target) override {
        const auto* window = desk.window(target);
        return window ? desk.isOnScreen(*window) : desk.display(target) != nullptr;
    }
    void settle() override { desk.stepper.settle(); }
    std::function<void()> pump() override {
        return [this] { desk.stepper.settle(); };
    }
    std::vector<testing::Move> events() override {
        const auto onWindow = [this](auto act) {
            return [this, act](Dice& dice) { act(*desk.window(dice.oneOf(numbers_)), dice); };
        };
        return {
            {"move", 2, onWindow([](ScriptedWindow& window, Dice& dice) {
                 window.bounds.x = dice.number(-10, 90), window.bounds.y = dice.number(-10, 60);
             })},
            {"resize", 2, onWindow([](ScriptedWindow& window, Dice& dice) {
                 window.bounds.width = dice.number(1, 60), window.bounds.height = dice.number(1, 60);
                 window.picture = nullptr;
             })},
            {"repaint", 3, onWindow([](ScriptedWindow& window, Dice& dice) {
                 const uint32_t c = dice.colour();
                 window.picture = filled(40, 30, {uint8_t(c), uint8_t(c >> 8), uint8_t(c >> 16), 255});
             })},
            {"minimize", 2,
             onWindow([](ScriptedWindow& window, Dice& dice) { window.minimized = dice.number(0, 2) == 0; })},
            {"raise", 2, [this](Dice& dice) { desk.raiseWindow(dice.oneOf(numbers_)); }},
            {"hide", 1,
             [this](Dice& dice) { desk.application(dice.coin() ? 100 : 200)->hidden = dice.number(0, 2) == 0; }},
            {"display", 1, [this](Dice& dice) { desk.displays[1].bounds.width = dice.number(40, 80); }, true},
            {"pointer", 2,
             [this](Dice& dice) {
                 desk.pointer = {dice.number(0, 160) * 1.0, dice.number(0, 72) * 1.0};
             }},
            {"cursor picture", 1,
             [this](Dice& dice) {
                 desk.cursor->picture = pictureOf(filled(4, 4, {uint8_t(dice.number(0, 255)), 2, 3, 255}));
             }},
        };
    }

    Desktop& desk = desktop();

  private:
    const std::vector<uint32_t> numbers_{6, 7, 8, 9};
};

TEST(FreshEqualityOnScript, ALongCaptureShowsWhatAFreshOneShows) {
    const bool full = std::getenv("ORVO_TEST_FULL");
    testing::expectFreshEquality([] { return std::make_unique<ScriptedScene>(); }, testing::seedsTo(full ? 2000 : 60),
                                 40);
}

}  // namespace
}  // namespace orvo::test
