// The library frame: per-task slots (process-wide on this platform), per-thread slots with
// the registration of threads, the run-time debug mask and the client-library counter.
#pragma once

#include <cstdint>
#include "kolib/export.h"
#include "kolib/object.h"

enum PerTaskData {
    MDS_MEMORY_LIST = 0,
    MDS_DBLIB_COUNT = 1,
    MDS_KOLIB_ENTRY = 2,
    MDS_SQLBASE_CONNECTS = 3,
    MDS_VM_PTR = 4,
    MDS_DBM_CONNECT_COUNT = 5,
    MDS_ODBC_WORKAROUND = 6,
    MDS_ODBC_WORKAROUND_HINST = 7,
    MDS_ODBC_CLIENT_INFO = 8,
    MDS_ODBC_HENV_COUNT = 9,
    MDS_ODBC_PER_PROCESS_DATA = 10,
    MDS_PER_TASK_SEM_INFO = 11,
    MDS_PER_TASK_INI_LIST = 12,
    MDS_THREAD_INFO_LIST = 13,
    MDS_PRO_HDBC_COUNT = 14,
    MDS_PRO_LOGGED_IN = 15,
    MDS_PERTASK_GENERIC1 = 16,
    MDS_PERTASK_GENERIC2 = 17,
    MDS_LAST_PER_TASK_ENTRY = 18
};

enum PerThreadData {
    MDS_ERROR_KEEPER = 0,
    MDS_KOLIB_THREAD_ENTRY = 1,
    MDS_INF72_CURRENT_STMT = 2,
    MDS_VESTA_ERROR_INFO = 3,
    MDS_PERTHREAD_GENERIC1 = 4,
    MDS_PERTHREAD_GENERIC2 = 5,
    MDS_UNICODE_INFO = 6,
    MDS_LAST_PER_THREAD_ENTRY = 7
};

class KoSemaphoreInfo;
class KoIniFileCacheList;

// The library's nominal entry point; does nothing.
extern "C" KO_API void BosLibMain();

// Per-task data. On this platform the task is the process; no locking.
KO_API int mdsPerTaskInit();  // always 1
KO_API void mdsPerTaskTerm(); // nothing
KO_API int mdsIsTaskInit();   // always 1
KO_API void* mdsGetPerTaskData(PerTaskData slot);
KO_API void** mdsGetPerTaskDataAddress(PerTaskData slot);
KO_API void mdsSetPerTaskData(PerTaskData slot, const void* value);
KO_API KoSemaphoreInfo* bosGetPTaskSemInfo();
KO_API void bosPutPTaskSemInfo(KoSemaphoreInfo* info);
KO_API KoIniFileCacheList* bosGetPTaskIniList();
KO_API void bosPutPTaskIniList(KoIniFileCacheList* list);

// Counts client-library initialisations in slot MDS_DBLIB_COUNT under DBLIB_LOCK. A non-zero
// increment stores count + 1 and returns the old count; zero stores count - 1 and returns the
// new count. Results are cut to 16 bits; there is no check against going below 0.
KO_API unsigned short countDBLibInits(unsigned short increment);

// Per-thread data.
// Registers the calling thread (registrations nest). 1 once the thread has a live record,
// 0 if a record could not be allocated.
KO_API int mdsPerThreadInit();
// Releases one registration of the calling thread.
KO_API void mdsPerThreadTerm();
// The slot's value, or 0 when the calling thread has no live record.
KO_API void* mdsGetPerThreadData(PerThreadData slot);
// These two require a registered calling thread and do not test for it.
KO_API void mdsSetPerThreadData(PerThreadData slot, const void* value);
KO_API void** mdsGetPerThreadDataAddress(PerThreadData slot);

// One record per thread that ever registered. Records are never freed while the library is
// loaded; a record whose UseCount is 0 is "deleted" and may be taken over by another thread.
class KO_API KoThreadInfo : public KoObject {
public:
    explicit KoThreadInfo(unsigned long threadId);
    ~KoThreadInfo() override;

    void initialize(unsigned long threadId);
    void* getThreadData(PerThreadData slot) const { return Globals[slot]; }
    void setThreadData(PerThreadData slot, const void* value) {
        Globals[slot] = const_cast<void*>(value);
    }
    void** getThreadDataAddress(PerThreadData slot) { return &Globals[slot]; }
    // UseCount is read by other threads walking the list under MDS_PERTHREAD_LOCK while the
    // owner counts it up and down without the lock, so every access is a relaxed atomic.
    int isThread(unsigned long threadId) const {
        return getUseCount() != 0 && ThreadID == threadId;
    }
    int isDeleted() const { return getUseCount() == 0; }
    void setDeleted(unsigned flag) {
        __atomic_store_n(&UseCount, flag ? 0u : 1u, __ATOMIC_RELAXED);
    }
    void incrementCount() { __atomic_fetch_add(&UseCount, 1u, __ATOMIC_RELAXED); }
    void decrementCount() {
        if (getUseCount()) __atomic_fetch_sub(&UseCount, 1u, __ATOMIC_RELAXED);
    }
    uint32_t getUseCount() const { return __atomic_load_n(&UseCount, __ATOMIC_RELAXED); }

    KoThreadInfo* Next;
    unsigned long ThreadID; // pointer width: holds a pthread_t
    void* Globals[MDS_LAST_PER_THREAD_ENTRY];
    uint32_t UseCount;
};

// The run-time debug switch; the single instance BOS_RUNTIME_DEBUG reads "KO_DEBUGGING"
// (hexadecimal) at load.
class KO_API KoRunTimeDebug {
public:
    KoRunTimeDebug();
    ~KoRunTimeDebug() {}
    // The bits of `bits` that are set in the mask: non-zero means "print your trace lines".
    unsigned long debugItem(unsigned long bits) const { return bits & Level; }

    uint32_t Level;
};

// Debug mask bits.
enum {
    KO_DEBUG_FILE_OPEN = 0x0001,
    KO_DEBUG_LOCATE_FILE = 0x0002,
    KO_DEBUG_LOAD_LIBRARY = 0x0004,
    KO_DEBUG_LOAD_STRING = 0x0008,
    KO_DEBUG_PROFILE_WRITE = 0x0010,
    KO_DEBUG_PROFILE_READ = 0x0020,
    KO_DEBUG_INI_OPEN = 0x0080,
    KO_DEBUG_EXIST = 0x0100,
    KO_DEBUG_FIND_FILES = 0x0200,
    KO_DEBUG_PATH = 0x0400,
    KO_DEBUG_DIALOG = 0x0800 // the texts of message boxes that the stubs do not show
};

extern KO_API KoRunTimeDebug BOS_RUNTIME_DEBUG;
// The library's own module name: base name of its message catalogue.
extern KO_API const char* const KOUTLHINST;
// The catalogue domain passed to LoadString for the library's own messages.
extern KO_API const char* BKOHINST;
