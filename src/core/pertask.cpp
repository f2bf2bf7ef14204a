// Per-task data: on this platform the task is the process, so the slot table is one
// process-wide array of pointers, read and written without a lock.
#include "kolib/frame.h"
#include "core/lib_statics.h"

namespace {
void* MDS_PER_TASK_GLOBALS[MDS_LAST_PER_TASK_ENTRY]; // all zero at load
}

extern "C" void BosLibMain() {}

int mdsPerTaskInit() {
    return 1;
}
void mdsPerTaskTerm() {}
int mdsIsTaskInit() {
    return 1;
}

void* mdsGetPerTaskData(PerTaskData slot) {
    return MDS_PER_TASK_GLOBALS[slot];
}
void** mdsGetPerTaskDataAddress(PerTaskData slot) {
    return &MDS_PER_TASK_GLOBALS[slot];
}
void mdsSetPerTaskData(PerTaskData slot, const void* value) {
    MDS_PER_TASK_GLOBALS[slot] = const_cast<void*>(value);
}

KoSemaphoreInfo* bosGetPTaskSemInfo() {
    return static_cast<KoSemaphoreInfo*>(mdsGetPerTaskData(MDS_PER_TASK_SEM_INFO));
}
void bosPutPTaskSemInfo(KoSemaphoreInfo* info) {
    mdsSetPerTaskData(MDS_PER_TASK_SEM_INFO, info);
}
KoIniFileCacheList* bosGetPTaskIniList() {
    return static_cast<KoIniFileCacheList*>(mdsGetPerTaskData(MDS_PER_TASK_INI_LIST));
}
void bosPutPTaskIniList(KoIniFileCacheList* list) {
    mdsSetPerTaskData(MDS_PER_TASK_INI_LIST, list);
}

unsigned short countDBLibInits(unsigned short increment) {
    DBLIB_LOCK.enter();
    unsigned long count = reinterpret_cast<unsigned long>(mdsGetPerTaskData(MDS_DBLIB_COUNT));
    unsigned short result;
    if (increment) {
        result = static_cast<unsigned short>(count);
        ++count;
    } else {
        --count; // no check against going below 0: kept on purpose
        result = static_cast<unsigned short>(count);
    }
    mdsSetPerTaskData(MDS_DBLIB_COUNT, reinterpret_cast<void*>(count));
    DBLIB_LOCK.leave();
    return result;
}
