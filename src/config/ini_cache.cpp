// KoIniFileCache: opening and reading a configuration file whole, keeping it current by its
// size and modification time, and the section and entry look-ups over the text. The text is
// searched with explicit ends (TextLength), so zero bytes inside a file do no harm.
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/locate.h"
#include "kolib/memory.h"
#include "ini_compat.h"
#include "ini_index.h"
#include "ini_watch.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool retryReadOnly(unsigned short error) {
    return error == 1519 || error == 1508 || error == 30040;
}

// Opens `name` with *mode, falling back to read-only when writing is refused. 0 success.
unsigned openForReading(const char* name, char* path, unsigned long* mode, int* fd) {
    for (;;) {
        std::snprintf(path, BOS_PATH_BUFFER_SIZE, "%s", name);
        if (bosFileOpen(path, *mode, fd) == 0) return 0;
        if (KoErrorKeeper::getErrorList()) {
            if (retryReadOnly(KoErrorKeeper::getLastErrorNumber()) && (*mode & BOS_OPEN_WRITE)) {
                *mode &= ~static_cast<unsigned long>(BOS_OPEN_WRITE);
                KoErrorKeeper::clearLastError();
                continue;
            }
            KoErrorKeeper::setLastErrorType(ERRORTYPE_WARNING);
            return 1;
        }
        if (!(*mode & BOS_OPEN_WRITE)) return 1;
        *mode &= ~static_cast<unsigned long>(BOS_OPEN_WRITE | BOS_OPEN_CREATE_IF_MISSING);
    }
}

void stampOf(const struct stat& info, KoFileStamp* stamp) {
    stamp->Device = static_cast<uint64_t>(info.st_dev);
    stamp->Inode = static_cast<uint64_t>(info.st_ino);
    stamp->Size = static_cast<uint64_t>(info.st_size);
    stamp->ModifiedNs =
        static_cast<int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    stamp->ChangedNs =
        static_cast<int64_t>(info.st_ctim.tv_sec) * 1000000000 + info.st_ctim.tv_nsec;
}

bool sameStamp(const KoFileStamp& a, const KoFileStamp& b) {
    return a.Device == b.Device && a.Inode == b.Inode && a.Size == b.Size &&
           a.ModifiedNs == b.ModifiedNs && a.ChangedNs == b.ChangedNs;
}

} // namespace

KoIniFileCache::KoIniFileCache(const char* name)
    : FileHandle(0), FileSize(0), FileMode(0), FileName(nullptr), FileDate(0), FileUseCount(1),
      FileCache(nullptr), Initialized(false), Semaphore(nullptr, nullptr), TextLength(0),
      Index(nullptr), Stamp(), Watcher(nullptr), Watched(false), Compatible(false),
      MissingName(nullptr) {
    KoIniWatcher::clear(&Watch);
    bosKoIniOpen(name);
}

KoIniFileCache::~KoIniFileCache() {
    if (Watcher) Watcher->release(&Watch);
    closeLocked();
    ramFree(MissingName);
}

unsigned KoIniFileCache::bosKoIniOpen(const char* name) {
    bool trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_INI_OPEN) != 0;
    closeLocked();
    FileSize = FileDate = 0;
    if (!name) return 1;
    if (trace) std::printf("KoIniOpen: File:%s \n", name);
    Compatible = koIniCompatible() != 0;
    return openFile(name, Compatible ? 0 : BOS_OPEN_CREATE_IF_MISSING);
}

