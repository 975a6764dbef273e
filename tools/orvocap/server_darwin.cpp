// What the doctor asks of the window server on macOS: nothing, the library needs no optional part of it.
#include "findings.h"

namespace orvocap {

void examineServer(Findings&) {}

}  // namespace orvocap
