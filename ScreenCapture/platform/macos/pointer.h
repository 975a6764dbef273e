// Whether the system hands out the picture of the mouse cursor: where it has once, and not only while it shows none.
#pragma once

namespace orvo::platform::macos {

// Any thread.
bool hasCursorPicture();

}  // namespace orvo::platform::macos
