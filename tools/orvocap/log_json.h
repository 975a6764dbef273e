// Lines of the log as JSON.
#pragma once

#include <string>

namespace orvocap {

// plain: text of the log, one line or several. Result: a JSON object for each, with time, level, thread, source and
// text; with the text alone for what does not begin as logged lines do, such as the further lines of one message.
std::string logJson(const std::string& plain);

}  // namespace orvocap
