// Thread identity, yielding, and the one-bit atomic lock word used by spin locks.
#pragma once

#include <cstdint>
#include "kolib/export.h"

// The calling thread's identifier (pthread_self), pointer width.
KO_API unsigned long bosGetThreadID();
// Yields the processor; the argument is ignored.
KO_API void bosYieldThread(unsigned long time);
// Thread creation through the library is not supported on this platform: always returns 1.
KO_API unsigned bosCreateThread(void (*start)(void*), void* argument, unsigned long stackSize);
// Atomic test-and-set of bit 0 of *word: 1 when the bit was clear (the lock is now taken).
KO_API int bosMemLock(uint32_t* word);
// Atomic clear of bit 0 of *word.
KO_API void bosMemUnLock(uint32_t* word);
