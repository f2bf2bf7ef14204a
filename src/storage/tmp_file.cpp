// KoTmpFile: the block cache, the spill file and the free map. Slot s of the cache is the
// 4,096 bytes at Buf + s * 4,096; its directory entry says which block each of its two ways
// holds, whether it is dirty, and which way goes next (blk1lru). Everything runs under the
// store's critical section; the private helpers expect it held.
#include "kolib/tmp_file.h"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/kostring.h"
#include "kolib/memory.h"

namespace {

// 65,536 blocks of 2,048 bytes: the offsets 16-bit block numbers can reach.
const uint64_t OFFSET_LIMIT = 65536ull * KoTmpFile::BLOCK_SIZE;
const uint32_t HUGE_PIECE = 65536;
const unsigned NAME_BUFFER = 1025;

bool beyondLimit(uint32_t offset, uint32_t length) {
    if (static_cast<uint64_t>(offset) + length <= OFFSET_LIMIT) return false;
    bosMapError(EFBIG, nullptr);
    return true;
}

} // namespace

int16_t TmpSpace::compare(const KoObject* other) const {
    uint32_t theirs = static_cast<const TmpSpace*>(other)->Offset;
    return Offset < theirs ? -1 : Offset > theirs ? 1 : 0;
}

KoTmpFile::KoTmpFile(uint16_t cacheSize, unsigned criticalSectionOption)
    : BufSize(cacheSize), FileSize(0), NextAvail(1), FileHan1(0), FileName1(nullptr), NumBlks1(0),
      Blocks(nullptr), Buf(nullptr), FreeMap(),
      CriticalSection(static_cast<int>(criticalSectionOption)), Map(nullptr), MapBlocks(0) {}

KoTmpFile::~KoTmpFile() {
    tmpTruncate(0);
}

// The cache memory is cleared whenever the directory is made anew (every slot then claims
// block 0): bytes never written read as zeros, never as another block's left-overs.
unsigned KoTmpFile::tmpAlloc() {
    if (BufSize < SLOT_SIZE || (BufSize & (BufSize - 1)) != 0) {
        bosMapError(EINVAL, nullptr);
        return 1;
    }
    if (!Buf) {
        Buf = static_cast<char*>(ramMalloc(BufSize));
        if (!Buf) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
    }
    if (!Blocks) {
        Blocks = static_cast<tmp_block*>(ramCalloc(sizeof(tmp_block) * (BufSize / SLOT_SIZE)));
        if (!Blocks) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        std::memset(Buf, 0, BufSize);
    }
    return 0;
}

unsigned KoTmpFile::openFile() {
    return bosFileOpen(FileName1, BOS_OPEN_WRITE, &FileHan1);
}

unsigned KoTmpFile::tmpWrFile(const char* buffer, uint16_t block) {
    if (block > FileSize) FileSize = block;
    if (!FileName1) {
        FileName1 = static_cast<char*>(ramMalloc(NAME_BUFFER));
        if (!FileName1) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        FileName1[0] = '\0';
        if (bosFileOpen(FileName1, BOS_OPEN_TEMP | BOS_OPEN_WRITE, &FileHan1)) {
            ramFree(FileName1);
            FileName1 = nullptr;
            FileHan1 = 0;
            return 1;
        }
    } else if (!FileHan1 && openFile()) {
        return 1;
    }
    if (bosFileWrite(FileHan1, static_cast<long>(block) * BLOCK_SIZE, buffer, BLOCK_SIZE)) return 1;
    if (block >= NumBlks1) NumBlks1 = static_cast<uint16_t>(block + 1);
    return 0;
}

