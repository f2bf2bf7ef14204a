// KoSemaphore: acquire and release for both kinds of lock, and the lazy creation behind
// koSemaphoreEnter. A spin lock is bit 0 of SpinLock, taken with bosMemLock; a real one is
// semaphore SemaphoreNumber of System V set SemaphoreSetID, taken with semop and SEM_UNDO so
// that the system gives it back if the process dies while holding it.
#include <cerrno>
#include <sys/sem.h>
#include <unistd.h>
#include "kolib/semaphore.h"
#include "kolib/thread.h"

// ThreadSanitizer cannot see that semop orders memory between threads; tell it.
#if defined(__SANITIZE_THREAD__)
#define KO_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KO_TSAN 1
#endif
#endif
#ifdef KO_TSAN
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#define KO_TSAN_ACQUIRE(address) __tsan_acquire(address)
#define KO_TSAN_RELEASE(address) __tsan_release(address)
#else
#define KO_TSAN_ACQUIRE(address)
#define KO_TSAN_RELEASE(address)
#endif

namespace {
// semop with the result ignored, except that a call interrupted by a signal is repeated.
void semaphoreOperation(uint32_t setId, uint16_t number, short change) {
    struct sembuf operation;
    operation.sem_num = number;
    operation.sem_op = change;
    operation.sem_flg = SEM_UNDO;
    while (semop(static_cast<int>(setId), &operation, 1) != 0 && errno == EINTR) {
    }
}
} // namespace

KoSemaphore::KoSemaphore(KoSemaphore** owner, KoSemaphore* previous)
    : ThreadId(0), NoSpinLock(0), SpinLock(0), SemaphoreSetID(0), SemaphoreNumber(0),
      GPSemaphore(previous == KO_SEMAPHORE_DESTROYED ? owner : nullptr), InfoPtr(nullptr) {
    bosSemaphoreAlloc();
}

KoSemaphore::~KoSemaphore() {
    bosSemaphoreFree();
    if (GPSemaphore) *GPSemaphore = KO_SEMAPHORE_DESTROYED;
}

// Not recursive: a thread that enters twice waits for itself (intended).
void KoSemaphore::SemaphoreEnter() {
    if (NoSpinLock)
        SemaphoreGet();
    else
        bosSpinLock();
}

void KoSemaphore::SemaphoreExit() {
    if (NoSpinLock)
        SemaphoreFree();
    else
        bosMemUnLock(&SpinLock);
}

void KoSemaphore::SemaphoreGet() {
    semaphoreOperation(SemaphoreSetID, SemaphoreNumber, -1);
    KO_TSAN_ACQUIRE(this);
    ThreadId = bosGetThreadID();
}

void KoSemaphore::SemaphoreFree() {
    ThreadId = 0;
    KO_TSAN_RELEASE(this);
    semaphoreOperation(SemaphoreSetID, SemaphoreNumber, +1);
}

void KoSemaphore::bosSpinLock() {
    unsigned long spinCount =
        InfoPtr ? InfoPtr->SpinCount : static_cast<unsigned long>(KO_SEM_DEFAULT_SPIN_COUNT);
    unsigned long yieldTime = InfoPtr ? InfoPtr->YieldTime : 0;
    for (;;) {
        for (unsigned long i = 0; i < spinCount; ++i) {
            if (bosMemLock(&SpinLock)) {
                ThreadId = bosGetThreadID();
                return;
            }
            // A whole second after every failed try, so "KO_SPIN_SLEEP" has no effect on the
            // waiting time: intended.
            sleep(1);
        }
        SleepDispatch(yieldTime);
        bosSemaphoreReclamation();
    }
}

void KoSemaphore::SleepDispatch(unsigned long time) {
    bosYieldThread(time);
}

void koSemaphoreEnter(KoSemaphore** semaphore) {
    KoSemaphore* held = *semaphore;
    if (held == nullptr || held == KO_SEMAPHORE_DESTROYED) {
        // Marker 1 makes enter and exit no-ops while the object is built, because building it
        // may itself take locks: intended.
        *semaphore = KO_SEMAPHORE_CREATING;
        KoSemaphore* made = new KoSemaphore(semaphore, held);
        *semaphore = made ? made : held;
        if (!made) return; // out of memory: nothing to lock
    }
    held = *semaphore;
    if (held != KO_SEMAPHORE_CREATING && held != KO_SEMAPHORE_DESTROYED) held->SemaphoreEnter();
}

void koSemaphoreExit(KoSemaphore** semaphore) {
    KoSemaphore* held = *semaphore;
    if (held && held != KO_SEMAPHORE_CREATING && held != KO_SEMAPHORE_DESTROYED)
        held->SemaphoreExit();
}
