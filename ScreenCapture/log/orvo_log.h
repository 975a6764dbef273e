// The library's own log files: three text files in a folder, written in turn, each up to a size, lightly scrambled.
//
// init_log() puts a hook into the log core: from then on every line of channel 1 and of the base library is echoed to
// standard output and written to the files. All file work, and all state of the files, is on the log thread, the task
// given to run_log_on(); jobs run there in the order in which they were posted. No failure is reported to a caller: a
// file that cannot be opened is replaced by the first one, and when that fails too, file logging pauses until the next
// init_log(). The files are for one process: two that write to the same ones delete each other's lines.
//
// Threads: every function may be called from any thread. Memory: texts are copied.
#ifndef ORVO_LOG_H
#define ORVO_LOG_H

#include "ScreenCapture/log/sym_encrypt.h"
#include "common/utils/orvo_queue_runner.h"
#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvotask.h"

namespace ORVO::ScreenCapture {

// Sets the runner and the task of all file jobs. The caller owns both and keeps them until it has set two null
// pointers. Jobs posted without them are dropped. On return no other thread uses the former two any more.
ORVO_API void run_log_on(BASE::COrvoQueueRunner* runner, CORVOTaskBase* task);

// Begins logging to files: `path0` is continued, then come `path1` and `path2`. A path that is null or longer than 511
// bytes is refused with a line, and nothing is changed. The next file is begun with the line that would bring a file's
// count above `maxSize` bytes; a new file's header and that line are not counted, so a file may be longer by them. The
// files are opened by the log thread; lines that are logged before it runs wait, the latest megabyte of them. Called
// again, it sets other paths and sizes, and closes the open file unless it is `path0`.
// When the process exits, flush_log() is called. In a forked child lines are echoed only.
ORVO_API void init_log(const char* path0, const char* path1, const char* path2, unsigned long long maxSize);

// Sets the level up to which lines are echoed and written (0 to 4, initially 4). At 4 every line is flushed, otherwise
// the 1st, 5th, 9th, ...
ORVO_API void set_log_level(int level);

// Waits until the lines so far are in the files, at most 200 ms; not at all while the log thread does not run, nor on
// it.
void flush_log();

// Closes the file; lines are echoed only, until the next init_log() or remove_log_after_upload().
ORVO_API void close_log();

// Deletes the three files, once the host has uploaded them, and begins with the first one again.
ORVO_API void remove_log_after_upload();

// Prints a line with the local time and "[orvo]" to standard output, past all levels and files; at most 10,239 bytes.
ORVO_API void verbose_output(const char* format, ...);

// The hook that init_log() puts into the log core; see syslog_text_hook. A null text is nothing.
ORVO_API void orvo_log_hook(int level, const char* module, int line, const char* text, int prefixLength);

}  // namespace ORVO::ScreenCapture

#endif
