// The page cache (bvm*). One vm_info per task, found through the per-task slot MDS_VM_PTR and
// made and released under VM_LOCK. Every other call holds the cache's own Lock throughout.
// Entries are numbered 0 .. act_entries - 1 and chained through `next`, either into one of the
// 97 hash chains (cached pages) or into the free list; VM_NONE ends a chain. Pools of eight
// pages are allocated one at a time as the cache fills and kept until the last bvmTerm.
#include "kolib/vm_pages.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include "core/lib_statics.h"
#include "kolib/critical_section.h"
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/memory.h"

namespace {

const int32_t HASH_PRIMES[16] = {13, 61, 29, 43, 17, 67, 31, 47, 19, 71, 37, 53, 23, 73, 41, 59};
const uint64_t RANGE_LIMIT = 0x80000000ull; // offsets are signed 32-bit
const uint16_t HALVE_WHILE_SCANNING = 40000;

uint16_t bvmhash(int fd, uint32_t page) {
    // Taken as a signed 32-bit value, as the bucket rule has it; kept in range for any handle.
    int32_t h = static_cast<int32_t>(static_cast<uint32_t>(fd) +
                                     (page + 1) * static_cast<uint32_t>(HASH_PRIMES[fd & 15]));
    int32_t bucket = h % VM_HASH_SIZE;
    return static_cast<uint16_t>(bucket < 0 ? bucket + VM_HASH_SIZE : bucket);
}

unsigned char* bvmpoolptr(vm_info* vm, uint16_t entry) {
    return vm->blks[entry >> 3] + (entry & 7) * VM_PAGE_SIZE;
}

// Unlinks entry i from its hash chain and pushes it on the free list. Pages are never dirty.
void bvmfreeb(vm_info* vm, uint16_t i) {
    vm_map& e = vm->entries[i];
    uint16_t* link = &vm->hash[bvmhash(e.fd, e.blk)];
    while (*link != VM_NONE && *link != i) link = &vm->entries[*link].next;
    if (*link == i) *link = e.next;
    e.fd = 0;
    e.blk = 0;
    e.next = vm->free;
    vm->free = i;
}

// The next pool: its eight entries go on the free list, lowest first in line.
unsigned addPool(vm_info* vm) {
    unsigned char* pool = static_cast<unsigned char*>(ramMalloc(VM_POOL_SIZE));
    if (!pool) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    vm->blks[vm->act_entries >> 3] = pool;
    for (int k = VM_PAGES_PER_POOL - 1; k >= 0; --k) {
        uint16_t i = static_cast<uint16_t>(vm->act_entries + k);
        vm->entries[i] = vm_map{0, 0, 0, 0, 0, vm->free};
        vm->free = i;
    }
    vm->act_entries = static_cast<uint16_t>(vm->act_entries + VM_PAGES_PER_POOL);
    return 0;
}

// The least recently used entry: the smallest age, the first such entry winning. While the
// clock is past 40,000 every age is halved on the way; the clock itself is halved only when
// it reaches 0xFFFF. Halving keeps the order of the ages, so the rule stays least-recent.
uint16_t bvmvictim(vm_info* vm) {
    bool halve = vm->age > HALVE_WHILE_SCANNING;
    uint16_t victim = 0;
    uint32_t smallest = 0x10000;
    for (uint16_t i = 0; i < vm->act_entries; ++i) {
        vm_map& e = vm->entries[i];
        if (halve) e.age = static_cast<uint16_t>(e.age >> 1);
        if (e.age < smallest) {
            smallest = e.age;
            victim = i;
        }
    }
    return victim;
}

// Finds the page, or with `load` reads it into a free entry. *data is null when the page is
// not cached (and not to be), which is not a failure. Runs under the cache's Lock.
unsigned bvmmap(vm_info* vm, int fd, uint16_t page, uint16_t* entry, unsigned char** data, int load,
                VmHintType hint) {
    *data = nullptr;
    uint16_t bucket = bvmhash(fd, page);
    uint16_t i = vm->hash[bucket];
    while (i != VM_NONE && (vm->entries[i].fd != fd || vm->entries[i].blk != page))
        i = vm->entries[i].next;
    if (i == VM_NONE) {
        if (!load || vm->max_entries == 0) return 0;
        if (vm->free == VM_NONE) {
            if (vm->act_entries < vm->max_entries) {
                if (addPool(vm)) return 1;
            } else if (hint == VM_READ_RANDOM) {
                return 0; // a random read never evicts from a full cache
            } else {
                bvmfreeb(vm, bvmvictim(vm));
            }
        }
        i = vm->free;
        long got = 0;
        bosFileRead(fd, static_cast<long>(page) << VM_PAGE_SHIFT, bvmpoolptr(vm, i), VM_PAGE_SIZE,
                    &got);
        if (got < 0) {
            // A page the handle may not read (access denied) is simply not cached; the read
            // of the piece itself then reports what is wrong.
            if (errno == EACCES) return 0;
            bosMapError(static_cast<unsigned short>(errno), nullptr);
            return 1;
        }
        vm_map& e = vm->entries[i];
        vm->free = e.next;
        e.fd = fd;
        e.blk = page;
        e.flags = 0;
        e.last = static_cast<uint16_t>(got);
        e.next = vm->hash[bucket];
        vm->hash[bucket] = i;
    }
    *entry = i;
    *data = bvmpoolptr(vm, i);
    vm->entries[i].age = vm->age++;
    if (vm->age == 0xFFFF) {
        for (uint16_t k = 0; k < vm->act_entries; ++k)
            vm->entries[k].age = static_cast<uint16_t>(vm->entries[k].age >> 1);
        vm->age = static_cast<uint16_t>(vm->age >> 1);
    }
    return 0;
}

unsigned outsideRange(int32_t offset, uint32_t length) {
    if (offset >= 0 && static_cast<uint64_t>(offset) + length <= RANGE_LIMIT) return 0;
    addError(2750) << static_cast<long>(offset) << static_cast<unsigned long>(length);
    return 1;
}

void freeCache(vm_info* vm) {
    for (uint16_t pool = 0; pool < vm->act_entries >> 3; ++pool) ramFree(vm->blks[pool]);
    ramFree(vm->entries);
    delete vm->Lock;
    if (mdsGetPerTaskData(MDS_VM_PTR) == vm) mdsSetPerTaskData(MDS_VM_PTR, nullptr);
    ramFree(vm);
}

} // namespace

