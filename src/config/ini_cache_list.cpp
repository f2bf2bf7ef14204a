// KoIniFileCacheList: the task's open configuration caches, shared by resolved path and
// counted. Created by the first caller that needs it and kept in the per-task slot; the slot
// is filled with a compare-and-swap so two first callers agree on one list.
#include <cstdio>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/locate.h"
#include "ini_names.h"
#include "ini_watch.h"

namespace {
void applyCompatibleMode(KoIniFileCacheList* list, int mode);
}

KoIniFileCacheList::KoIniFileCacheList()
    : Semaphore(nullptr, nullptr), Watcher(KoIniWatcher::create()), CompatibleMode(0),
      Names(nullptr) {
    applyCompatibleMode(this, -1);
}

KoIniFileCacheList::~KoIniFileCacheList() {
    for (unsigned long i = 0; i < List.getCount(); ++i) delete List.at(i);
    List.reset();
    koIniForgetNames(this);
    delete Watcher;
}

KoIniFileCacheList* KoIniFileCacheList::getTaskList() {
    void** slot = mdsGetPerTaskDataAddress(MDS_PER_TASK_INI_LIST);
    void* current = __atomic_load_n(slot, __ATOMIC_ACQUIRE);
    if (current) return static_cast<KoIniFileCacheList*>(current);
    KoIniFileCacheList* made = new KoIniFileCacheList;
    if (!made) {
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    void* expected = nullptr;
    if (__atomic_compare_exchange_n(slot, &expected, made, false, __ATOMIC_ACQ_REL,
                                    __ATOMIC_ACQUIRE))
        return made;
    delete made; // another thread was first
    return static_cast<KoIniFileCacheList*>(expected);
}

KoIniFileCache* KoIniFileCacheList::open(const char* name) {
    if (!name) return nullptr;
    char path[BOS_PATH_BUFFER_SIZE];
    if (std::strlen(name) >= sizeof path) return nullptr;
    Semaphore.SemaphoreEnter();
    if (koIniRecallName(this, name, path) != 0) {
        Semaphore.SemaphoreExit();
        if (koIniResolveName(this, name, path)) return nullptr;
        Semaphore.SemaphoreEnter();
    }
    for (unsigned long i = 0; i < List.getCount(); ++i) {
        KoIniFileCache* cache = static_cast<KoIniFileCache*>(List.at(i));
        if (cache->isThisFile(path)) {
            cache->incrementUseCount();
            Semaphore.SemaphoreExit();
            return cache;
        }
    }
    KoIniFileCache* cache = new KoIniFileCache(name);
    if (!cache) {
        KoErrorKeeper::addMemoryError();
    } else if (add(cache)) {
        delete cache;
        cache = nullptr;
    }
    Semaphore.SemaphoreExit();
    return cache;
}

void KoIniFileCacheList::close(KoIniFileCache* cache) {
    if (!cache) return;
    Semaphore.SemaphoreEnter();
    cache->decrementUseCount();
    if (cache->getUseCount() == 0) {
        remove(cache);
        delete cache;
    }
    Semaphore.SemaphoreExit();
}

unsigned KoIniFileCacheList::add(KoIniFileCache* cache) {
    cache->Watcher = Watcher;
    return List.add(cache);
}

void KoIniFileCacheList::remove(KoIniFileCache* cache) {
    for (unsigned long i = 0; i < List.getCount(); ++i)
        if (List.at(i) == cache) {
            List.removeAtIndex(i);
            return;
        }
}

namespace {
// -1: as KO_INI_COMPAT says now.
void applyCompatibleMode(KoIniFileCacheList* list, int mode) {
    if (mode < 0) {
        const char* setting = bosGetEnv("KO_INI_COMPAT");
        mode = setting && std::strcmp(setting, "1") == 0;
    }
    __atomic_store_n(&list->CompatibleMode, mode ? 1 : 0, __ATOMIC_RELEASE);
}
} // namespace

unsigned koIniSetCompatible(int mode) {
    KoIniFileCacheList* list = KoIniFileCacheList::getTaskList();
    if (!list) return 1;
    applyCompatibleMode(list, mode);
    return 0;
}

int koIniCompatible() {
    // Asked without making the list: a cache of its own (the uncached functions) needs none.
    KoIniFileCacheList* list = static_cast<KoIniFileCacheList*>(
        __atomic_load_n(mdsGetPerTaskDataAddress(MDS_PER_TASK_INI_LIST), __ATOMIC_ACQUIRE));
    if (list) return __atomic_load_n(&list->CompatibleMode, __ATOMIC_ACQUIRE);
    const char* setting = bosGetEnv("KO_INI_COMPAT");
    return setting && std::strcmp(setting, "1") == 0;
}
