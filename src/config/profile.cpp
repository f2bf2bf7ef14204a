// The profile-string functions: the cached ones over the task's KoIniFileCacheList and the
// conventional uncached ones, which build a cache for one call.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/profile.h"

namespace {

const char* const SYSTEM_DEFAULTS = ".system.defaults";

KoIniFileCache* openCached(const char* file) {
    KoIniFileCacheList* list = KoIniFileCacheList::getTaskList();
    return list ? list->open(file) : nullptr;
}

void closeCached(KoIniFileCache* cache) {
    if (KoIniFileCacheList* list = KoIniFileCacheList::getTaskList()) list->close(cache);
}

// The cached functions keep their file open for the task; a cache whose file could not be
// read is given back at once, so repeated calls on such a file do not pile up caches.
void keepCached(KoIniFileCache* cache) {
    if (!cache) return;
    // Asked under the cache's lock: a reload by another thread closes it for a moment.
    cache->Semaphore.SemaphoreEnter();
    bool open = cache->isOpen();
    cache->Semaphore.SemaphoreExit();
    if (!open) closeCached(cache);
}

unsigned long copyDefault(const char* defaultValue, char* buffer, unsigned long size) {
    if (!buffer || !size) return 0;
    const char* text = defaultValue ? defaultValue : "";
    unsigned long length = std::strlen(text);
    if (length >= size) length = size - 1;
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
    return length;
}

} // namespace

KoIniFileCache* koProfileInit(const char* file) {
    return openCached(file);
}
KoIniFileCache* koPrivateProfileInit(const char* file) {
    return openCached(file);
}
void koPrivateProfileTerm(KoIniFileCache* cache) {
    closeCached(cache);
}

unsigned long koGetProfileString(const char* section, const char* entry, const char* defaultValue,
                                 char* buffer, unsigned long size, const char* file) {
    KoIniFileCache* cache = openCached(file);
    if (!cache) return copyDefault(defaultValue, buffer, size);
    unsigned long count = cache->bosGetProfileString(section, entry, defaultValue, buffer, size);
    keepCached(cache);
    return count;
}

unsigned koWriteProfileString(const char* section, const char* entry, const char* value,
                              const char* file) {
    KoIniFileCache* cache = openCached(file);
    if (!cache) return 0;
    unsigned result = cache->bosPutProfileString(section, entry, value);
    keepCached(cache);
    return result;
}

uint32_t koGetProfileInt(const char* section, const char* entry, uint32_t defaultValue,
                         const char* file) {
    KoIniFileCache* cache = openCached(file);
    if (!cache) return defaultValue;
    uint32_t value = cache->bosGetProfileInt(section, entry, defaultValue);
    keepCached(cache);
    return value;
}

unsigned long koGetPrivateProfileString(const char* section, const char* entry,
                                        const char* defaultValue, char* buffer, unsigned long size,
                                        KoIniFileCache* cache) {
    if (!cache) return copyDefault(defaultValue, buffer, size);
    return cache->bosGetProfileString(section, entry, defaultValue, buffer, size);
}

unsigned long koGetPrivateProfileString(const char* section, const char* entry,
                                        const char* defaultValue, char* buffer, unsigned long size,
                                        const char* file) {
    KoIniFileCache* cache = openCached(file);
    unsigned long count =
        koGetPrivateProfileString(section, entry, defaultValue, buffer, size, cache);
    closeCached(cache);
    return count;
}

unsigned koWritePrivateProfileString(const char* section, const char* entry, const char* value,
                                     KoIniFileCache* cache) {
    return cache ? cache->bosPutProfileString(section, entry, value) : 0;
}

unsigned koWritePrivateProfileString(const char* section, const char* entry, const char* value,
                                     const char* file) {
    KoIniFileCache* cache = openCached(file);
    unsigned result = koWritePrivateProfileString(section, entry, value, cache);
    closeCached(cache);
    return result;
}

uint32_t koGetPrivateProfileInt(const char* section, const char* entry, uint32_t defaultValue,
                                KoIniFileCache* cache) {
    return cache ? cache->bosGetProfileInt(section, entry, defaultValue) : defaultValue;
}

uint32_t koGetPrivateProfileInt(const char* section, const char* entry, uint32_t defaultValue,
                                const char* file) {
    KoIniFileCache* cache = openCached(file);
    uint32_t value = koGetPrivateProfileInt(section, entry, defaultValue, cache);
    closeCached(cache);
    return value;
}

unsigned koWriteWININIString(const char* section, const char* entry, const char* value) {
    return koWriteProfileString(section, entry, value, SYSTEM_DEFAULTS);
}

uint32_t koGetWININIInt(const char* section, const char* entry, uint32_t defaultValue) {
    return koGetProfileInt(section, entry, defaultValue, SYSTEM_DEFAULTS);
}

int GetPrivateProfileString(const char* section, const char* entry, const char* defaultValue,
                            char* buffer, int size, const char* file) {
    unsigned long capacity = size > 0 ? static_cast<unsigned long>(size) : 0;
    KoIniFileCache* cache = file ? new KoIniFileCache(file) : nullptr;
    if (!cache) {
        if (file) KoErrorKeeper::addMemoryError();
        return static_cast<int>(copyDefault(defaultValue, buffer, capacity));
    }
    unsigned long count =
        cache->bosGetProfileString(section, entry, defaultValue, buffer, capacity);
    delete cache;
    return static_cast<int>(count);
}

unsigned GetPrivateProfileInt(const char* section, const char* entry, int defaultValue,
                              const char* file) {
    KoIniFileCache* cache = file ? new KoIniFileCache(file) : nullptr;
    if (!cache) {
        if (file) KoErrorKeeper::addMemoryError();
        return static_cast<unsigned>(defaultValue);
    }
    uint32_t value = cache->bosGetProfileInt(section, entry, static_cast<uint32_t>(defaultValue));
    delete cache;
    return value;
}

int WritePrivateProfileString(const char* section, const char* entry, const char* value,
                              const char* file) {
    KoIniFileCache* cache = file ? new KoIniFileCache(file) : nullptr;
    if (!cache) {
        if (file) KoErrorKeeper::addMemoryError();
        return 0;
    }
    unsigned result = cache->bosPutProfileString(section, entry, value);
    delete cache;
    return static_cast<int>(result);
}
