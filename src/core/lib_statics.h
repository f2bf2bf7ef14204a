// The process-wide lock objects and static errors. They are all defined in libinit.cpp, in
// load order, so that construction and destruction order is fixed.
#pragma once

#include "kolib/critical_section.h"

class KoError;
class KoSemaphore;

extern KoCriticalSection MDS_PERTHREAD_LOCK; // the per-thread record list
extern KoCriticalSection VM_LOCK;            // making and releasing the page cache
extern KoError MemoryErrorStatic;            // "Out Of Memory", number 30190
extern KoError DummyErrorStatic;             // the sink error
extern KoCriticalSection SemaphoreBookLock;  // KoSemaphore set bookkeeping of the task
extern KoCriticalSection ExchangeThreadLock; // atomicThreadExchange
extern KoSemaphore ExchangeTaskLock;         // atomicTaskExchange
extern KoCriticalSection DBLIB_LOCK;         // countDBLibInits
extern KoCriticalSection LIST_LOCK;          // the region-lock list
extern KoCriticalSection CritCatalog;        // message-catalogue look-ups
