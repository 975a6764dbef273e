/*
 * The log core: one line per call, built on the caller's thread and handed to the hook that the host installed.
 *
 * A line reads, byte for byte,
 *
 *   [2021-03-04 05:06:07][9480213][notice][unnamed thread:4711][SC:12]: orvo_screencapture_init
 *
 * local time, the low 32 bits of orvo_gettickcount(), the level's tag, the thread's name with its id, the module with
 * its line, the message. A second time follows the first when sysregulartime_hook() installed a time source. A line is
 * at most 10,239 bytes long; a longer message is cut there, without a visible mark.
 *
 * Channels: 0 and 1 are the host's and the capture code's, 2 takes binary records, 3 is a second text channel that is
 * gated by the level of channel 1. The base library itself logs beside the channels, through orvo_syslog().
 *
 * Threads: every function may be called from any thread at any time, also from inside a hook. Hooks run on the thread
 * that logs, several at once when several threads log, and must not keep the text: it lives until the hook returns.
 * Errors: a hook slot is set once; a second installation sets errno to 17 (EEXIST), returns 17 and changes nothing.
 * This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_SYSLOG_H
#define ORVO_SYSLOG_H

#include <stdarg.h>
#include <stdint.h>

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvoutil.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The level of a line. A line passes when the level set for its channel is greater than or equal to its own. A value
 * outside 0 to 4 is compared like any other and gets an empty tag. */
typedef int esyslog_type;
enum {
    ESYSLOG_IMPORT = 0, /* "[import]" */
    ESYSLOG_ERROR = 1,  /* "[error ]" */
    ESYSLOG_WARN = 2,   /* "[warn  ]" */
    ESYSLOG_NOTICE = 3, /* "[notice]" */
    ESYSLOG_DEBUG = 4,  /* "[debug ]", the initial level everywhere */
};

/* Receives a text line. `text` is the whole line, terminated, without a line end of the core's own; `prefixLength` is
 * the offset in bytes of the caller's message in it. The core owns the text; it is valid until the hook returns. */
typedef void (*syslog_text_hook)(int level, const char* module, int line, const char* text, int prefixLength);

/* Receives a binary record of `length` bytes. The core owns the record; it is valid until the hook returns. */
typedef void (*syslog_binary_hook)(int level, const unsigned char* record, int length);

/* Returns seconds since 1970, for example of a server's clock. Called for every line, on the thread that logs. */
typedef unsigned int (*syslog_time_source)(void);

/* Sets the level of orvo_syslog(). Result: always 0. */
ORVO_API int syslog_setlevel(int level);

/* Sets the level of a channel: 0 that of channel 0; 1 and 2 alike that of channels 1 and 3. Any other channel is
 * ignored. Result: always 0. */
ORVO_API int syslog_setlevel_ex(int channel, int level);

/* Installs the receiver of orvo_syslog(). Result: 0, or 17 when one is installed already. */
ORVO_API int syslog_hook(syslog_text_hook hook);

/* Installs the receiver of channel 0, 1 or 3. Result: 0, or 17 when one is installed already. Any other channel stores
 * nothing and gives 0. */
ORVO_API int syslog_hook_ex(int channel, syslog_text_hook hook);

/* Installs the receiver of binary records; `channel` must be 2. Result: 0, or 17 when one is installed already. Any
 * other channel stores nothing and gives 0. */
ORVO_API int syslog_hook_ex_s(int channel, syslog_binary_hook hook);

/* Installs the second receiver of binary records, for those of kind 2 only. Result: 0, or 17 when one is installed. */
ORVO_API int syslog_hook_ex_sa(syslog_binary_hook hook);

/* Installs the time source whose time follows the local time in each line. Result: 0, or 17 when one is installed. */
ORVO_API int sysregulartime_hook(syslog_time_source source);

/* Result: the hook of channel 1; NULL without one. */
ORVO_API syslog_text_hook get_syslog_hook_ex(void);

/* Result: the receiver of binary records; NULL without one. */
ORVO_API syslog_binary_hook get_syslog_hook_ex_s(void);

/* Result: the second receiver of binary records; NULL without one. */
ORVO_API syslog_binary_hook get_syslog_hook_ex_sa(void);

/* Logs a line of the base library. Without a hook, or above the level, it costs a comparison.
 *
 * The library exports this function under the name `syslog` as well. On macOS that is a plain symbol. On Linux it
 * carries a symbol version and hides behind the C library's function of that name, which stays what a host's own calls
 * reach; call orvo_syslog() there, or ask dlsym() on the library's handle for "syslog".
 *
 * Parameters: `module` names the caller (NULL reads "(null)"), `line` is its source line, `format` and what follows are
 * printf's. */
ORVO_API void orvo_syslog(int level, const char* module, int line, const char* format, ...);
ORVO_API void orvo_vsyslog(int level, const char* module, int line, const char* format, va_list arguments);

/* Logs a line on channel 0, 1 or 3; any other channel delivers nowhere. Parameters as of orvo_syslog(). */
ORVO_API void syslog_ex(int channel, int level, const char* module, int line, const char* format, ...);

/* Builds a line and hands it to `hook`, whatever the levels are; does nothing when `hook` is NULL. */
ORVO_API void syslogv(syslog_text_hook hook, int level, const char* module, int line, const char* format,
                      va_list arguments);

/* Logs a binary record. What follows `count` are `count` pairs of an int type code and a value:
 *
 *   1 int, its low byte            2, 3, 6 int, 4 bytes          4, 5 64-bit integer, 8 bytes
 *   7 double, as text of "%.2f"    8 C string with its 0 byte, or the byte 0xFF for NULL
 *   9 pointer, its low 32 bits     any other code has no value and writes nothing
 *
 * A record is: milliseconds since 1970, little-endian, without its two highest bytes when they are zero, the record
 * kind added to the last byte written; the module id in 2 bytes; the thread's name, or its id in 4 digits; 0x7F; the
 * values, little-endian; 0xFF 0xFE 0xFF. The kind of such a record is 1, whatever `kind` is: kind 2 only returns at
 * once while syslog_hook_ex_s() has installed nothing. */
ORVO_API void syslog_ex_s(int kind, int level, int moduleId, int count, ...);

/* Builds a binary record of the kind and delivers it: kind 2 to the second receiver, then any kind to the first. */
ORVO_API void syslogv_s(int kind, int level, uint16_t moduleId, int count, va_list arguments);

#ifdef __cplusplus
}
#endif

#endif