void vm_info::enterLock() {
    Lock->enter();
}

void vm_info::leaveLock() {
    Lock->leave();
}

void* bvmInit(uint16_t pools) {
    VM_LOCK.enter();
    vm_info* vm = static_cast<vm_info*>(mdsGetPerTaskData(MDS_VM_PTR));
    if (vm) {
        ++vm->initCount;
        VM_LOCK.leave();
        return vm;
    }
    // Entry numbers are 16-bit and VM_NONE is not an entry: 8,191 pools are the most.
    if (pools > VM_MAX_POOLS) pools = VM_MAX_POOLS;
    vm = static_cast<vm_info*>(
        ramCalloc(offsetof(vm_info, blks) + sizeof(unsigned char*) * (pools ? pools : 1)));
    if (!vm) {
        KoErrorKeeper::addMemoryError();
        VM_LOCK.leave();
        return nullptr;
    }
    mdsSetPerTaskData(MDS_VM_PTR, vm);
    vm->free = VM_NONE;
    for (uint16_t& head : vm->hash) head = VM_NONE;
    vm->max_entries = static_cast<uint16_t>(pools * VM_PAGES_PER_POOL);
    vm->entries = static_cast<vm_map*>(ramCalloc(sizeof(vm_map) * vm->max_entries));
    if (vm->entries) vm->Lock = new KoCriticalSection(VM_LOCK.isDisabled());
    if (!vm->entries || !vm->Lock) {
        KoErrorKeeper::addMemoryError();
        freeCache(vm);
        VM_LOCK.leave();
        return nullptr;
    }
    vm->initCount = 1;
    VM_LOCK.leave();
    return vm;
}

