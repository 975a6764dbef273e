/*
 * Small utilities of the base runtime: clocks, sleeping, random numbers, numbers from text and back.
 *
 * Threads: every function may be called from any thread. This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_UTIL_H
#define ORVO_UTIL_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/time.h>

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the milliseconds since system start, from a monotonic clock. Both functions are equal. */
ORVO_API uint64_t orvo_gettickcount(void);
ORVO_API uint64_t orvo_gettickcount64(void);

/* Sleeps at least `milliseconds`; a negative number returns at once. A signal that the thread handles ends the sleep
 * early. */
ORVO_API void orvo_msleep(int milliseconds);

/* The wall clock. Result: 0 and the time in `now`; 22 for a null pointer; else the system's errno. */
ORVO_API int orvo_gettimeofday(struct timeval* now);

/* The wall clock since 1970, in seconds, milliseconds and microseconds. Result: 0 when the clock cannot be read. */
ORVO_API uint64_t orvo_gettimeofday_second(void);
ORVO_API uint64_t orvo_gettimeofday_millisecond(void);
ORVO_API uint64_t orvo_gettimeofday_microsecond(void);

/* A pseudo-random number from 0 to 32767, for spreading and jitter, not for secrets. All threads share one sequence,
 * which begins at a time-dependent place. */
ORVO_API int orvo_rand(void);

/* Four successive orvo_rand() values as four native 32-bit integers. Memory: a new block of 16 bytes that the caller
 * frees with free(); NULL without memory. */
ORVO_API void* orvo_rand16(void);

/* Whether the text is made of '0' to '9' only; true for an empty text, false for NULL. */
ORVO_API bool orvo_isalldigit(const char* text);

/* The decimal digits of `value`. Result: false when an out pointer is null or there is no memory, else true with the
 * terminated digits in `*text` and their count in `*length`. Memory: a block of 21 bytes that the caller frees
 * with free(). */
ORVO_API bool orvo_uint642str(uint64_t value, char** text, unsigned int* length);

/* Number parsers. The text is: blanks (spaces only), a sign ('+' or '-' for the signed forms, '+' for the unsigned
 * ones), then decimal digits, or 0x or 0X and hexadecimal digits, then blanks. No digit at all reads 0.
 * Result: 1 and the number in `*out`. 0 for NULL or an empty text (with 0 in `*out`), for a number that does not fit
 * and for any other character; `*out` then holds what had been gathered. A magnitude must fit before its sign is
 * applied: the smallest negative number is refused. */
ORVO_API int orvo_str2int(const char* text, int32_t* out);
ORVO_API int orvo_str2uint32(const char* text, uint32_t* out);
ORVO_API int orvo_str2int64(const char* text, int64_t* out);
ORVO_API int orvo_str2uint64(const char* text, uint64_t* out);

#ifdef __cplusplus
}
#endif

#endif
