// What becomes of the log in a forked child.
#pragma once

namespace ORVO::ScreenCapture {

// From now on lines are echoed only: the child has no log thread, and the locks on the way to it may be held for ever.
void leave_log();

}  // namespace ORVO::ScreenCapture
