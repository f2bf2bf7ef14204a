// The task's semaphore bookkeeping and the allocation of a KoSemaphore. KoSemaphoreInfo
// (per-task slot MDS_PER_TASK_SEM_INFO) records up to ten System V sets; a set's UseCount is
// the next number to hand out and only grows, LiveCount counts the set's semaphores still
// alive, and the set is given back whole when that reaches 0. The bookkeeping is not locked: allocations and frees
// within a task come from one thread at a time. The first allocation, normally the library's
// own static semaphore at load, reads the environment for the whole process.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <sys/ipc.h>
#include <sys/sem.h>
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/thread.h"
#include "core/lib_statics.h"
#include "os/semaphore_dump.h"

namespace {

// semctl's fourth argument, which the caller must define.
union SemaphoreControl {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
};

// Reads an environment value with a scanf format into *value; unset or unreadable leaves it.
template <typename T> void readSetting(const char* name, const char* format, T* value) {
    const char* text = bosGetEnv(name);
    T read;
    if (text && std::sscanf(text, format, &read) == 1) *value = read;
}

// "KO_SPIN_COUNT": a decimal count of tries; 0 counts as 1 (no tries at all would never take
// the lock), and anything that is not a whole non-negative number leaves the default.
void readSpinCount(int* value) {
    const char* text = bosGetEnv("KO_SPIN_COUNT");
    if (!text || *text < '0' || *text > '9') return;
    char* end = nullptr;
    errno = 0;
    long count = std::strtol(text, &end, 10);
    if (*end || errno || count > INT_MAX) return;
    *value = count ? static_cast<int>(count) : 1;
}

// The task's info object, made on first use; null if it cannot be made.
KoSemaphoreInfo* taskInfo() {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    if (info == reinterpret_cast<KoSemaphoreInfo*>(1)) return nullptr; // being made
    if (info) return info;
    bosPutPTaskSemInfo(reinterpret_cast<KoSemaphoreInfo*>(1));
    info = new KoSemaphoreInfo;
    bosPutPTaskSemInfo(info); // null again when out of memory: the next allocation retries
    return info;
}

bool hasRoom(const SemaSetInfo_st& set) {
    return set.SetID != 0 && set.UseCount < set.NumberOfSems;
}

} // namespace

KoSemaphoreInfo::KoSemaphoreInfo()
    : SemaSetInfo(), YieldTime(0), SpinCount(0), LimitUseCount(0), Debug(0), Initialized(false),
      NumberOfSets(0), Labels(nullptr), LiveCount() {}

KoSemaphoreInfo::~KoSemaphoreInfo() {
    ramFree(Labels);
}

void KoSemaphoreInfo::initialize() {
    int spinCount = KO_SEM_DEFAULT_SPIN_COUNT;
    int yieldTime = 0;
    unsigned long control = 0;
    readSpinCount(&spinCount);
    readSetting("KO_SPIN_SLEEP", "%d", &yieldTime);
    readSetting("KO_SEMCONTROL", "%lx", &control);
    SpinCount = static_cast<uint32_t>(spinCount);
    YieldTime = static_cast<uint32_t>(yieldTime);
    Debug = static_cast<uint32_t>(control);
    LimitUseCount = setLimit();
    Initialized = true;
    if (dumpsWanted()) Labels = koSemaphoreLoadDumpLabels();
}

void SemArray::GetSemaphore() {
    while (!bosMemLock(&lockMemory)) bosYieldThread(0);
}

void SemArray::FreeSemaphore() {
    bosMemUnLock(&lockMemory);
}

unsigned long SemArray::indexOf(const KoSemaphore* semaphore) const {
    unsigned long count = getCount();
    for (unsigned long i = 0; i < count; ++i)
        if (at(i) == semaphore) return i;
    return count;
}

