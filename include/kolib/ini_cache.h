// The INI file cache: one configuration file read whole into memory, answering look-ups of
// an entry, of a section's entry names or of an integer, and rewriting the file whole when an
// entry or section is added, changed or deleted. Each look-up first checks the file's size and
// modification time and re-reads it when either changed. Caches are shared per task through
// KoIniFileCacheList, by resolved path, and reference-counted.
//
// File syntax: a section starts with "[" at the start of the text or of a line (not after ";"
// or "#") and its header runs to the next "]"; it ends at the next "[" anywhere, even inside a
// value. Entries are name=value lines; leading blanks of a line are skipped, blanks before the
// "=" belong to the name, blanks and further "=" after it are skipped, and the value runs to
// the line feed (a carriage return before it is part of the value). Names and headers compare
// without regard to ASCII case. ";" and "#" start comment lines.
//
// Locks: each cache has a KoSemaphore held for every look-up (with its freshness check) and
// for the whole rewrite; the list's semaphore is held while the list changes. Order: list,
// then cache.
#pragma once

#include <cstdint>
#include "kolib/array.h"
#include "kolib/semaphore.h"

struct KoIniSectionIndex;
class KoFileReplace;

// What identifies one version of a file on disk: a rewrite by rename changes the inode, an
// edit in place the size or the change time (nanoseconds).
struct KoFileStamp {
    uint64_t Device, Inode, Size;
    int64_t ModifiedNs, ChangedNs;
};

// A cache's snapshot of the change notices on its file and directory (see KoIniWatcher).
struct KoIniWatch {
    int FileSlot, DirSlot; // -1: not watched
    int FileWd, DirWd;
    uint64_t FileGeneration, DirGeneration;
    uint64_t Epoch;       // the watcher's epoch when taken (an overflow raises it)
    uint64_t Incarnation; // the watcher's instance (a restart after fork raises it)
};
class KoIniWatcher;

// Values of a single entry are copied through a buffer of this size: longer values are cut
// to 2,047 bytes.
enum { KO_INI_WORK_BUFFER_SIZE = 2048 };

class KO_API KoIniFileCache : public KoObject {
public:
    // Use count 1; opens and reads `name` (a configuration name or a path). A file that
    // cannot be read leaves the cache closed: gets return their defaults, puts return 0.
    explicit KoIniFileCache(const char* name);
    ~KoIniFileCache() override;
    KoIniFileCache(const KoIniFileCache&) = delete;
    KoIniFileCache& operator=(const KoIniFileCache&) = delete;

    // Opens (read-write, creating an empty file when missing; read-only when writing is
    // refused) and reads the file. 0 success, 1 failure (the last error marked a warning).
    unsigned bosKoIniOpen(const char* name);
    // Frees the name and the text and marks the cache closed.
    void Close();
    // Re-reads the file when its size or modification time changed. 0 when current.
    unsigned proFileSync();

    // The value of `entry` in `section` into buffer (size bytes with the terminator), or the
    // default for a missing section or entry or an empty value. With a null entry: the
    // section's entry names, each followed by a zero, and one more zero; the count includes
    // the final zero. Returns the number of bytes placed (without the terminator for values).
    unsigned long bosGetProfileString(const char* section, const char* entry,
                                      const char* defaultValue, char* buffer, unsigned long size);
    // The leading decimal digits of the value; the default when there are none (a sign or a
    // blank first) or when they exceed 32 bits (error 2701).
    uint32_t bosGetProfileInt(const char* section, const char* entry, uint32_t defaultValue);
    // Sets an entry (a new one goes first in its section, a new section at the end of the
    // file); a null value deletes the entry, a null entry the whole section. The file is
    // rewritten whole. Returns 1 on success and 0 on failure: the reverse of the library's
    // usual convention, kept for its callers.
    unsigned bosPutProfileString(const char* section, const char* entry, const char* newValue);

    // The section whose header (brackets included) is `header`: *start at its "[", *end at
    // the next "[" or the end of the text. 0 when found.
    unsigned getSection(const char* header, char** start, char** end);
    // The entry `name` after *position (inside a section): *position at its line start, the
    // value between *valueStart and *valueEnd (the line feed or the end of the text). 0 when
    // found.
    unsigned getEntry(const char* name, char** position, char** valueStart, char** valueEnd);

