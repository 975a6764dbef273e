// Areas and times on the command line.
#include "option_numbers.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace orvocap {

Area Area::read(const std::string& option, const std::string& text) {
    std::array<int, 4> numbers{};
    if (!readNumbers(text, ',', numbers)) throw CLI::ValidationError(option, "needs four numbers L,T,W,H");
    const Area area{numbers[0], numbers[1], numbers[2], numbers[3]};
    if (area.left < 0 || area.top < 0) throw CLI::ValidationError(option, "left and top cannot be below 0");
    if (area.width < 1 || area.height < 1) throw CLI::ValidationError(option, "width and height must be above 0");
    return area;
}

void addSeconds(CLI::App& command, double& seconds, const std::string& text) {
    command
        .add_option_function<double>(
            "--seconds",
            [&seconds](const double& value) {
                if (!std::isfinite(value) || value <= 0)
                    throw CLI::ValidationError("--seconds", "needs a number above 0");
                seconds = value;
            },
            text)
        ->type_name("S");
}

}  // namespace orvocap
