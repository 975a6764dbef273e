// The user's wish to end: Ctrl-C, a termination signal, or the terminal's end.
#pragma once

namespace orvocap {

void listenForStop();
bool stopRequested();

}  // namespace orvocap
