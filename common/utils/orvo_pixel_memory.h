// Memory for pixels: frames, pictures and what is given to hosts come from one pool.
#ifndef ORVO_PIXEL_MEMORY_H
#define ORVO_PIXEL_MEMORY_H

#include <cstddef>

namespace ORVO::BASE {

// Frames and pictures of the same sizes are made again and again. Fresh memory for them costs a page fault every 4096
// bytes, more than scaling into it does, so what comes back is kept for the next ones. The two blocks that came back
// last stay as they are, for a capture that goes back and forth between two; the pages of older blocks are the
// system's to take, and those beyond a limit are given back at once. All functions may be called from any thread.

// Rows that are longer than their pixels; both 0 for rows without a gap.
struct PaddedRows {
    size_t bytesPerRow = 0;
    size_t pixelBytes = 0;  // of a row
    bool operator==(const PaddedRows&) const = default;
};

// Memory as new[] gives it, of at least the size; null when there is none. Its bytes are whatever was there, except
// that the gaps of padded rows are zero: whoever has the memory leaves them so.
unsigned char* takePixelMemory(size_t size, const PaddedRows& rows = {}) noexcept;
// In place of delete[]; null is fine. The arguments are those of takePixelMemory().
void givePixelMemory(unsigned char* memory, size_t size, const PaddedRows& rows = {}) noexcept;
// Gives back to the system what is kept. Result: how many bytes that were.
size_t freeKeptPixelMemory() noexcept;

}  // namespace ORVO::BASE

#endif
