// Thread functions: identity, yielding and the atomic bit lock under every spin lock.
#include <pthread.h>
#include <sched.h>
#include "kolib/thread.h"

unsigned long bosGetThreadID() {
    return static_cast<unsigned long>(pthread_self());
}

void bosYieldThread(unsigned long) {
    sched_yield();
}

unsigned bosCreateThread(void (*)(void*), void*, unsigned long) {
    return 1;
}

int bosMemLock(uint32_t* word) {
    uint32_t old = __atomic_fetch_or(word, 1u, __ATOMIC_ACQUIRE);
    return (old & 1u) == 0;
}

void bosMemUnLock(uint32_t* word) {
    __atomic_fetch_and(word, ~1u, __ATOMIC_RELEASE);
}
