// Windows on the command line: checked against what is there, handed to the library.
#include "window_targets.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "failure.h"
#include "window_list.h"

namespace orvocap {

CLI::Option* WindowTargets::addTo(CLI::App& command) {
    auto* window = command.add_option("--window", window_, "window number as `orvocap windows` prints it")
                       ->expected(1)
                       ->type_name("N");
    command.add_option("--extra", extra_, "more windows, each as a target of its own")
        ->delimiter(',')
        ->type_name("N")
        ->needs(window);
    return window;
}

std::vector<unsigned int> WindowTargets::numbers() const {
    std::vector<unsigned int> all;
    for (const auto* list : {&window_, &extra_}) {
        for (const unsigned int number : *list) {
            if (std::find(all.begin(), all.end(), number) == all.end()) all.push_back(number);
        }
    }
    return all;
}

void WindowTargets::resolve() const {
    const auto items = listItems(false);
    for (const unsigned int number : numbers()) {
        const bool listed = std::any_of(items.begin(), items.end(), [=](const ListedItem& item) {
            return item.number == number && !item.isScreen;
        });
        if (!listed) throw Failure(exitNoTarget, noWindowText(number));
    }
}

void WindowTargets::choose(OrvoScreenCaptureWindowMode mode) const {
    // The mode chooses the window path, and all windows are added at once: orvo_screencapture_set_target_window waits
    // its turn on a queue and would then drop windows that were added meanwhile.
    orvo_screencapture_set_target_window_mode(mode);
    auto windows = numbers();
    orvo_screencapture_set_extra_target_windows(windows.data(), static_cast<int>(windows.size()), true);
}

}  // namespace orvocap
