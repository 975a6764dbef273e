// The dynamic linker's questions, as far as the base runtime uses them.
#pragma once

#include <orvo_check.h>

CHECK_C int _NSGetExecutablePath(char* path, uint32_t* size);
