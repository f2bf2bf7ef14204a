// bosLocateFile: a name looked up along the directories chosen by the search flags. The
// sources are walked in one fixed order, each a colon-separated list, without building the
// combined list; every candidate is formed in a 1024-byte buffer and skipped when it does not
// fit. With BOS_LOCATE_LIBRARY each directory's parent ("dir/../name") is tried right after
// the directory itself. Keeps no state.
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/locate.h"

namespace {

// Forms prefix + separator + name in candidate; false when it does not fit.
bool formPath(char* candidate, const char* dir, std::size_t dirLength, const char* middle,
              const char* name) {
    std::size_t middleLength = std::strlen(middle);
    std::size_t nameLength = std::strlen(name);
    if (dirLength + middleLength + nameLength >= BOS_PATH_BUFFER_SIZE) return false;
    std::memcpy(candidate, dir, dirLength);
    std::memcpy(candidate + dirLength, middle, middleLength);
    std::memcpy(candidate + dirLength + middleLength, name, nameLength + 1);
    return true;
}

// Tries one candidate: traced with debug bit 0x2, accepted when it is an ordinary file.
bool accept(char* out, const char* candidate) {
    if (BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_LOCATE_FILE))
        std::printf("LocateFile: %s\n", candidate);
    if (!(bosfattr(candidate) & BOS_FATTR_FILE)) return false;
    if (out) std::strcpy(out, candidate); // candidates always fit in 1024 bytes
    return true;
}

// Tries every non-empty element of the colon-separated list; true when found.
bool searchList(char* out, const char* list, const char* name, bool withParents) {
    char candidate[BOS_PATH_BUFFER_SIZE];
    const char* element = list;
    while (element) {
        const char* colon = std::strchr(element, ':');
        std::size_t length =
            colon ? static_cast<std::size_t>(colon - element) : std::strlen(element);
        if (length) {
            const char* slash = element[length - 1] == '/' ? "" : "/";
            if (formPath(candidate, element, length, slash, name) && accept(out, candidate))
                return true;
            if (withParents && formPath(candidate, element, length, "/../", name) &&
                accept(out, candidate))
                return true;
        }
        element = colon ? colon + 1 : nullptr;
    }
    return false;
}

} // namespace

unsigned bosLocateFile(char* out, const char* name, unsigned short flags) {
    if (out) *out = '\0';
    if (!name) return 1;
    if ((bosfattr(name) & BOS_FATTR_FILE) && std::strlen(name) < BOS_PATH_BUFFER_SIZE) {
        if (out) std::strcpy(out, name);
        return 0;
    }
    bool parents = (flags & BOS_LOCATE_LIBRARY) != 0;
    char cwd[BOS_PATH_BUFFER_SIZE];
    // The sources in their fixed order; unset variables contribute nothing.
    const char* sources[8] = {};
    int count = 0;
    if ((flags & BOS_LOCATE_CURRENT) && getcwd(cwd, sizeof cwd)) sources[count++] = cwd;
    if (flags & BOS_LOCATE_HOME) sources[count++] = bosGetEnv("HOME");
    if (flags & BOS_LOCATE_KO) {
        sources[count++] = bosGetEnv("KO");
        sources[count++] = bosGetEnv("KOLIB");
    }
    if (flags & BOS_LOCATE_LIBRARY) {
        sources[count++] = bosGetEnv("LD_LIBRARY_PATH");
        sources[count++] = bosGetEnv("LD_RUN_PATH");
        sources[count++] = "/usr/local/lib";
    }
    if (flags & BOS_LOCATE_PATH) sources[count++] = bosGetEnv("PATH");
    for (int i = 0; i < count; ++i)
        if (sources[i] && searchList(out, sources[i], name, parents)) return 0;
    return 1;
}
