// A logged line is fields in brackets, then the message: [time][number][level][thread][source]: message.
#include "log_json.h"

#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>
#include <vector>

#include "standard_output.h"

namespace orvocap {

namespace {

constexpr size_t fewestFields = 5;  // a line may tell a second time behind the first

// Takes the fields from the front of the line.
std::vector<std::string> takeFields(std::string_view& line) {
    std::vector<std::string> fields;
    for (size_t end; !line.empty() && line[0] == '[' && (end = line.find(']')) != std::string_view::npos;) {
        fields.emplace_back(line.substr(1, end - 1));
        line.remove_prefix(end + 1);
    }
    return fields;
}

std::string lineJson(const std::string& line) {
    std::string_view rest = line;
    const auto fields = takeFields(rest);
    if (fields.size() < fewestFields || rest.substr(0, 2) != ": ") return jsonLine({{"text", line}});
    const size_t last = fields.size() - 1;
    std::string level = fields[last - 2];
    level.erase(level.find_last_not_of(' ') + 1);
    return jsonLine({{"time", fields[0]},
                     {"level", level},
                     {"thread", fields[last - 1]},
                     {"source", fields[last]},
                     {"text", rest.substr(2)}});
}

}  // namespace

std::string logJson(const std::string& plain) {
    std::istringstream lines(plain);
    std::string json;
    for (std::string line; std::getline(lines, line);) json += lineJson(line);
    return json;
}

}  // namespace orvocap