// Opens with the configuration-name rules (creating a missing file with `create`), reads the
// whole text and marks the cache open. A compatible reading does not create a missing file:
// its name is kept so that the first write can.
unsigned KoIniFileCache::openFile(const char* name, unsigned long create) {
    bool trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_INI_OPEN) != 0;
    FileMode = BOS_OPEN_CONFIG_NAME | create | BOS_OPEN_WRITE;
    char path[BOS_PATH_BUFFER_SIZE];
    if (name != MissingName) {
        ramFree(MissingName);
        MissingName = nullptr;
    }
    if (openForReading(name, path, &FileMode, &FileHandle)) {
        if (!create && !MissingName) MissingName = ramAllocStr(name);
        return 1;
    }
    if (name == MissingName) {
        ramFree(MissingName);
        MissingName = nullptr;
    }
    // Date and size of the file that is open, not of whatever the name holds by now: a writer
    // may rename a new version over it in between.
    struct stat info;
    FileName = ramAllocStr(path);
    if (!FileName || fstat(FileHandle, &info) != 0) {
        if (!FileName) KoErrorKeeper::addMemoryError();
        bosFileClose(FileHandle);
        FileHandle = 0;
        ramFree(FileName);
        FileName = nullptr;
        return 1;
    }
    stampOf(info, &Stamp);
    FileDate = static_cast<uint32_t>(info.st_mtime);
    FileSize = static_cast<uint32_t>(info.st_size);
    unsigned long capacity = FileSize == UINT32_MAX ? 1 : static_cast<unsigned long>(FileSize) + 1;
    FileCache = static_cast<char*>(ramMalloc(capacity));
    if (!FileCache) {
        KoErrorKeeper::addMemoryError();
        bosFileClose(FileHandle);
        FileHandle = 0;
        ramFree(FileName);
        FileName = nullptr;
        return 1;
    }
    unsigned long got = 0;
    long count = 0;
    for (long offset = 0; got < capacity; offset = -1, got += static_cast<unsigned long>(count)) {
        bosFileRead(FileHandle, offset, FileCache + got, capacity - got, &count);
        if (count <= 0) break;
    }
    // The file may have grown since it was measured: the last byte stays the terminator.
    if (got == capacity) --got;
    FileCache[got] = '\0';
    TextLength = static_cast<uint32_t>(got);
    Index = koIniBuildIndex(FileCache, TextLength, Compatible); // none: walk the text
    bosFileClose(FileHandle);
    FileHandle = 0;
    setOpen();
    if (trace)
        std::printf("KoIniOpen: File:%s FileSize %d\n", FileName, static_cast<int>(FileSize));
    return 0;
}

void KoIniFileCache::closeLocked() {
    koIniFreeIndex(Index);
    Index = nullptr;
    ramFree(FileName);
    ramFree(FileCache);
    FileName = FileCache = nullptr;
    TextLength = 0;
    Stamp = KoFileStamp();
    setClose();
}

void KoIniFileCache::Close() {
    Semaphore.SemaphoreEnter();
    closeLocked();
    Semaphore.SemaphoreExit();
}

// Stronger than the date and size alone: a rewrite within one second to the same size is seen
// too, because the rename brings a new inode and an edit in place a new change time.
// With change notices, an unchanged file costs no system call but the notice read; the stat
// runs only after a notice (or when notices cannot be had), and the snapshot is renewed before
// it, so a change between the two is noticed next time.
unsigned KoIniFileCache::syncLocked(bool force) {
    // A switch of the reading mode takes effect at the next look-up.
    if (Compatible != (koIniCompatible() != 0)) force = true;
    if (Watcher && FileName) {
        if (!force && Watched && Watcher->unchanged(Watch)) return 0;
        Watched = Watcher->watch(FileName, true, &Watch);
    }
    struct stat info;
    if (!FileName || stat(FileName, &info) != 0) return 1;
    KoFileStamp now;
    stampOf(info, &now);
    if (!force && sameStamp(now, Stamp)) return 0;
    char path[BOS_PATH_BUFFER_SIZE];
    std::snprintf(path, sizeof path, "%s", FileName);
    closeLocked();
    return bosKoIniOpen(path);
}

unsigned KoIniFileCache::proFileSync() {
    Semaphore.SemaphoreEnter();
    unsigned result = syncLocked();
    Semaphore.SemaphoreExit();
    return result;
}

unsigned KoIniFileCache::getSection(const char* header, char** start, char** end) {
    if (!FileCache || !header) return 1;
    std::size_t headerLength = std::strlen(header);
    if (Index) {
        uint32_t first = 0, last = 0;
        if (!koIniFindSection(Index, FileCache, header, static_cast<uint32_t>(headerLength), &first,
                              &last))
            return 1;
        *start = FileCache + first;
        *end = FileCache + last;
        return 0;
    }
    char* limit = textEnd();
    if (Compatible) {
        const char *first = nullptr, *last = nullptr;
        if (!koIniCompatFindSection(FileCache, limit, header, headerLength, &first, &last))
            return 1;
        *start = const_cast<char*>(first);
        *end = const_cast<char*>(last);
        return 0;
    }
    for (char* p = FileCache; p < limit;) {
        char* open = static_cast<char*>(std::memchr(p, '[', static_cast<std::size_t>(limit - p)));
        if (!open) return 1;
        char* close =
            static_cast<char*>(std::memchr(open, ']', static_cast<std::size_t>(limit - open)));
        if (!close) return 1;
        bool commented = open > FileCache && (open[-1] == ';' || open[-1] == '#');
        bool atLineStart = open == p || open[-1] == '\n';
        if (!commented && atLineStart &&
            static_cast<std::size_t>(close - open) + 1 == headerLength &&
            koIniSameName(open, header, static_cast<uint32_t>(headerLength))) {
            *start = open;
            char* next = static_cast<char*>(
                std::memchr(close + 1, '[', static_cast<std::size_t>(limit - close - 1)));
            *end = next ? next : limit;
            return 0;
        }
        p = close + 1;
    }
    return 1;
}

