// Option values that are several numbers in one word, such as 640x480.
#pragma once

#include <array>
#include <charconv>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace orvocap {

// Reads exactly N numbers with that character between them. Result: false when the text is anything else.
template <size_t N>
bool readNumbers(const std::string& text, char separator, std::array<int, N>& numbers) {
    const char* from = text.data();
    const char* const end = from + text.size();
    for (size_t i = 0; i < N; ++i) {
        if (i > 0 && (from == end || *from++ != separator)) return false;
        const auto [next, error] = std::from_chars(from, end, numbers[i]);
        if (error != std::errc()) return false;
        from = next;
    }
    return from == end;
}

// An area in points. Throws a CLI::ValidationError that names the option unless it is L,T,W,H with a real size.
struct Area {
    int left = 0, top = 0, width = 0, height = 0;

    static Area read(const std::string& option, const std::string& text);
    [[nodiscard]] bool isEmpty() const { return width == 0; }
};

// Adds --seconds. seconds: keeps its value unless the option is given; then it is above 0 and finite.
void addSeconds(CLI::App& command, double& seconds, const std::string& text);

}  // namespace orvocap
