// Loading shared libraries by their short names.
#pragma once

#include "kolib/export.h"

// Appends the library family's release suffix "17" to the name in `name`, which must have
// room for two more bytes.
KO_API void bosdllname(char* name);
// Loads a shared library: trailing blanks go, "17" is appended when `addSuffix` is non-zero,
// ".so" when the name contains ".so" nowhere. The file is looked up as given, then in "KO",
// "KOLIB", "LD_LIBRARY_PATH", "LD_RUN_PATH" and "/usr/local/lib", each directory followed by
// its parent. Returns the dlopen (RTLD_NOW) handle; null when it is not found (nothing is
// reported) or does not load (error 1523 with the path and the loader's text). Unload and
// symbol look-up are the platform's dlclose and dlsym.
KO_API void* bosLoadLibrary(const char* name, unsigned char addSuffix);
