// KoCriticalSection: a POSIX mutex with default attributes and a switch that turns it off.
// Destruction and disable() release the mutex whether or not it is held: the trylock first
// makes sure that the unlock always releases a mutex that is actually locked.
#include "kolib/critical_section.h"

namespace {
// Leaves the mutex unlocked: takes it if it is free, then releases it.
void release(pthread_mutex_t* mutex) {
    pthread_mutex_trylock(mutex);
    pthread_mutex_unlock(mutex);
}
} // namespace

KoCriticalSection::~KoCriticalSection() {
    release(&mp);
    pthread_mutex_destroy(&mp);
}

void KoCriticalSection::disable() {
    release(&mp);
    disabled = 1;
}

void koDisableStaticCriticalSections() {}
