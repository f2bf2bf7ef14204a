// KoCriticalSection: a POSIX mutex with default attributes and a switch that turns it off.
#include "kolib/critical_section.h"

KoCriticalSection::KoCriticalSection(int disabledFlag) : disabled(disabledFlag) {
    pthread_mutex_init(&mp, nullptr);
}

KoCriticalSection::~KoCriticalSection() {
    pthread_mutex_unlock(&mp);
    pthread_mutex_destroy(&mp);
}

void KoCriticalSection::disable() {
    pthread_mutex_unlock(&mp);
    disabled = 1;
}

void koDisableStaticCriticalSections() {}
