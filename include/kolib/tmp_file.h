// KoTmpFile: a private, growable scratch store addressed by 32-bit byte offsets. Data live in
// a small two-way set-associative cache of 2,048-byte blocks and spill to one temporary file
// (made through bosFileOpen's temporary-name request, in KO_TMPDIR when set) only when a
// modified block must leave the cache, so a small store never touches the disk.
//
// Geometry: block n holds offsets n * 2,048 .. n * 2,048 + 2,047 and lies at byte n * 2,048 of
// the file; a cache slot is 4,096 bytes (two ways of one block each) and block n goes to slot
// n & (slots - 1). The cache size must be a power of two of at least 4,096 bytes (32,768 gives
// 8 slots); other sizes make every operation that needs the cache fail (error "Invalid
// argument"). Block numbers are 16-bit: offsets stop at 128 MiB, and an operation that would
// go past that fails ("File too large").
//
// Offsets start at 1: 0 is never handed out and means "none" to callers. Freed ranges of at
// least 256 bytes are kept in a sorted free map, merged with their neighbours and folded back
// into the high-water mark; smaller holes are forgotten.
//
// Every public operation runs under the store's critical section (disableLocks() turns it off
// for a store used by one thread). Results: 0 success, 1 failure with the reason on the
// thread's error list.
#pragma once

#include <cstdint>
#include "kolib/critical_section.h"
#include "kolib/sorted_array.h"

class KoString;

// One freed range of a KoTmpFile; ordered by offset.
class KO_API TmpSpace : public KoObject {
public:
    TmpSpace(uint32_t offset, uint32_t size) : Offset(offset), Size(size) {}
    int16_t compare(const KoObject* other) const override;
    uint32_t Offset;
    uint32_t Size;
};

class KO_API KoTmpFile : public KoObject {
public:
    enum { BLOCK_SIZE = 2048, SLOT_SIZE = 4096, SMALL_HOLE = 256 };
    // Allocates nothing; `criticalSectionOption` is the KoCriticalSection's disabled flag.
    KoTmpFile(uint16_t cacheSize, unsigned criticalSectionOption = 0);
    // Empties the store (its file is deleted).
    ~KoTmpFile() override;
    KoTmpFile(const KoTmpFile&) = delete;
    KoTmpFile& operator=(const KoTmpFile&) = delete;

    // `length` bytes at `offset`. Reading bytes never written gives zeros.
    unsigned read(uint32_t offset, void* buffer, uint32_t length);
    unsigned write(uint32_t offset, const void* data, uint32_t length);
    // The string holds the `length` bytes read (its earlier text is replaced).
    unsigned read(uint32_t offset, KoString* text, uint32_t length);
    // As read/write, in calls of at most 65,536 bytes.
    unsigned readHuge(uint32_t offset, void* buffer, uint32_t length);
    unsigned writeHuge(uint32_t offset, const void* data, uint32_t length);
    // A pointer to the cached byte at `offset` and the bytes left in its block (2,048 less the
    // position); a nonzero `dirty` marks the block modified. Valid until the next operation.
    unsigned tmpPointer(uint32_t offset, char** pointer, uint16_t* available, uint16_t dirty);
    // Closes the spill file (it and its name stay); the next disk access reopens it.
    void tmpLoseFocus();
    // Empties the store: cache directory, free map and spill file go; offsets start at 1
    // again. With `keepBuffer` the cache memory is kept for reuse.
    void tmpTruncate(unsigned keepBuffer);
    // Reserves `size` bytes: the first freed range that fits (what remains of it below 256
    // bytes is abandoned), else at the high-water mark, unaligned. A size of 0xFFFFFFFF takes
    // everything from the mark on.
    unsigned tmpFindSpace(uint32_t size, uint32_t* offset);
    // Gives a range back; nothing is reported.
    void tmpFreeSpace(uint32_t offset, uint32_t size);
    // Reserves `size` bytes at the mark, 4-aligned, moved to the next block when they would
    // straddle a block boundary (a request over 2,048 bytes starts on one). Returns the offset.
    uint32_t getContiguousSpace(uint32_t size);
    void disableLocks() { CriticalSection.disable(); }

    // The spill file's name, or null while nothing has spilled (for tests and tools).
    const char* spillFileName() const { return FileName1; }
    uint32_t highWaterMark() const { return NextAvail; }

    struct tmp_block {
        uint16_t blk1num;
        uint16_t blk2num;
        uint16_t blk1dirty : 1;
        uint16_t blk2dirty : 1;
        uint16_t blk1lru : 1;
    };

private:
    unsigned tmpAlloc();
    unsigned tmpWrFile(const char* buffer, uint16_t block);
    unsigned tmpRdFile(char* buffer, uint16_t block);
    unsigned openFile();
    void coalesceFreeSpace();
    // The cached way holding `block` (loaded on a miss, `wholeBlock`: without reading it),
    // marked dirty when `dirty` is set (-1: left as it is).
    char* lookUp(uint16_t block, bool wholeBlock, int dirty);
    unsigned tmpRead(uint32_t offset, void* buffer, uint32_t length);
    unsigned tmpWrite(uint32_t offset, const void* data, uint32_t length);

    uint16_t BufSize;
    uint16_t FileSize;
    uint32_t NextAvail;
    int FileHan1;
    char* FileName1;
    uint16_t NumBlks1;
    tmp_block* Blocks;
    char* Buf;
    KoSortedArray FreeMap;
    KoCriticalSection CriticalSection;
    char* Map;          // the spill file mapped for reading, or null
    uint32_t MapBlocks; // blocks the mapping spans (it may reach past the file's end)
    void mapFile();
    void unmapFile();
};
