// Load-time initialisation and unload. Every process-wide object with a constructor is
// defined here, in this one translation unit, so that C++ constructs them in exactly this
// order when the library is loaded and destroys them in the reverse order when it is unloaded:
//   1. MDS_PERTHREAD_LOCK            5. DBLIB_LOCK
//   2. VM_LOCK (the page cache)     6. BOS_RUNTIME_DEBUG, then BKOHINST = KOUTLHINST
//   3. MemoryError, DummyError       7. LIST_LOCK
//   4. SemaphoreBookLock, ExchangeThreadLock, ExchangeTaskLock   8. CritCatalog
// No other file may define a global with a non-trivial constructor.
#include <cstdio>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/semaphore.h"
#include "core/lib_statics.h"

const char* const KOUTLHINST = "kolib";
const char* BKOHINST = nullptr;

// 1.
KoCriticalSection MDS_PERTHREAD_LOCK(0);
// 2. Guards the making and release of the task's page cache.
KoCriticalSection VM_LOCK(0);
// 3.
KoError MemoryErrorStatic(ERR_MEMORY_ERROR);
KoError DummyErrorStatic(ERR_DUMMY_ERROR);
// 4. SemaphoreBookLock first: ExchangeTaskLock's allocation and release use it.
KoCriticalSection SemaphoreBookLock(0);
KoCriticalSection ExchangeThreadLock(0);
KoSemaphore ExchangeTaskLock(nullptr, nullptr);
// 5.
KoCriticalSection DBLIB_LOCK(0);
// 6.
KoRunTimeDebug BOS_RUNTIME_DEBUG;
namespace {
struct ModuleName {
    ModuleName() { BKOHINST = KOUTLHINST; }
} SetModuleName;
} // namespace
// 7.
KoCriticalSection LIST_LOCK(0);
// 8.
KoCriticalSection CritCatalog(0);

KoRunTimeDebug::KoRunTimeDebug() : Level(0) {
    if (!mdsIsTaskInit()) mdsPerTaskInit();
    const char* value = bosGetEnv("KO_DEBUGGING");
    unsigned long level = 0;
    // A value that is not hexadecimal leaves the mask at 0.
    if (value && std::sscanf(value, "%lx", &level) == 1) Level = static_cast<uint32_t>(level);
}
