// A plain mutual-exclusion lock over a POSIX mutex, for process-wide static data.
// Not recursive. A disabled section makes enter and leave do nothing.
#pragma once

#include <pthread.h>
#include "kolib/object.h"

class KO_API KoCriticalSection : public KoObject {
public:
    // Stores the flag; the mutex is initialised with default attributes. The constructor is
    // constexpr so that the library's static sections are ready before any load-time code
    // runs, whatever the order of the static constructors.
    constexpr explicit KoCriticalSection(int disabledFlag = 0) : disabled(disabledFlag) {}
    ~KoCriticalSection() override; // unlocks and destroys the mutex
    KoCriticalSection(const KoCriticalSection&) = delete;
    KoCriticalSection& operator=(const KoCriticalSection&) = delete;

    void enter() {
        if (!disabled) pthread_mutex_lock(&mp);
    }
    void leave() {
        if (!disabled) pthread_mutex_unlock(&mp);
    }
    // Unlocks the mutex and stops locking from now on.
    void disable();
    int isDisabled() const { return disabled; }

    int disabled;
    pthread_mutex_t mp = PTHREAD_MUTEX_INITIALIZER;
};

// Exists for other platforms; does nothing here.
KO_API void koDisableStaticCriticalSections();