void bvmTerm(void* cache) {
    vm_info* vm = static_cast<vm_info*>(cache);
    if (!vm) return;
    VM_LOCK.enter();
    if (--vm->initCount == 0) freeCache(vm);
    VM_LOCK.leave();
}

// A null cache reads and writes straight through, like a cache of no pools.
unsigned bvmFileRead(void* cache, int fd, int32_t offset, void* buffer, uint32_t length,
                     uint32_t* count, VmHintType hint) {
    vm_info* vm = static_cast<vm_info*>(cache);
    *count = 0;
    if (outsideRange(offset, length)) return 1;
    if (vm) vm->enterLock();
    unsigned result = 0;
    unsigned char* out = static_cast<unsigned char*>(buffer);
    uint32_t position = static_cast<uint32_t>(offset);
    while (length) {
        uint32_t page = position >> VM_PAGE_SHIFT;
        uint32_t within = position & (VM_PAGE_SIZE - 1);
        uint32_t piece = VM_PAGE_SIZE - within < length ? VM_PAGE_SIZE - within : length;
        unsigned char* data = nullptr;
        uint16_t entry = 0;
        if (vm && page < VM_PAGE_LIMIT &&
            bvmmap(vm, fd, static_cast<uint16_t>(page), &entry, &data, 1, hint)) {
            result = 1;
            break;
        }
        long got = 0;
        if (data && within + piece <= vm->entries[entry].last) {
            std::memcpy(out, data + within, piece);
            got = piece;
        } else {
            bosFileRead(fd, static_cast<long>(position), out, piece, &got);
            if (got < 0) {
                bosMapError(static_cast<unsigned short>(errno), nullptr);
                result = 1;
                break;
            }
        }
        *count += static_cast<uint32_t>(got);
        if (static_cast<uint32_t>(got) < piece) break; // the end of the file
        out += piece;
        position += piece;
        length -= piece;
    }
    if (vm) vm->leaveLock();
    return result;
}

unsigned bvmFileWrite(void* cache, int fd, int32_t offset, const void* data, uint32_t length) {
    vm_info* vm = static_cast<vm_info*>(cache);
    if (outsideRange(offset, length)) return 1;
    if (vm) vm->enterLock();
    unsigned result = 0;
    const unsigned char* in = static_cast<const unsigned char*>(data);
    uint32_t position = static_cast<uint32_t>(offset);
    // One page piece at a time: the file layer judges a write of 65,536 bytes or more by the
    // low 16 bits of its count, and each cached page is refreshed only once its bytes are in
    // the file.
    while (length) {
        uint32_t page = position >> VM_PAGE_SHIFT;
        uint32_t within = position & (VM_PAGE_SIZE - 1);
        uint32_t piece = VM_PAGE_SIZE - within < length ? VM_PAGE_SIZE - within : length;
        if (bosFileWrite(fd, static_cast<long>(position), in, piece)) {
            result = 1;
            break;
        }
        unsigned char* cached = nullptr;
        uint16_t entry = 0;
        if (vm && page < VM_PAGE_LIMIT)
            bvmmap(vm, fd, static_cast<uint16_t>(page), &entry, &cached, 0, VM_READ_SEQUENTIAL);
        if (cached) {
            std::memcpy(cached + within, in, piece);
            vm_map& e = vm->entries[entry];
            // Only a piece that joins the valid bytes extends them: the bytes between `last`
            // and a piece further on were never loaded.
            if (within <= e.last && within + piece > e.last)
                e.last = static_cast<uint16_t>(within + piece);
        }
        in += piece;
        position += piece;
        length -= piece;
    }
    if (vm) vm->leaveLock();
    return result;
}

unsigned bvmFlush(void* cache, int fd) {
    vm_info* vm = static_cast<vm_info*>(cache);
    if (!vm || fd == 0) return 0; // handle 0 marks the free entries
    vm->enterLock();
    for (uint16_t i = 0; i < vm->act_entries; ++i)
        if (vm->entries[i].fd == fd) bvmfreeb(vm, i);
    vm->leaveLock();
    return 0;
}

unsigned bvmFileClose(void* cache, int fd) {
    if (fd == 0) return 0;
    bvmFlush(cache, fd);
    return bosFileClose(fd);
}