// Spilled blocks are read through a shared mapping of the file, which sees every write made
// with pwrite: a cache miss then costs a copy, not a system call. The mapping is made with
// room to grow (pages past the file's end are never touched: only blocks written in full are
// read through it) and made again when the file outgrows it. Without it, pread.
void KoTmpFile::mapFile() {
    uint32_t blocks = NumBlks1 ? static_cast<uint32_t>(NumBlks1) * 2 : 65536u;
    if (blocks < 64) blocks = 64;
    if (blocks > 65536) blocks = 65536;
    if (!FileHan1 && openFile()) return;
    void* made = mmap(nullptr, static_cast<std::size_t>(blocks) * BLOCK_SIZE, PROT_READ, MAP_SHARED,
                      FileHan1, 0);
    if (made == MAP_FAILED) return; // pread serves
    unmapFile();
    Map = static_cast<char*>(made);
    MapBlocks = blocks;
}

void KoTmpFile::unmapFile() {
    if (Map) munmap(Map, static_cast<std::size_t>(MapBlocks) * BLOCK_SIZE);
    Map = nullptr;
    MapBlocks = 0;
}

// A block that never reached the disk reads as zeros.
unsigned KoTmpFile::tmpRdFile(char* buffer, uint16_t block) {
    if (!FileName1 || block > FileSize) {
        std::memset(buffer, 0, BLOCK_SIZE);
        return 0;
    }
    // NumBlks1 is 0 once 65,536 blocks were written (16 bits): then every block is whole.
    bool whole = NumBlks1 == 0 ? FileSize == 65535 : block < NumBlks1;
    if (whole && block >= MapBlocks) mapFile();
    if (whole && block < MapBlocks) {
        std::memcpy(buffer, Map + static_cast<std::size_t>(block) * BLOCK_SIZE, BLOCK_SIZE);
        return 0;
    }
    if (!FileHan1 && openFile()) return 1;
    ssize_t count = 0;
    do count = pread(FileHan1, buffer, BLOCK_SIZE, static_cast<off_t>(block) * BLOCK_SIZE);
    while (count < 0 && errno == EINTR);
    if (count < 0) {
        bosMapError(static_cast<unsigned short>(errno), FileName1);
        return 1;
    }
    // A short read (past the file's end) is not an error.
    std::memset(buffer + count, 0, static_cast<std::size_t>(BLOCK_SIZE - count));
    return 0;
}

char* KoTmpFile::lookUp(uint16_t block, bool wholeBlock, int dirty) {
    unsigned slot = block & ((BufSize / SLOT_SIZE) - 1);
    tmp_block& entry = Blocks[slot];
    char* way1 = Buf + static_cast<std::size_t>(slot) * SLOT_SIZE;
    char* way2 = way1 + BLOCK_SIZE;
    if (entry.blk1num == block) {
        entry.blk1lru = 0;
        if (dirty) entry.blk1dirty = 1;
        return way1;
    }
    if (entry.blk2num == block) {
        entry.blk1lru = 1;
        if (dirty) entry.blk2dirty = 1;
        return way2;
    }
    bool first = entry.blk1lru;
    char* way = first ? way1 : way2;
    // A dirty victim that cannot be written stays in the cache, still dirty.
    if ((first ? entry.blk1dirty : entry.blk2dirty) &&
        tmpWrFile(way, first ? entry.blk1num : entry.blk2num))
        return nullptr;
    if (first)
        entry.blk1dirty = 0;
    else
        entry.blk2dirty = 0;
    // Read aside first: a failed read must not spoil the way, which still holds its block.
    char incoming[BLOCK_SIZE];
    if (!wholeBlock) {
        if (tmpRdFile(incoming, block)) return nullptr;
        std::memcpy(way, incoming, BLOCK_SIZE);
    }
    if (first) {
        entry.blk1num = block;
        entry.blk1dirty = dirty ? 1 : 0;
        entry.blk1lru = 0;
    } else {
        entry.blk2num = block;
        entry.blk2dirty = dirty ? 1 : 0;
        entry.blk1lru = 1;
    }
    return way;
}

