// Raw allocation of the library. All library memory comes from the C heap through these
// functions and the KoObject operators, so that a failing allocation yields null (never an
// exception) and tests can make any allocation fail.
#pragma once

#include <cstddef>
#include "kolib/export.h"

enum RamInitType {
    RAM_INIT_ZERO = 0, // memory is cleared
    RAM_INIT_NONE = 1  // memory is left as it comes
};

// Allocation with an explicit clearing choice; a size of 0 is taken as 1. Returns null on
// failure. Release with the ordinary delete (which gives the block back to the C heap).
KO_API void* operator new(std::size_t size, RamInitType init) noexcept;
KO_API void* operator new[](std::size_t size, RamInitType init) noexcept;

// Copies exactly `length` bytes of `text` (which need not be terminated within them) into a
// new block of length + 1 bytes and terminates it. Null on failure.
KO_API char* ramAllocStr(const char* text, unsigned long length);
// The same for a NUL-terminated text; a null text is taken as empty.
KO_API char* ramAllocStr(const char* text);

// Reallocates *block to newSize bytes. Returns 0 and stores the new address on success;
// returns 1 and leaves *block and its contents untouched on failure.
KO_API unsigned ramResize(void** block, unsigned long newSize);

// The allocation layer itself: malloc/calloc/realloc/free that the whole library uses.
// A size of 0 is taken as 1.
KO_API void* ramMalloc(unsigned long size);
KO_API void* ramCalloc(unsigned long size);
KO_API void* ramRealloc(void* block, unsigned long size);
KO_API void ramFree(void* block);
