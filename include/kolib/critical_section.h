// A plain mutual-exclusion lock over a POSIX mutex, for process-wide static data.
// Not recursive. A disabled section makes enter and leave do nothing.
#pragma once

#include <pthread.h>
#include "kolib/object.h"

class KO_API KoCriticalSection : public KoObject {
public:
    explicit KoCriticalSection(int disabledFlag = 0);
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
    pthread_mutex_t mp;
};

// Exists for other platforms; does nothing here.
KO_API void koDisableStaticCriticalSections();