unsigned KoTmpFile::tmpRead(uint32_t offset, void* buffer, uint32_t length) {
    char* out = static_cast<char*>(buffer);
    if (!length) return 0;
    CriticalSection.enter();
    unsigned failed = beyondLimit(offset, length) ? 1 : 0;
    if (!failed && (!Buf || !Blocks)) {
        std::memset(out, 0, length); // nothing was ever written
        length = 0;
    }
    while (!failed && length) {
        uint32_t position = offset & (BLOCK_SIZE - 1);
        uint32_t piece = BLOCK_SIZE - position < length ? BLOCK_SIZE - position : length;
        const char* way = lookUp(static_cast<uint16_t>(offset >> 11), false, 0);
        if (!way) {
            failed = 1;
            break;
        }
        std::memcpy(out, way + position, piece);
        out += piece;
        offset += piece;
        length -= piece;
    }
    CriticalSection.leave();
    return failed;
}

unsigned KoTmpFile::tmpWrite(uint32_t offset, const void* data, uint32_t length) {
    const char* in = static_cast<const char*>(data);
    CriticalSection.enter();
    unsigned failed = tmpAlloc() || beyondLimit(offset, length) ? 1 : 0;
    uint32_t end = offset + length;
    while (!failed && length) {
        uint32_t position = offset & (BLOCK_SIZE - 1);
        uint32_t piece = BLOCK_SIZE - position < length ? BLOCK_SIZE - position : length;
        char* way = lookUp(static_cast<uint16_t>(offset >> 11), piece == BLOCK_SIZE, 1);
        if (!way) {
            failed = 1;
            break;
        }
        std::memcpy(way + position, in, piece);
        in += piece;
        offset += piece;
        length -= piece;
    }
    if (!failed && end > NextAvail) NextAvail = end; // writing past the mark reserves the space
    CriticalSection.leave();
    return failed;
}

unsigned KoTmpFile::read(uint32_t offset, void* buffer, uint32_t length) {
    return tmpRead(offset, buffer, length);
}

unsigned KoTmpFile::write(uint32_t offset, const void* data, uint32_t length) {
    return tmpWrite(offset, data, length);
}

unsigned KoTmpFile::read(uint32_t offset, KoString* text, uint32_t length) {
    text->clear();
    if (text->assureSpace(length) || read(offset, text->Buf, length)) return 1;
    text->setCurSize(length);
    return 0;
}

unsigned KoTmpFile::readHuge(uint32_t offset, void* buffer, uint32_t length) {
    char* out = static_cast<char*>(buffer);
    for (uint32_t done = 0; done < length;) {
        uint32_t piece = length - done < HUGE_PIECE ? length - done : HUGE_PIECE;
        if (read(offset + done, out + done, piece)) return 1;
        done += piece;
    }
    return 0;
}

unsigned KoTmpFile::writeHuge(uint32_t offset, const void* data, uint32_t length) {
    const char* in = static_cast<const char*>(data);
    for (uint32_t done = 0; done < length;) {
        uint32_t piece = length - done < HUGE_PIECE ? length - done : HUGE_PIECE;
        if (write(offset + done, in + done, piece)) return 1;
        done += piece;
    }
    return 0;
}

unsigned KoTmpFile::tmpPointer(uint32_t offset, char** pointer, uint16_t* available,
                               uint16_t dirty) {
    CriticalSection.enter();
    char* way = nullptr;
    if (!tmpAlloc() && !beyondLimit(offset, 1))
        way = lookUp(static_cast<uint16_t>(offset >> 11), false, dirty ? 1 : 0);
    if (way) {
        uint32_t position = offset & (BLOCK_SIZE - 1);
        *pointer = way + position;
        *available = static_cast<uint16_t>(BLOCK_SIZE - position);
    }
    CriticalSection.leave();
    return way ? 0 : 1;
}

void KoTmpFile::tmpLoseFocus() {
    CriticalSection.enter();
    if (FileHan1) bosFileClose(FileHan1);
    FileHan1 = 0;
    CriticalSection.leave();
}

