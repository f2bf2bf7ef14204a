// KoIniWatcher: inotify notices for the cached configuration files. Slots map watch
// descriptors to generation numbers; a notice raises its slot's generation to a fresh value
// of one counter, so a snapshot can never match a slot that was freed and taken again.
#include "config/ini_watch.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include "kolib/files.h"

namespace {

const uint32_t FILE_MASK = IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_DONT_FOLLOW;
const uint32_t DIR_MASK = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF |
                          IN_MOVE_SELF | IN_ONLYDIR;

// Local file systems, where every change passes through this kernel and so is noticed.
bool localFileSystem(const char* directory) {
    static const uint32_t LOCAL[] = {
        0xEF53,     // ext2, ext3, ext4
        0x58465342, // xfs
        0x9123683E, // btrfs
        0x01021994, // tmpfs
        0x858458F6, // ramfs
        0x794C7630, // overlay
        0xF2F52010, // f2fs
        0x2FC12FC1, // zfs
    };
    struct statfs info;
    if (statfs(directory, &info) != 0) return false;
    // f_type is a 32-bit word on 32-bit systems: compare its low 32 bits.
    for (uint32_t type : LOCAL)
        if (static_cast<uint32_t>(info.f_type) == type) return true;
    return false;
}

// True when `path` is absolute, names no symbolic link, and its directory is its own real
// path: then notices on the two inodes cover every way the name can change. *directory gets
// the directory part.
bool watchable(const char* path, char* directory) {
    if (path[0] != '/') return false;
    const char* slash = std::strrchr(path, '/');
    std::size_t length = static_cast<std::size_t>(slash - path);
    if (length >= PATH_MAX) return false;
    std::memcpy(directory, path, length);
    directory[length ? length : 1] = '\0';
    if (!length) directory[0] = '/';
    struct stat info;
    if (lstat(path, &info) == 0 && S_ISLNK(info.st_mode)) return false;
    char real[PATH_MAX];
    if (!realpath(directory, real) || std::strcmp(real, directory) != 0) return false;
    return localFileSystem(directory);
}

} // namespace

KoIniWatcher::KoIniWatcher()
    : Lock(0), Fd(-1), ForkMark(nullptr), Pid(0), Counter(0), Epoch(0), Incarnation(0) {
    for (Slot& slot : Slots) slot = Slot{-1, 0, 0};
}

KoIniWatcher* KoIniWatcher::create() {
    const char* setting = bosGetEnv("KO_INI_WATCH");
    if (setting && std::strcmp(setting, "0") == 0) return nullptr;
    KoIniWatcher* watcher = new KoIniWatcher;
    if (!watcher) return nullptr;
    watcher->Fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watcher->Fd < 0) {
        delete watcher;
        return nullptr;
    }
    // A page that a fork hands to the child zeroed: the child's cue to start its own instance
    // without a system call per look-up. Without it, the process id tells.
    void* page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page != MAP_FAILED && madvise(page, 4096, MADV_WIPEONFORK) == 0) {
        watcher->ForkMark = static_cast<volatile int*>(page);
        *watcher->ForkMark = 1;
    } else {
        if (page != MAP_FAILED) munmap(page, 4096);
        watcher->Pid = static_cast<int>(getpid());
    }
    return watcher;
}

KoIniWatcher::~KoIniWatcher() {
    if (Fd >= 0) close(Fd);
    if (ForkMark) munmap(const_cast<int*>(ForkMark), 4096);
}

void KoIniWatcher::clear(KoIniWatch* watch) {
    *watch = KoIniWatch{-1, -1, -1, -1, 0, 0, 0, 0};
}

bool KoIniWatcher::restartIfForked() {
    bool forked = ForkMark ? *ForkMark == 0 : static_cast<int>(getpid()) != Pid;
    if (!forked) return false;
    // The inherited descriptor shares the parent's queue: reading it would steal the
    // parent's notices. Close our copy and start afresh; every snapshot is stale.
    if (Fd >= 0) close(Fd);
    Fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    for (Slot& slot : Slots) slot = Slot{-1, 0, 0};
    ++Incarnation;
    ++Epoch;
    if (ForkMark)
        *ForkMark = 1;
    else
        Pid = static_cast<int>(getpid());
    return true;
}

void KoIniWatcher::bump(int wd, bool removed) {
    for (Slot& slot : Slots)
        if (slot.Wd == wd) {
            slot.Generation = ++Counter;
            if (removed) slot.Wd = -1; // the system dropped the watch; holders still count
            return;
        }
}

