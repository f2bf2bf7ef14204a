// Remembered configuration names of a KoIniFileCacheList: a small table, each entry with the
// name as spelled, the path it resolved to, the values of the variables the rules read, and
// change-notice snapshots of the home directory and of the resolved file's directory.
#include "config/ini_names.h"

#include <cstdio>
#include <cstring>
#include <strings.h>
#include <unistd.h>
#include <sys/stat.h>
#include "config/ini_watch.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/locate.h"
#include "kolib/memory.h"

namespace {

const char* const VARIABLES[] = {"HOME",        "ODBCINI",   "ODBC_INI",
                                 "KO_ODBC_INI", "KOLIB_INI", "KO_SYSTEM_INI"};
const int VARIABLE_COUNT = 6;
const int MEMO_COUNT = 8;

} // namespace

struct KoIniNameMemo {
    char* Name; // null: a free entry
    char* Path;
    char* Values[VARIABLE_COUNT]; // null: the variable was not set
    KoIniWatch Home, Target;
};

namespace {

bool isConfigName(const char* name) {
    return !strcasecmp(name, "ODBC.INI") || !strcasecmp(name, ".odbc.ini") ||
           !strcasecmp(name, "ODBCINST.INI") || !strcasecmp(name, ".odbcinst.ini") ||
           !std::strcmp(name, ".kolib.ini") || !std::strcmp(name, ".system.defaults");
}

bool isDataSourceName(const char* name) {
    return !strcasecmp(name, "ODBC.INI") || !strcasecmp(name, ".odbc.ini");
}

// The trace bits of name resolution: with any of them on, every call resolves afresh.
bool resolutionTraced() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_FILE_OPEN | KO_DEBUG_LOCATE_FILE | KO_DEBUG_EXIST |
                                       KO_DEBUG_PATH) != 0;
}

bool sameValue(const char* a, const char* b) {
    return a == b || (a && b && std::strcmp(a, b) == 0);
}

// The values of all the variables in one pass over the environment (six getenv calls would
// make six).
void currentValues(const char* values[VARIABLE_COUNT]) {
    static const unsigned char LENGTHS[VARIABLE_COUNT] = {4, 7, 8, 11, 9, 13};
    for (int v = 0; v < VARIABLE_COUNT; ++v) values[v] = nullptr;
    for (char** entry = environ; entry && *entry; ++entry) {
        const char* text = *entry;
        if (text[0] != 'H' && text[0] != 'O' && text[0] != 'K') continue;
        for (int v = 0; v < VARIABLE_COUNT; ++v)
            if (!values[v] && std::strncmp(text, VARIABLES[v], LENGTHS[v]) == 0 &&
                text[LENGTHS[v]] == '=') {
                values[v] = text + LENGTHS[v] + 1;
                break;
            }
    }
}

void forget(KoIniWatcher* watcher, KoIniNameMemo* memo) {
    if (!memo->Name) return;
    watcher->release(&memo->Home);
    watcher->release(&memo->Target);
    ramFree(memo->Name);
    ramFree(memo->Path);
    for (char*& value : memo->Values) {
        ramFree(value);
        value = nullptr;
    }
    memo->Name = memo->Path = nullptr;
}

unsigned resolve(const char* name, char* path) {
    std::snprintf(path, BOS_PATH_BUFFER_SIZE, "%s", name);
    int fd = 0;
    return bosFileOpen(path, BOS_OPEN_CONFIG_NAME | BOS_OPEN_NAME_ONLY, &fd);
}

// A copy for the memo, without an error on the list: a memo that cannot be made is only a
// missed shortcut.
char* copyOf(const char* text, bool* failed) {
    if (!text) return nullptr;
    char* copy = static_cast<char*>(ramMalloc(std::strlen(text) + 1));
    if (!copy)
        *failed = true;
    else
        std::strcpy(copy, text);
    return copy;
}

} // namespace

unsigned koIniRecallName(KoIniFileCacheList* list, const char* name, char* path) {
    if (!list->Names || !list->Watcher || resolutionTraced()) return 1;
    for (int i = 0; i < MEMO_COUNT; ++i) {
        KoIniNameMemo* memo = &list->Names[i];
        if (!memo->Name || std::strcmp(memo->Name, name) != 0) continue;
        const char* values[VARIABLE_COUNT];
        currentValues(values);
        bool valid = true;
        for (int v = 0; v < VARIABLE_COUNT && valid; ++v)
            valid = sameValue(values[v], memo->Values[v]);
        valid = valid && list->Watcher->unchanged(memo->Home, memo->Target);
        if (!valid) {
            forget(list->Watcher, memo);
            return 1;
        }
        std::strcpy(path, memo->Path);
        return 0;
    }
    return 1;
}

unsigned koIniResolveName(KoIniFileCacheList* list, const char* name, char* path) {
    KoIniWatcher* watcher = list->Watcher;
    const char* home = bosGetEnv("HOME");
    if (!watcher || !home || !isConfigName(name) || resolutionTraced()) return resolve(name, path);
    // The home directory is watched before the rules look into it, the resolved file's
    // directory right after: a change in between is noticed on the next call.
    KoIniNameMemo made;
    std::memset(&made, 0, sizeof made);
    KoIniWatcher::clear(&made.Home);
    KoIniWatcher::clear(&made.Target);
    char homePath[BOS_PATH_BUFFER_SIZE];
    std::snprintf(homePath, sizeof homePath, "%s/%s", home, name);
    bool usable = watcher->watch(homePath, false, &made.Home);
    if (resolve(name, path)) {
        watcher->release(&made.Home);
        return 1;
    }
    usable = usable && watcher->watch(path, false, &made.Target);
    struct stat info;
    // A data-source file deleted in between must still end the next call.
    if (usable && isDataSourceName(name)) usable = stat(path, &info) == 0 && S_ISREG(info.st_mode);
    bool failed = false;
    if (usable) {
        made.Name = copyOf(name, &failed);
        made.Path = copyOf(path, &failed);
        for (int v = 0; v < VARIABLE_COUNT; ++v)
            made.Values[v] = copyOf(bosGetEnv(VARIABLES[v]), &failed);
    }
    list->Semaphore.SemaphoreEnter();
    if (usable && !failed && !list->Names) {
        list->Names = static_cast<KoIniNameMemo*>(ramMalloc(sizeof(KoIniNameMemo) * MEMO_COUNT));
        if (list->Names)
            for (int i = 0; i < MEMO_COUNT; ++i) list->Names[i].Name = nullptr;
    }
    KoIniNameMemo* slot = nullptr;
    for (int i = 0; usable && !failed && list->Names && i < MEMO_COUNT; ++i) {
        KoIniNameMemo* memo = &list->Names[i];
        if (memo->Name && std::strcmp(memo->Name, name) == 0) forget(watcher, memo);
        if (!memo->Name && !slot) slot = memo;
    }
    if (slot) *slot = made;
    list->Semaphore.SemaphoreExit();
    if (!slot) {
        watcher->release(&made.Home);
        watcher->release(&made.Target);
        ramFree(made.Name);
        ramFree(made.Path);
        for (char* value : made.Values) ramFree(value);
    }
    return 0;
}

void koIniForgetNames(KoIniFileCacheList* list) {
    if (!list->Names) return;
    for (int i = 0; i < MEMO_COUNT; ++i) forget(list->Watcher, &list->Names[i]);
    ramFree(list->Names);
    list->Names = nullptr;
}
