// The user's signals to the process: end, pause.
#pragma once

#include <functional>

namespace orvocap {

void listenForStop();
bool stopRequested();

// SIGUSR1, which pauses a recording and lets it go on: whether the number of those that have come is odd.
void listenForPause();
bool isPauseToggled();

// Waits, unless the user wishes to end. onSecond: called at once and then after each second, with the seconds left.
void waitBefore(double seconds, const std::function<void(int left)>& onSecond);

}  // namespace orvocap
