// Byte-region locks on open files, between processes and between threads of one process.
#pragma once

#include "kolib/export.h"

// Write-locks (or, with `unlock` non-zero, unlocks) `len` bytes at `start` of the file open on
// `fd`; `len` 0 runs to the end of the file and beyond. The lock is a POSIX record lock, which
// belongs to the process, so the library also keeps a process-wide list of the regions its
// threads hold: a region that overlaps one held by another thread of this process, or one
// held by another process, fails with error 1512. The same thread locking the same region
// again succeeds and counts; the record goes away with the last matching unlock (the POSIX
// lock itself goes with the first). Descriptor 0 does nothing and succeeds. Out of memory for
// the record: error 1503.
KO_API unsigned bosRegionLock(int fd, unsigned short unlock, unsigned long start,
                              unsigned long len);
// The number of regions in the process-wide list (for diagnostics and tests).
KO_API unsigned long bosRegionLockCount();
