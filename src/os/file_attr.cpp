// bosfattr and bosexist: what a name denotes, from one stat call. Write permission comes from
// the mode bits and the real user and group only (no access() call, no supplementary groups),
// so the answer is the same for any caller with the same real ids.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include "kolib/files.h"
#include "kolib/frame.h"

namespace {
bool writableByMode(const struct stat& info) {
    if (info.st_uid == getuid()) return (info.st_mode & S_IWUSR) != 0;
    if (info.st_gid == getgid()) return (info.st_mode & S_IWGRP) != 0;
    return (info.st_mode & S_IWOTH) != 0;
}
} // namespace

unsigned bosfattr(const char* name) {
    if (!name) return BOS_FATTR_ERROR;
    if (std::strcmp(name, "..") == 0) return BOS_FATTR_DIRECTORY; // without looking
    struct stat info;
    if (stat(name, &info) != 0) return errno == ENOENT ? BOS_FATTR_MISSING : BOS_FATTR_ERROR;
    if (S_ISREG(info.st_mode))
        return writableByMode(info) ? BOS_FATTR_FILE : BOS_FATTR_FILE | BOS_FATTR_READ_ONLY;
    if (S_ISDIR(info.st_mode)) return BOS_FATTR_DIRECTORY;
    return BOS_FATTR_OTHER;
}

int bosexist(const char* name) {
    int trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_EXIST) != 0;
    if (trace) std::printf("bosexist: Name=%s ", name);
    // Only the "ordinary file" bit is wanted: one stat, without the ownership look-ups.
    struct stat info;
    int exists = name && stat(name, &info) == 0 && S_ISREG(info.st_mode);
    if (trace) std::printf(" exists: %d\n", exists);
    return exists;
}
