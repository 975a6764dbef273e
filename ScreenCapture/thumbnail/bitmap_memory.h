// Memory for the pixels that a host is given.
#pragma once

#include <cstddef>

namespace orvo::thumbnail {

// A picker asks for its pictures again and again. Fresh memory for them costs a page fault every 4096 bytes, more than
// scaling into it does; so what comes back is kept for the next ones, up to a limit, and its pages are the system's to
// take meanwhile. The pages of the rest are given back at once. All may be called from any thread.

// What new[] gives; throws std::bad_alloc. Its bytes are whatever was there.
unsigned char* takeMemory(size_t size);
// In place of delete[]; null is fine. size: what was asked for.
void giveMemory(unsigned char* memory, size_t size);
// Deletes what is kept. Result: how many bytes that were.
size_t freeKeptMemory();

}  // namespace orvo::thumbnail
