// bosGetDirectoryNames and bosGetFileSystems: iterations whose state lives in a block the
// caller's handle points at between calls.
#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <mntent.h>
#include <sys/stat.h>
#include "kolib/directories.h"
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/memory.h"

namespace {

struct DirectoryState {
    DIR* Stream;
    struct dirent* Entry;
    struct stat Info;
};

struct MountState {
    FILE* Table;
    struct mntent* Entry;
};

void copyName(char* out, const char* name, std::size_t limit) {
    std::size_t length = std::min(std::strlen(name), limit - 1);
    std::memcpy(out, name, length);
    out[length] = '\0';
}

} // namespace

unsigned bosGetDirectoryNames(void** handle, char* name) {
    name[0] = '\0';
    DirectoryState* state = static_cast<DirectoryState*>(*handle);
    if (!state) {
        state = static_cast<DirectoryState*>(ramCalloc(sizeof(DirectoryState)));
        if (!state) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        state->Stream = opendir(".");
        if (!state->Stream) {
            ramFree(state);
            return 0;
        }
        *handle = state;
    }
    while ((state->Entry = readdir(state->Stream)) != nullptr) {
        const char* entry = state->Entry->d_name;
        if (entry[0] == '.' || stat(entry, &state->Info) != 0 || !S_ISDIR(state->Info.st_mode))
            continue;
        copyName(name, entry, 256);
        OemToAnsi(name);
        return 0;
    }
    closedir(state->Stream);
    ramFree(state);
    *handle = nullptr;
    return 0;
}

unsigned bosGetFileSystems(void** handle, char* name) {
    name[0] = '\0';
    MountState* state = static_cast<MountState*>(*handle);
    if (!state) {
        state = static_cast<MountState*>(ramCalloc(sizeof(MountState)));
        if (!state) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        state->Table = setmntent("/proc/self/mounts", "r");
        if (!state->Table) state->Table = setmntent(MOUNTED, "r");
        if (!state->Table) {
            ramFree(state);
            return 0;
        }
        *handle = state;
    }
    struct mntent entry;
    char strings[BOS_PATH_BUFFER_SIZE * 4];
    state->Entry = getmntent_r(state->Table, &entry, strings, sizeof strings);
    if (state->Entry) {
        copyName(name, state->Entry->mnt_dir, BOS_PATH_BUFFER_SIZE);
        return 0;
    }
    endmntent(state->Table);
    ramFree(state);
    *handle = nullptr;
    return 0;
}
