// Per-thread data: a singly linked list of KoThreadInfo records, head in per-task slot
// MDS_THREAD_INFO_LIST, guarded by MDS_PERTHREAD_LOCK. Records are never freed while the
// library is loaded, so a record found under the lock may be used after leaving it; only the
// owning thread touches its UseCount and slots.
#include <cstring>
#include "kolib/frame.h"
#include "kolib/thread.h"
#include "core/lib_statics.h"

KoThreadInfo::KoThreadInfo(unsigned long threadId) : Next(nullptr) {
    initialize(threadId);
}

KoThreadInfo::~KoThreadInfo() {}

void KoThreadInfo::initialize(unsigned long threadId) {
    std::memset(Globals, 0, sizeof Globals);
    ThreadID = threadId;
    setDeleted(0);
}

namespace {
KoThreadInfo* listHead() {
    return static_cast<KoThreadInfo*>(mdsGetPerTaskData(MDS_THREAD_INFO_LIST));
}

// The calling thread's live record, or null.
KoThreadInfo* getThreadInfo() {
    unsigned long id = bosGetThreadID();
    MDS_PERTHREAD_LOCK.enter();
    KoThreadInfo* info = listHead();
    while (info && !info->isThread(id)) info = info->Next;
    MDS_PERTHREAD_LOCK.leave();
    return info;
}
} // namespace

int mdsPerThreadInit() {
    unsigned long id = bosGetThreadID();
    KoThreadInfo* info = getThreadInfo();
    if (info) {
        info->incrementCount();
        return 1;
    }
    MDS_PERTHREAD_LOCK.enter();
    KoThreadInfo* head = listHead();
    if (!head) {
        info = new KoThreadInfo(id);
        if (info) mdsSetPerTaskData(MDS_THREAD_INFO_LIST, info);
    } else {
        // The last record is never examined for reuse, even when deleted: a new record is
        // appended behind it instead. This asymmetry is intended.
        KoThreadInfo* rec = head;
        while (rec->Next) {
            if (rec->isDeleted()) {
                rec->initialize(id);
                MDS_PERTHREAD_LOCK.leave();
                return 1;
            }
            rec = rec->Next;
        }
        info = new KoThreadInfo(id);
        if (info) rec->Next = info;
    }
    MDS_PERTHREAD_LOCK.leave();
    return info ? 1 : 0;
}

void mdsPerThreadTerm() {
    KoThreadInfo* info = getThreadInfo();
    if (info) info->decrementCount();
}

void* mdsGetPerThreadData(PerThreadData slot) {
    KoThreadInfo* info = getThreadInfo();
    return info ? info->getThreadData(slot) : nullptr;
}

void mdsSetPerThreadData(PerThreadData slot, const void* value) {
    getThreadInfo()->setThreadData(slot, value);
}

void** mdsGetPerThreadDataAddress(PerThreadData slot) {
    return getThreadInfo()->getThreadDataAddress(slot);
}
