// The container instance that the library exports.
#include "xplatform/common/orvostl.h"

template class orvostl::map<int, unsigned int>;
