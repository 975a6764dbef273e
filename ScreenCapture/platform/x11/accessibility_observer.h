// Watches the windows of one process.
#pragma once

#include "ScreenCapture/platform/accessibility.h"

namespace orvo::platform::x11 {

// On a connection of its own; null when there is no server. It delivers while the thread that called
// addToCurrentRunLoop() iterates its default main context, and reports each change once however often a window went
// back and forth in between. A notification of a window goes to who added that window or its application; those of new
// windows and of the focus go to everybody who added anything of the process.
std::unique_ptr<ElementObserver> makeElementObserver(int32_t pid, ElementObserverCallback callback);

}  // namespace orvo::platform::x11
