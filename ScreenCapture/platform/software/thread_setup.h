// What a new thread asks of the system; one source file a system answers.
#pragma once

namespace orvo::platform::software {

// Names the calling thread (at most 15 characters) and lets it meet its deadlines as closely as the system can.
void setUpThread(const char* name);

}  // namespace orvo::platform::software