void KoIniWatcher::drain() {
    if (Fd < 0) return;
    alignas(inotify_event) char buffer[4096];
    for (;;) {
        ssize_t length = read(Fd, buffer, sizeof buffer);
        if (length <= 0) return; // EAGAIN: nothing pending
        for (ssize_t at = 0; at < length;) {
            const inotify_event* event = reinterpret_cast<const inotify_event*>(buffer + at);
            if (event->mask & IN_Q_OVERFLOW)
                ++Epoch;
            else
                bump(event->wd, (event->mask & IN_IGNORED) != 0);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

int KoIniWatcher::hold(const char* path, uint32_t mask) {
    int wd = inotify_add_watch(Fd, path, mask);
    if (wd < 0) return -1;
    int free = -1;
    for (int i = 0; i < SLOTS; ++i) {
        if (Slots[i].Wd == wd) {
            ++Slots[i].Users;
            return i;
        }
        if (free < 0 && Slots[i].Wd == -1 && Slots[i].Users == 0) free = i;
    }
    if (free < 0) {
        inotify_rm_watch(Fd, wd); // no slot refers to it
        return -1;
    }
    Slots[free] = Slot{wd, 1, ++Counter};
    return free;
}

void KoIniWatcher::drop(int index, int wd) {
    if (index < 0 || index >= SLOTS) return;
    Slot& slot = Slots[index];
    if ((slot.Wd != wd && slot.Wd != -1) || slot.Users == 0) return;
    if (--slot.Users == 0 && slot.Wd != -1) {
        inotify_rm_watch(Fd, slot.Wd);
        slot.Wd = -1;
    }
}

bool KoIniWatcher::watch(const char* path, bool withFile, KoIniWatch* watch) {
    char directory[PATH_MAX];
    bool reliable = path && watchable(path, directory);
    Lock.enter();
    restartIfForked();
    drain();
    KoIniWatch old = *watch;
    clear(watch);
    bool ok = false;
    if (reliable && Fd >= 0) {
        int dirSlot = hold(directory, DIR_MASK);
        int fileSlot = withFile && dirSlot >= 0 ? hold(path, FILE_MASK) : -1;
        ok = dirSlot >= 0 && (!withFile || fileSlot >= 0);
        if (ok) {
            *watch = KoIniWatch{fileSlot,
                                dirSlot,
                                fileSlot >= 0 ? Slots[fileSlot].Wd : -1,
                                Slots[dirSlot].Wd,
                                fileSlot >= 0 ? Slots[fileSlot].Generation : 0,
                                Slots[dirSlot].Generation,
                                Epoch,
                                Incarnation};
        } else {
            if (dirSlot >= 0) drop(dirSlot, Slots[dirSlot].Wd);
        }
    }
    // Released after the new hold, so a watch both share is not removed and added again.
    if (old.Incarnation == Incarnation) {
        drop(old.FileSlot, old.FileWd);
        drop(old.DirSlot, old.DirWd);
    }
    Lock.leave();
    return ok;
}

bool KoIniWatcher::holdsUnchanged(const KoIniWatch& watch) const {
    auto same = [this](int index, int wd, uint64_t generation) {
        return Slots[index].Wd == wd && Slots[index].Generation == generation;
    };
    return watch.DirSlot >= 0 && watch.Incarnation == Incarnation && watch.Epoch == Epoch &&
           same(watch.DirSlot, watch.DirWd, watch.DirGeneration) &&
           (watch.FileSlot < 0 || same(watch.FileSlot, watch.FileWd, watch.FileGeneration));
}

bool KoIniWatcher::unchanged(const KoIniWatch& watch) {
    if (watch.DirSlot < 0) return false;
    Lock.enter();
    restartIfForked();
    drain();
    bool result = holdsUnchanged(watch);
    Lock.leave();
    return result;
}

bool KoIniWatcher::unchanged(const KoIniWatch& first, const KoIniWatch& second) {
    if (first.DirSlot < 0 || second.DirSlot < 0) return false;
    Lock.enter();
    restartIfForked();
    drain();
    bool result = holdsUnchanged(first) && holdsUnchanged(second);
    Lock.leave();
    return result;
}

void KoIniWatcher::release(KoIniWatch* watch) {
    Lock.enter();
    if (watch->Incarnation == Incarnation && !restartIfForked()) {
        drop(watch->FileSlot, watch->FileWd);
        drop(watch->DirSlot, watch->DirWd);
    }
    clear(watch);
    Lock.leave();
}
