/*
 * Files and folders of the base runtime: the C functions orvoio_*, and orvo::io::CFile and orvo::io::CDirectory.
 *
 * Paths are UTF-8 text; the classes, and C++ overloads of the functions, take UTF-16 as well. A path that cannot be
 * converted is treated as NULL.
 * Errors: a function or method that fails returns false, 0 or NULL and logs a line with module "orvofile" where noted;
 * errno is then the system's.
 * Threads: the functions and static methods may be called from any thread; an object from one thread at a time.
 */
#ifndef ORVO_IO_H
#define ORVO_IO_H

#include <stdbool.h>
#include <stdint.h>

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the folder of the running executable, with "/" at its end. Empty if it cannot be found or is longer than 1023
 * bytes. Memory: lives as long as the process, as those of the next two. */
ORVO_API const char* orvoio_getinstalldir(void);
/* Returns the same. */
ORVO_API const char* orvoio_getappdir(void);
/* "Documents/" beside the install folder; empty when that one is. */
ORVO_API const char* orvoio_getdocdir(void);

/* Returns the size of a file in bytes; 0 if it cannot be opened for reading, or is a folder. */
ORVO_API uint64_t orvoio_fsize(const char* path);

/* Gets the size of the path's file system and the part of it that the caller may still use, in bytes.
 * Result: false if the system does not know, and for a null argument, with a log line. */
ORVO_API bool orvoio_fsinfo(const char* path, uint64_t* total, uint64_t* available);

/* Copies a file over another, which is created or emptied; not its attributes. Result: false when both are the same
 * file, when one of them cannot be opened or nothing can be read, which leaves the other as it is, and when reading or
 * writing fails later: then the copy is incomplete. */
ORVO_API bool orvoio_copyfile(const char* from, const char* to);

#ifdef __cplusplus
}

#include <cstddef>
#include <cstdio>

#include "xplatform/common/orvostream.h"

ORVO_API uint64_t orvoio_fsize(const char16_t* path);
ORVO_API bool orvoio_copyfile(const char16_t* from, const char16_t* to);

namespace orvo::io {

// Where a position counts from.
enum eSeekWhence { eSeekBegin = 0, eSeekCurrent = 1, eSeekEnd = 2 };

// A file over a stdio stream, which it closes at its end.
class ORVO_API CFile {
  public:
    CFile() = default;
    ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // Opens a file with a mode of fopen, such as "rb", "wb" or "ab+"; child processes do not inherit it. False, with a
    // line, when a file is open already, for a null argument, and when the system refuses.
    bool Open(const char* path, const char* mode);
    bool Open(const char16_t* path, const char* mode);
    bool IsOpened() const { return stream_ != nullptr; }
    // False when the last buffered bytes could not be written; the file is closed all the same. True when none is open.
    bool Close();

    // Takes ownership of an open stream, which has no name here. False when a file is open already, and for null.
    bool Attach(std::FILE* stream);
    // Releases the stream to the caller; null if none is open.
    [[nodiscard]] std::FILE* Detach();
    // Returns the path that was opened; empty if none is open.
    const strutf16& GetFileName() const { return name_; }

    // Each of these logs a line and fails when no file is open. Sizes and positions are in bytes.
    uint64_t GetSize();
    // The number of bytes that were read or written: fewer than n at the end of the file and on an error.
    std::size_t Read(void* buffer, std::size_t n);
    std::size_t Write(const void* buffer, std::size_t n);
    bool Seek(int64_t offset, eSeekWhence whence);
    uint64_t GetPos();
    // Truncates the file or extends it with zero bytes; the position is kept.
    bool SetSize(uint64_t n);
    // Writes buffered bytes to the system.
    bool Flush();

    // Whether something of that name exists, or may exist: only a clear "no such entry" and null give false.
    static bool IsExisted(const char* path);
    static bool IsExisted(const char16_t* path);
    // Renames a file within its file system, over an existing one. Removing fails for a folder that is not empty.
    static bool Move(const char* from, const char* to);
    static bool Move(const char16_t* from, const char16_t* to);
    static bool Remove(const char* path);
    static bool Remove(const char16_t* path);

  private:
    std::FILE* usable(int line) const;

    std::FILE* stream_ = nullptr;
    strutf16 name_;
};

// A folder that is open for listing.
class ORVO_API CDirectory {
  public:
    CDirectory() = default;
    ~CDirectory();
    CDirectory(const CDirectory&) = delete;
    CDirectory& operator=(const CDirectory&) = delete;

    // Whether the path is a folder.
    static bool IsExisted(const char* path);
    static bool IsExisted(const char16_t* path);
    // Creates a folder and any missing parents, with mode 0777 less the umask. True when the folder is there
    // afterwards: an existing one only gets a line. False, with a line, for null and when the system refuses.
    static bool Create(const char* path);
    static bool Create(const char16_t* path);

    // Opens a folder for Next. The pattern is the shell's ("*.txt"); null or empty lists everything. False, with a
    // line, when a folder is open already, for a null path, and when the system refuses.
    bool Open(const char* path, const char* pattern = nullptr);
    bool Open(const char16_t* path, const char16_t* pattern = nullptr);
    // The next entry's name without its folder, in the system's order, never "." or "..". False at the end.
    bool Next(strutf8& name);
    bool IsOpened() const { return folder_ != nullptr; }
    void Close();
    // Returns the path that was opened; empty if none is open.
    const strutf16& GetFolderName() const { return name_; }

  private:
    void* folder_ = nullptr;  // the system's directory stream
    strutf16 name_;
    strutf8 pattern_;
};

}  // namespace orvo::io

#endif /* __cplusplus */
#endif
