// Assertions that hold in release builds too. Internal: not an installed header.
#ifndef ORVO_ASSERT_H
#define ORVO_ASSERT_H

// Reports function, file, line and text the way the system's own assertions do, then aborts the process.
[[noreturn]] void orvo_assert_failed(const char* function, const char* file, int line, const char* text);

// The text is given apart from the condition, and the line where it is fixed, so that reports stay stable.
#define ORVO_ASSERT_AT(condition, text, line) \
    ((condition) ? static_cast<void>(0) : orvo_assert_failed(__func__, __FILE__, line, text))
#define ORVO_ASSERT(condition, text) ORVO_ASSERT_AT(condition, text, __LINE__)

#endif