    // Exact comparison with the resolved path, under the cache's semaphore.
    int isThisFile(const char* path);
    void incrementUseCount();
    void decrementUseCount();
    unsigned long getUseCount();
    // Atomic: callers ask without the semaphore while a reload may be changing it.
    void setOpen() { __atomic_store_n(&Initialized, true, __ATOMIC_RELEASE); }
    void setClose() { __atomic_store_n(&Initialized, false, __ATOMIC_RELEASE); }
    int isOpen() const { return __atomic_load_n(&Initialized, __ATOMIC_ACQUIRE); }
    const char* getFileName() const { return FileName; }

    int FileHandle;
    uint32_t FileSize;
    unsigned long FileMode;
    char* FileName;
    uint32_t FileDate;
    uint32_t FileUseCount;
    char* FileCache;
    bool Initialized;
    KoSemaphore Semaphore;
    uint32_t TextLength;      // bytes of text actually read (the file may change under us)
    KoIniSectionIndex* Index; // where each section starts; null: search the text
    KoFileStamp Stamp;        // the version of the file that was read
    KoIniWatcher* Watcher;    // the task list's change notices; null: stat every time
    KoIniWatch Watch;         // valid while Watched
    bool Watched;
    bool Compatible;   // read the compatible way (see koIniSetCompatible)
    char* MissingName; // a file the compatible reading did not create, for the first write

private:
    // Called with the semaphore held. Re-reads the file when its stamp changed, or always
    // with `force`.
    unsigned syncLocked(bool force = false);
    unsigned openFile(const char* name, unsigned long create);
    unsigned lookUpEntry(char* section, char* sectionEnd, const char* name, char** lineStart,
                         char** valueStart, char** valueEnd, char** lineNext);
    void closeLocked();
    char* textEnd() const { return FileCache + TextLength; }
    unsigned findEntry(const char* name, char* limit, char** position, char** valueStart,
                       char** valueEnd);
    unsigned long copyEntryNames(const char* section, const char* sectionEnd, char* buffer,
                                 unsigned long size);
    unsigned rewrite(KoFileReplace* replace, const char* prefix, const char* head,
                     unsigned long headLength, const char* header, bool withHeader,
                     bool lineFeedFirst, const char* newLine, const char* tail,
                     unsigned long tailLength, const char* lineEnd, const char* newValueOnly);
};

// How the task reads configuration files: 1 the compatible way, 0 the strict way (the
// default), -1 as the environment says (KO_INI_COMPAT=1 asks for the compatible way; the
// variable is read when the task first uses a configuration file, and again by this call). The
// compatible reading ignores blanks around "=" and at the end of names and values, a carriage
// return before the line feed, and a "[" that does not start a line; it does not create a
// missing file (the first write does), and its writes keep the file's line ends and the
// spelling of the lines they change. Caches switch at their next look-up. 0 success, 1 when
// the task's list cannot be made.
KO_API unsigned koIniSetCompatible(int mode);
// 1 when the task reads configuration files the compatible way now, else 0.
KO_API int koIniCompatible();

// The per-task list of open caches (reached through bosGetPTaskIniList).
class KO_API KoIniFileCacheList : public KoObject {
public:
    KoIniFileCacheList();
    ~KoIniFileCacheList() override; // destroys every cache in it
    KoIniFileCacheList(const KoIniFileCacheList&) = delete;
    KoIniFileCacheList& operator=(const KoIniFileCacheList&) = delete;

    // The task's list, created by the first caller; null when memory runs out.
    static KoIniFileCacheList* getTaskList();

    // The cache of the file `name` resolves to: an existing one with one more holder, or a
    // new one. Null only when the name cannot be resolved or memory runs out.
    KoIniFileCache* open(const char* name);
    // One holder less; the last one destroys the cache. A null cache is ignored.
    void close(KoIniFileCache* cache);
    unsigned add(KoIniFileCache* cache);
    void remove(KoIniFileCache* cache);

    KoSemaphore Semaphore;
    KoArray List;
    KoIniWatcher* Watcher;       // change notices for the caches; null: they stat every time
    int CompatibleMode;          // how files are read: 1 compatible, 0 strict
    struct KoIniNameMemo* Names; // configuration names resolved before (under Semaphore)
};
