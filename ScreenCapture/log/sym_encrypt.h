// How the lines of the log files are scrambled, so that the files are not plain text. It is not encryption.
#ifndef ORVO_SYM_ENCRYPT_H
#define ORVO_SYM_ENCRYPT_H

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvostream.h"

namespace ORVO::ScreenCapture {

// The three lower-case letters that the bytes of a line are combined with, in turn.
ORVO_API extern const char* const kOrvoLogPass;

// Whether a byte takes part: every one but 0 and the line feed.
ORVO_API bool should_encrypt(char c);

// Scrambles a line, or makes a scrambled one plain: the same work undoes itself. The key begins with the text's first
// byte. No line feed comes or goes. The first form works in place, up to the terminator; null does nothing. The second
// one returns a copy, of all bytes.
ORVO_API void sym_encrypt(char* text);
ORVO_API orvo::strutf8 sym_encrypt(const orvo::strutf8& text);

}  // namespace ORVO::ScreenCapture

#endif
