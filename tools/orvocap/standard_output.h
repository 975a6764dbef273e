// What commands print on standard output, as text and as JSON, and the care that it arrives.
#pragma once

#include <cstdio>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orvocap {

using Json = nlohmann::ordered_json;

// A text that a program has chosen, such as a window's title, for a terminal: without what would command it.
std::string printable(std::string text);

// One line of JSON. What is not UTF-8, such as a title that a program has set, is replaced.
std::string jsonLine(const Json& json);

// Prints JSON to be read by a program, and by a person.
void printJson(const Json& json, std::FILE* stream = stdout);

// Both throw a Failure when standard output cannot be written.
void print(const std::string& text);
void flushOutput();  // sends on what was printed, by whatever means

// Fills in for standard streams that were closed by the caller, whose numbers would go to the next files and
// connections. Writing to the stand-in of standard output fails.
void keepStandardStreams();

}  // namespace orvocap
