// Change notices for the task's cached configuration files, so that a look-up can tell that
// its file is unchanged without a stat call: one inotify instance per task list watches each
// cached file and its directory, and every notice raises a generation number. A cache keeps a
// snapshot (KoIniWatch) of the generations of its file and its directory; as long as both are
// unchanged after the pending notices were read, nothing happened to the file.
//
// Where notices cannot be trusted, watch() refuses and the caller checks with stat as before:
// the file is a symbolic link or lies under one, the file system is not a local one, the
// instance is out of watches, or notices are switched off (KO_INI_WATCH=0). A queue overflow
// makes every snapshot stale. A forked child never reads the parent's instance (it shares the
// parent's queue): it starts one of its own on first use.
//
// All calls are thread-safe (one mutex, innermost: nothing else is taken under it).
#pragma once

#include <cstdint>
#include "kolib/critical_section.h"
#include "kolib/ini_cache.h"

class KoIniWatcher : public KoObject {
public:
    // Null when inotify is unavailable or switched off, or memory runs out.
    static KoIniWatcher* create();
    ~KoIniWatcher() override;
    KoIniWatcher(const KoIniWatcher&) = delete;
    KoIniWatcher& operator=(const KoIniWatcher&) = delete;

    // Reads the pending notices, then watches `path`'s directory (and with `withFile` the file
    // too) and snapshots their generations into *watch, releasing what *watch held before.
    // False when the path cannot be watched reliably (*watch then holds nothing).
    bool watch(const char* path, bool withFile, KoIniWatch* watch);
    // Reads the pending notices; true when nothing happened to what *watch holds since it
    // was taken.
    bool unchanged(const KoIniWatch& watch);
    // The same for two snapshots, with one read of the notices.
    bool unchanged(const KoIniWatch& first, const KoIniWatch& second);
    // Gives up what *watch holds.
    void release(KoIniWatch* watch);
    // A snapshot that holds nothing.
    static void clear(KoIniWatch* watch);

private:
    struct Slot {
        int Wd;         // -1: free, or removed by the system
        uint32_t Users; // snapshots holding it
        uint64_t Generation;
    };
    enum { SLOTS = 64 };

    KoIniWatcher();
    bool restartIfForked();
    bool holdsUnchanged(const KoIniWatch& watch) const;
    void drain();
    void bump(int wd, bool removed);
    int hold(const char* path, uint32_t mask);
    void drop(int slot, int wd);

    KoCriticalSection Lock;
    int Fd;
    volatile int* ForkMark; // a page wiped in a forked child; null: compare the process id
    int Pid;
    uint64_t Counter;     // the last generation handed out
    uint64_t Epoch;       // raised by a queue overflow: every snapshot is stale
    uint64_t Incarnation; // raised when a forked child starts its own instance
    Slot Slots[SLOTS];
};
