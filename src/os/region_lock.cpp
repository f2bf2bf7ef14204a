// bosRegionLock: POSIX write locks on byte regions plus the process-wide list of regions held
// by this process's threads. POSIX record locks belong to the process, so without the list a
// second thread would be granted a region its sibling holds; with it, such a request fails as
// if another process held the region. The list is guarded by LIST_LOCK, held only for the
// walk and the update; the fcntl call happens before it is entered.
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include "../core/lib_statics.h"
#include "kolib/errors.h"
#include "kolib/memory.h"
#include "kolib/region_lock.h"
#include "kolib/thread.h"

namespace {

struct locked_region {
    unsigned long tid;
    uint32_t inode;
    uint64_t device;
    uint32_t start;
    uint32_t len; // 0: to the end of the file and beyond
    uint32_t count;
    locked_region* prev;
    locked_region* next;
};

// The sentinel: `next` is the first record, `count` the number of records. Constant-
// initialised, so it is ready before any load-time code runs.
locked_region RegionList = {0, 0, 0, 0, 0, 0, nullptr, nullptr};

// Two regions overlap when each starts before the other ends; length 0 never ends. This
// also catches a request that lies wholly inside a held region.
bool overlaps(const locked_region* r, uint32_t start, uint32_t len) {
    uint64_t requestEnd = static_cast<uint64_t>(start) + len;
    uint64_t recordEnd = static_cast<uint64_t>(r->start) + r->len;
    return (len == 0 || r->start < requestEnd) && (r->len == 0 || start < recordEnd);
}

void unlinkRecord(locked_region* r) {
    if (r->prev) r->prev->next = r->next;
    if (r->next) r->next->prev = r->prev;
    --RegionList.count;
    ramFree(r);
}

// Called under LIST_LOCK.
void forget(unsigned long tid, uint32_t inode, uint64_t device, uint32_t start, uint32_t len) {
    for (locked_region* r = RegionList.next; r; r = r->next) {
        if (r->tid != tid || r->inode != inode || r->device != device || r->start != start ||
            r->len != len)
            continue;
        if (--r->count == 0) unlinkRecord(r);
        return;
    }
}

// Called under LIST_LOCK; returns 0 or the number of the error to report once it is left.
unsigned short remember(unsigned long tid, uint32_t inode, uint64_t device, uint32_t start,
                        uint32_t len) {
    for (locked_region* r = RegionList.next; r; r = r->next) {
        if (r->inode != inode || r->device != device || !overlaps(r, start, len)) continue;
        if (r->tid != tid) return 1512;
        if (r->start == start && r->len == len) {
            ++r->count;
            return 0;
        }
    }
    locked_region* r = static_cast<locked_region*>(ramMalloc(sizeof(locked_region)));
    if (!r) return 1503;
    *r = {tid, inode, device, start, len, 1, &RegionList, RegionList.next};
    if (RegionList.next) RegionList.next->prev = r;
    RegionList.next = r;
    ++RegionList.count;
    return 0;
}

} // namespace

unsigned bosRegionLock(int fd, unsigned short unlock, unsigned long start, unsigned long len) {
    if (fd == 0) return 0;
    struct flock lock;
    std::memset(&lock, 0, sizeof lock);
    lock.l_type = unlock ? F_UNLCK : F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(static_cast<uint32_t>(start));
    lock.l_len = static_cast<off_t>(static_cast<uint32_t>(len));
    if (fcntl(fd, F_SETLK, &lock) != 0) {
        // Another process's lock (EACCES would read "access denied") is reported as a held
        // region.
        if (errno == EACCES || errno == EAGAIN)
            addError(1512);
        else
            bosMapError(static_cast<unsigned short>(errno), nullptr);
        return 1;
    }
    struct stat info;
    if (fstat(fd, &info) != 0) {
        bosMapError(static_cast<unsigned short>(errno), nullptr);
        return 1;
    }
    unsigned long tid = bosGetThreadID();
    uint32_t inode = static_cast<uint32_t>(info.st_ino);
    uint64_t device = static_cast<uint64_t>(info.st_dev);
    LIST_LOCK.enter();
    unsigned short error = 0;
    if (unlock)
        forget(tid, inode, device, static_cast<uint32_t>(start), static_cast<uint32_t>(len));
    else
        error =
            remember(tid, inode, device, static_cast<uint32_t>(start), static_cast<uint32_t>(len));
    LIST_LOCK.leave();
    if (!error) return 0;
    addError(error);
    return 1;
}

unsigned long bosRegionLockCount() {
    LIST_LOCK.enter();
    unsigned long count = RegionList.count;
    LIST_LOCK.leave();
    return count;
}