void KoTmpFile::tmpTruncate(unsigned keepBuffer) {
    CriticalSection.enter();
    ramFree(Blocks);
    Blocks = nullptr;
    if (!keepBuffer) {
        ramFree(Buf);
        Buf = nullptr;
    }
    for (unsigned long i = 0; i < FreeMap.getCount(); ++i) delete FreeMap.at(i);
    FreeMap.reset();
    unmapFile();
    if (FileName1) {
        if (FileHan1) bosFileClose(FileHan1);
        bosFileDelete(FileName1);
        ramFree(FileName1);
        FileName1 = nullptr;
    }
    NextAvail = 1;
    FileSize = 0;
    FileHan1 = 0;
    NumBlks1 = 0;
    CriticalSection.leave();
}

unsigned KoTmpFile::tmpFindSpace(uint32_t size, uint32_t* offset) {
    CriticalSection.enter();
    unsigned failed = tmpAlloc();
    if (!failed && size == 0xFFFFFFFFu) {
        *offset = NextAvail;
        NextAvail = 0xFFFFFFFFu;
    } else if (!failed) {
        bool found = false;
        for (unsigned long i = 0; i < FreeMap.getCount() && !found; ++i) {
            TmpSpace* range = static_cast<TmpSpace*>(FreeMap.at(i));
            if (range->Size < size) continue;
            found = true;
            *offset = range->Offset;
            if (range->Size - size < SMALL_HOLE) {
                FreeMap.removeAtIndex(i);
                delete range; // the remainder is abandoned
            } else {
                range->Offset += size;
                range->Size -= size;
            }
        }
        // Space past the last block number cannot be handed out.
        if (!found && beyondLimit(NextAvail, size)) {
            failed = 1;
        } else if (!found) {
            *offset = NextAvail;
            NextAvail += size;
        }
    }
    CriticalSection.leave();
    return failed;
}

void KoTmpFile::tmpFreeSpace(uint32_t offset, uint32_t size) {
    CriticalSection.enter();
    if (size == 0xFFFFFFFFu || static_cast<uint64_t>(offset) + size == NextAvail) {
        NextAvail = offset;
        coalesceFreeSpace();
    } else if (size >= SMALL_HOLE) {
        TmpSpace* range = new TmpSpace(offset, size);
        if (!range || FreeMap.add(range)) {
            // Intended: a range that cannot be recorded is dropped without a trace.
            delete range;
            KoErrorKeeper::clearLastError();
        } else {
            coalesceFreeSpace();
        }
    }
    // Holes under 256 bytes are never tracked.
    CriticalSection.leave();
}

void KoTmpFile::coalesceFreeSpace() {
    for (unsigned long i = 0; i + 1 < FreeMap.getCount();) {
        TmpSpace* range = static_cast<TmpSpace*>(FreeMap.at(i));
        TmpSpace* next = static_cast<TmpSpace*>(FreeMap.at(i + 1));
        if (static_cast<uint64_t>(range->Offset) + range->Size != next->Offset) {
            ++i;
            continue;
        }
        range->Size += next->Size;
        FreeMap.removeAtIndex(i + 1);
        delete next;
    }
    unsigned long count = FreeMap.getCount();
    if (!count) return;
    TmpSpace* last = static_cast<TmpSpace*>(FreeMap.at(count - 1));
    if (static_cast<uint64_t>(last->Offset) + last->Size == NextAvail) {
        NextAvail = last->Offset;
        FreeMap.removeAtIndex(count - 1);
        delete last;
    }
}

uint32_t KoTmpFile::getContiguousSpace(uint32_t size) {
    CriticalSection.enter();
    uint32_t offset = (NextAvail + 3) & ~3u;
    if (BLOCK_SIZE - (offset & (BLOCK_SIZE - 1)) < size)
        offset = (offset + BLOCK_SIZE - 1) & ~static_cast<uint32_t>(BLOCK_SIZE - 1);
    NextAvail = offset + size;
    CriticalSection.leave();
    return offset;
}
