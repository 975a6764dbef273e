// The version that orvocap prints; the only file that is compiled again for another commit.
#include <orvocap_build.h>

#include "application.h"

namespace orvocap {

const char* version() {
    return ORVOCAP_BUILD;
}

}  // namespace orvocap
