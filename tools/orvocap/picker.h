// A page that shows what can be captured, as a host would let its user choose.
#pragma once

#include <string>
#include <vector>

#include "lists.h"

namespace orvocap {

// One HTML document with everything in it: styles, icons, pictures.
std::string pickerPage(const std::vector<ListedItem>& items);

}  // namespace orvocap
