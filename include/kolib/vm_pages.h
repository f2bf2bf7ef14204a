// The page cache: one per task (process), of 8,192-byte pages of ordinary data files, keyed by
// (file handle, page number). Reads go through it; writes go straight to the file and refresh
// any cached copy, so the cache never holds unsaved data and eviction never writes. A file
// must be dropped from the cache (bvmFlush or bvmFileClose) before its handle is closed or
// reused. Functions return 0 for success and 1 for failure with the reason on the calling
// thread's error list. A null cache handle reads and writes straight through to the file.
#pragma once

#include <cstdint>
#include "kolib/export.h"

class KoCriticalSection;

enum VmHintType { VM_READ_SEQUENTIAL = 0, VM_READ_RANDOM = 1 };

enum {
    VM_PAGE_SIZE = 8192,
    VM_PAGE_SHIFT = 13,
    VM_POOL_SIZE = 65536, // one pool holds 8 pages
    VM_PAGES_PER_POOL = 8,
    VM_HASH_SIZE = 97,
    VM_NONE = 0xFFFF,      // ends a hash chain or the free list
    VM_PAGE_LIMIT = 65536, // pages from here on bypass the cache
    VM_MAX_POOLS = 8191    // the most pools whose entries 16-bit numbers can address
};

// One cache entry (one page).
struct vm_map {
    int fd;         // file of the page; 0 while the entry is free
    uint16_t blk;   // page number in that file (file offset >> 13)
    uint16_t flags; // 0 once loaded; not otherwise used
    uint16_t last;  // valid bytes in the page: what the load read, raised by writes
    uint16_t age;   // the cache clock at the entry's last use
    uint16_t next;  // next entry in the same hash chain or in the free list
};

// The cache. Entry i's page lives in pool i >> 3 at byte (i & 7) * 8,192.
struct KO_API vm_info {
    uint16_t age; // the cache clock: one tick per page access
    KoCriticalSection* Lock;
    uint16_t initCount;   // bvmInit calls not yet matched by bvmTerm
    uint16_t max_entries; // 8 * the pool count
    uint16_t act_entries; // entries made so far, in steps of 8
    uint16_t free;        // head of the free list
    vm_map* entries;      // max_entries entries
    uint16_t hash[VM_HASH_SIZE];
    unsigned char* blks[1]; // one per pool (the structure is allocated for all of them)

    void enterLock();
    void leaveLock();
};

// The task's cache, made on the first call (with `pools` pools of 8 pages, allocated as they
// are needed; more than VM_MAX_POOLS are taken as VM_MAX_POOLS) and shared by later calls,
// which ignore their argument. Null when memory is short; nothing is then left allocated.
KO_API void* bvmInit(uint16_t pools);
// Releases one bvmInit; the last frees the cache and clears the task's slot.
KO_API void bvmTerm(void* cache);
// Reads `length` bytes at `offset` into `buffer`; *count is the number read, short only at
// the end of the file (which is a success). Pages from VM_PAGE_LIMIT on are read straight
// from the file. VM_READ_RANDOM reads never evict a page from a full cache: they read the
// file directly instead. The range must lie within 0 to 2^31 bytes.
KO_API unsigned bvmFileRead(void* cache, int fd, int32_t offset, void* buffer, uint32_t length,
                            uint32_t* count, VmHintType hint);
// Writes `length` bytes at `offset` to the file and copies them into any cached page they
// touch (uncached pages are not loaded). The file is written one page piece at a time; when
// a piece fails, the pieces before it are written and cached, the rest are untouched.
KO_API unsigned bvmFileWrite(void* cache, int fd, int32_t offset, const void* data,
                             uint32_t length);
// Drops every cached page of the file.
KO_API unsigned bvmFlush(void* cache, int fd);
// bvmFlush, then bosFileClose. A handle of 0 returns 0 at once.
KO_API unsigned bvmFileClose(void* cache, int fd);
