// What --help prints.
#pragma once

#include <string>

#include "option_table.h"

namespace orvocap {

// table: as optionTable makes it. Result: the help of orvocap itself.
std::string generalHelp(const std::vector<CommandEntry>& table);

std::string commandHelp(const CommandEntry& command);

}  // namespace orvocap
