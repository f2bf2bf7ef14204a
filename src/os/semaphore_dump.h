// The diagnostic dumps of the semaphore layer (control-word switch 0x10000). Their labels
// come from the library's message catalogue, loaded once per process into the task's
// KoSemaphoreInfo; every dump is framed by a banner of 40 '*' and flushes standard output.
#pragma once

#include "kolib/semaphore.h"

// Loads the labels (catalogue numbers 1525 to 1538); null when memory runs out.
KoSemaphoreDumpLabels* koSemaphoreLoadDumpLabels();
// After an attempt to make a set: what was asked for, the identifier semget returned and
// the errno it left (0: none).
void koSemaphoreCreationDump(const KoSemaphoreInfo* info, long setId, unsigned long count,
                             int error);
// After an allocation: the object's address and the kind of lock it got.
void koSemaphoreFinalDump(const KoSemaphore* semaphore);
// Before a release.
void koSemaphoreReleaseDump(const KoSemaphore* semaphore);
