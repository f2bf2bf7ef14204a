// Test hooks of the allocation layer. Not for production use: they let a test make the N-th
// library allocation fail and count the blocks the library holds. Only a library built for the
// tests or benchmarks exports them (CMake option KOLIB_TEST_HOOKS); this header is not
// installed.
#pragma once

#include "kolib/export.h"

#if defined(KOLIB_TEST_HOOKS)
#define KO_TEST_API KO_API
#else
#define KO_TEST_API
#endif

// The n-th library allocation from now fails (1 = the next one); 0 disarms the hook.
// Once the failing allocation has happened the hook disarms itself.
KO_TEST_API void ramFailAfter(long n);
// Like ramFailAfter, but every allocation from the n-th on fails until disarmed.
KO_TEST_API void ramFailFrom(long n);
// Number of library allocations made since the process started (successful or not).
KO_TEST_API long ramAllocationCount();
// Blocks allocated through the layer and not yet freed through it.
KO_TEST_API long ramLiveBlocks();

// Test hook of the temporary files: the next temporary file bosFileOpen makes is tried under
// this base name (in the usual directory) before any random one; null cancels. One shot.
KO_TEST_API void bosFixNextTempName(const char* name);

// Test hook of LIKE matching: strLike (counted form) by the general character-wise matcher
// alone, without the byte-wise shortcuts, so tests can compare the two.
KO_TEST_API int strLikeGeneral(const char* text, unsigned long textLength, const char* pattern,
                               unsigned long patternLength, unsigned char anyMany,
                               unsigned char anyOne, unsigned char escape, unsigned caseSensitive,
                               unsigned exactLength);