unsigned KoIniFileCache::findEntry(const char* name, char* limit, char** position,
                                   char** valueStart, char** valueEnd) {
    std::size_t nameLength = std::strlen(name);
    char* p = *position;
    for (;;) {
        char* lineFeed =
            static_cast<char*>(std::memchr(p, '\n', static_cast<std::size_t>(limit - p)));
        p = lineFeed ? lineFeed : limit;
        while (p < limit && *p == '\n') ++p;
        while (p < limit && isBlank(*p)) ++p;
        if (p >= limit || *p == '[') return 1;
        if (*p == ';' || *p == '#') continue;
        char* lineStart = p;
        char* equals = static_cast<char*>(std::memchr(p, '=', static_cast<std::size_t>(limit - p)));
        if (!equals) return 1;
        if (static_cast<std::size_t>(equals - lineStart) == nameLength &&
            koIniSameName(lineStart, name, static_cast<uint32_t>(nameLength))) {
            char* value = equals;
            while (value < limit && (isBlank(*value) || *value == '=')) ++value;
            char* valueLineFeed = static_cast<char*>(
                std::memchr(value, '\n', static_cast<std::size_t>(textEnd() - value)));
            *position = lineStart;
            *valueStart = value;
            *valueEnd = valueLineFeed ? valueLineFeed : textEnd();
            return 0;
        }
        p = equals;
    }
}

unsigned KoIniFileCache::getEntry(const char* name, char** position, char** valueStart,
                                  char** valueEnd) {
    if (!FileCache || !name || !*position) return 1;
    if (!Compatible) return findEntry(name, textEnd(), position, valueStart, valueEnd);
    // The section runs to the next header line.
    const char *sectionEnd = textEnd(), *open = nullptr, *close = nullptr;
    KoIniLine line;
    koIniNextLine(*position, textEnd(), &line);
    for (const char* p = line.Next; koIniNextLine(p, textEnd(), &line); p = line.Next)
        if (koIniHeaderLine(line, &open, &close)) {
            sectionEnd = line.Start;
            break;
        }
    char* lineNext = nullptr;
    return lookUpEntry(*position, const_cast<char*>(sectionEnd), name, position, valueStart,
                       valueEnd, &lineNext);
}

unsigned KoIniFileCache::lookUpEntry(char* section, char* sectionEnd, const char* name,
                                     char** lineStart, char** valueStart, char** valueEnd,
                                     char** lineNext) {
    if (Compatible) {
        const char *a = nullptr, *b = nullptr, *c = nullptr, *d = nullptr;
        if (!koIniCompatFindEntry(section, sectionEnd, name, &a, &b, &c, &d)) return 1;
        *lineStart = const_cast<char*>(a);
        *valueStart = const_cast<char*>(b);
        *valueEnd = const_cast<char*>(c);
        *lineNext = const_cast<char*>(d);
        return 0;
    }
    *lineStart = section;
    if (findEntry(name, sectionEnd, lineStart, valueStart, valueEnd)) return 1;
    *lineNext = *valueEnd < textEnd() ? *valueEnd + 1 : textEnd();
    return 0;
}

int KoIniFileCache::isThisFile(const char* path) {
    Semaphore.SemaphoreEnter(); // a reload replaces the name
    int same = FileName && path && std::strcmp(FileName, path) == 0;
    Semaphore.SemaphoreExit();
    return same;
}

void KoIniFileCache::incrementUseCount() {
    Semaphore.SemaphoreEnter();
    ++FileUseCount;
    Semaphore.SemaphoreExit();
}

void KoIniFileCache::decrementUseCount() {
    Semaphore.SemaphoreEnter();
    --FileUseCount;
    Semaphore.SemaphoreExit();
}

unsigned long KoIniFileCache::getUseCount() {
    Semaphore.SemaphoreEnter();
    unsigned long count = FileUseCount;
    Semaphore.SemaphoreExit();
    return count;
}