unsigned KoSemaphore::makeSet(unsigned short index) {
    SemaSetInfo_st& record = InfoPtr->SemaSetInfo[index];
    unsigned long count = record.NumberOfSems ? record.NumberOfSems
                                              : static_cast<unsigned long>(KO_SEM_DEFAULT_SET_SIZE);
    if (InfoPtr->setLimit()) count = InfoPtr->setLimit();
    // Fewer and fewer semaphores down to one until the system grants a set: intended.
    // IPC_PRIVATE gives every set a fresh key of its own.
    errno = 0;
    int id = -1;
    bool zeroReturned = false;
    while (count > 0) {
        id = semget(IPC_PRIVATE, static_cast<int>(count), IPC_CREAT | IPC_EXCL | 0600);
        if (id > 0) break;
        if (id == 0) {
            // Identifier 0 means "no set" in the records: give that set back and ask once more
            // for as many (the system does not hand out 0 again soon).
            semctl(id, 0, IPC_RMID);
            if (!zeroReturned) {
                zeroReturned = true;
                continue;
            }
        }
        --count;
    }
    if (InfoPtr->Labels) koSemaphoreCreationDump(InfoPtr, id, count ? count : 1, errno);
    if (id <= 0) return 1;
    unsigned short ones[KO_SEMCONTROL_SET_SIZE + 1];
    for (unsigned long i = 0; i < count; ++i) ones[i] = 1;
    SemaphoreControl control;
    control.array = ones;
    semctl(id, 0, SETALL, control);
    record.NumberOfSems = static_cast<uint16_t>(count);
    record.UseCount = 0;
    record.SetID = static_cast<uint32_t>(id);
    InfoPtr->LiveCount[index] = 0;
    ++InfoPtr->NumberOfSets;
    return 0;
}

namespace {
// The task's set bookkeeping is shared by every thread that makes or frees a semaphore, so
// allocation and release run one at a time.
struct BookkeepingGuard {
    BookkeepingGuard() { SemaphoreBookLock.enter(); }
    ~BookkeepingGuard() { SemaphoreBookLock.leave(); }
};
} // namespace

void KoSemaphore::bosSemaphoreAlloc() {
    BookkeepingGuard guard;
    InfoPtr = taskInfo();
    if (!InfoPtr) {
        NoSpinLock = 0; // no bookkeeping: a spin lock with the default tuning
        SpinLock = 0;
        return;
    }
    if (!InfoPtr->Initialized) InfoPtr->initialize();

    KoSemaphoreInfo& info = *InfoPtr;
    bool room = false;
    for (const SemaSetInfo_st& set : info.SemaSetInfo) room = room || hasRoom(set);
    // A new set goes to record NumberOfSets; a record still in use there is never overwritten.
    if (info.realWanted() && !room && info.NumberOfSets < KO_SEM_MAX_SETS &&
        info.SemaSetInfo[info.NumberOfSets].SetID == 0)
        room = makeSet(info.NumberOfSets) == 0;

    // The object only ever takes the newest set, and its number is the set's UseCount, so a
    // number given back is not handed out again: intended. (Room left only in an older set
    // gives a spin lock.)
    SemaSetInfo_st* newest = info.NumberOfSets ? &info.SemaSetInfo[info.NumberOfSets - 1] : nullptr;
    if (room && newest && hasRoom(*newest)) {
        NoSpinLock = 1;
        SemaphoreSetID = newest->SetID;
        SemaphoreNumber = newest->UseCount++;
        ++info.LiveCount[info.NumberOfSets - 1];
    } else {
        NoSpinLock = 0;
        SpinLock = 0;
    }
    if (info.Labels) koSemaphoreFinalDump(this);
    info.SemaphoreList.add(this); // out of memory: the object works, just unlisted
}

void KoSemaphore::bosSemaphoreFree() {
    BookkeepingGuard guard;
    if (!InfoPtr) return;
    KoSemaphoreInfo& info = *InfoPtr;
    if (info.Labels) koSemaphoreReleaseDump(this);
    if (NoSpinLock) {
        // Counting the set's numbers back down, as older code did, would hand the next
        // allocation a number that a live semaphore still holds: two locks sharing one
        // semaphore, and a thread taking both waits for itself for ever.
        for (unsigned i = 0; i < KO_SEM_MAX_SETS; ++i) {
            SemaSetInfo_st& set = info.SemaSetInfo[i];
            if (set.SetID == 0 || set.SetID != SemaphoreSetID) continue;
            if (info.LiveCount[i]) --info.LiveCount[i];
            if (info.LiveCount[i] == 0) {
                set.UseCount = 0;
                semctl(static_cast<int>(set.SetID), 0, IPC_RMID);
                set.SetID = 0;
                set.NumberOfSems = 0;
                --info.NumberOfSets;
                if (info.setLimit()) ++info.LimitUseCount;
            }
            break;
        }
    }
    info.SemaphoreList.removeAtIndex(info.SemaphoreList.indexOf(this));
}
