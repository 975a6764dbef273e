// The pages that are made from orvocap's options: manual page and shell completions.
#pragma once

#include <string>

#include "tools/orvocap/options.h"

namespace orvocap {

std::string manPage(const std::vector<CommandEntry>& table);  // for man, in roff
std::string bashCompletion(const std::vector<CommandEntry>& table);
std::string zshCompletion(const std::vector<CommandEntry>& table);
std::string fishCompletion(const std::vector<CommandEntry>& table);

}  // namespace orvocap
