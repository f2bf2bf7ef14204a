// Byte copies and fills with a 32-bit count, and rounding up to a byte boundary.
#pragma once

#include "kolib/export.h"

// Copy / fill n bytes (n kept to 32 bits), one byte at a time from the first.
KO_API void memCopyHuge(void* to, const void* from, unsigned long n);
KO_API void memFillHuge(void* to, unsigned char value, unsigned long n);

// value = (value + boundary - 1) & ~boundary. Only the boundary's own bit is cleared: for
// boundary 4, 5 becomes 8 and 1 becomes 0.
KO_API void alignOnByteBoundary(unsigned long& value, unsigned short boundary);
KO_API void alignOnByteBoundary(unsigned short& value, unsigned short boundary);
KO_API void alignOnByteBoundary(void*& pointer, unsigned short boundary);
// Answers false for every boundary.
KO_API int verifyByteBoundary(unsigned short boundary);
