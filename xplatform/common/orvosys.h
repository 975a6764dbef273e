// What the files of the base runtime ask of the system; one source file a system answers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::sys {

// The path of the running executable, terminated. False when it is unknown or does not fit.
bool executable_path(char* path, std::size_t size);

// Size of the file system that holds the path and what of it the caller may still use, in bytes. False with errno.
bool file_system_totals(const char* path, uint64_t* total, uint64_t* available);

}  // namespace orvo::sys
