// KoFileReplace: whole-file replacement by temporary file, fsync and rename, under a writers'
// lock on the target's directory. Descriptors here are -1 when absent (a descriptor may be 0
// when standard input is closed). The lock is an flock, which belongs to the open directory
// and not to the process, so it also keeps apart two threads of one process that write the
// same file through different caches.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/file_replace.h"
#include "kolib/memory.h"

namespace {

const char* const TEMP_SUFFIX = ".kotmp";
const char* const LOCK_SUFFIX = ".kolock";
const int MAX_LINK_HOPS = 40;

void mapErrno(const char* name) {
    bosMapError(static_cast<unsigned short>(errno), name);
}

// A fresh string of `text` followed by `suffix`; null (and the memory error) when out of memory.
char* joined(const char* text, const char* suffix) {
    std::size_t a = std::strlen(text), b = std::strlen(suffix);
    char* out = static_cast<char*>(ramMalloc(a + b + 1));
    if (!out) {
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    std::memcpy(out, text, a);
    std::memcpy(out + a, suffix, b + 1);
    return out;
}

int lockExclusive(int fd) {
    int result;
    do result = flock(fd, LOCK_EX);
    while (result != 0 && errno == EINTR);
    return result;
}

} // namespace

KoFileReplace::KoFileReplace()
    : DirFd(-1), LockFd(-1), TempFd(-1), Target(nullptr), TempName(nullptr), HadOld(false),
      OldMode(0), OldUid(0), OldGid(0) {}

KoFileReplace::~KoFileReplace() {
    unlock();
}

// Follows symbolic links at the last component by hand (so a dangling link names the file
// it would create) and resolves the directory with realpath.
unsigned KoFileReplace::resolve(const char* path) {
    char current[PATH_MAX];
    if (!path || !*path || std::strlen(path) >= sizeof current) {
        bosMapError(path && *path ? ENAMETOOLONG : ENOENT, path);
        return 1;
    }
    std::strcpy(current, path);
    for (int hops = 0;; ++hops) {
        struct stat info;
        if (lstat(current, &info) != 0 || !S_ISLNK(info.st_mode)) break;
        char link[PATH_MAX];
        ssize_t length = hops < MAX_LINK_HOPS ? readlink(current, link, sizeof link - 1) : -1;
        if (length < 0) {
            if (hops >= MAX_LINK_HOPS) errno = ELOOP;
            mapErrno(path);
            return 1;
        }
        link[length] = '\0';
        if (link[0] == '/') {
            std::strcpy(current, link);
            continue;
        }
        char* slash = std::strrchr(current, '/');
        std::size_t keep = slash ? static_cast<std::size_t>(slash - current) + 1 : 0;
        if (keep + static_cast<std::size_t>(length) >= sizeof current) {
            bosMapError(ENAMETOOLONG, path);
            return 1;
        }
        std::memcpy(current + keep, link, static_cast<std::size_t>(length) + 1);
    }
    char* slash = std::strrchr(current, '/');
    const char* base = slash ? slash + 1 : current;
    if (!*base) {
        bosMapError(EISDIR, path);
        return 1;
    }
    char directory[PATH_MAX];
    if (slash == current) {
        std::strcpy(directory, "/");
    } else if (slash) {
        *slash = '\0';
        if (!realpath(current, directory)) {
            mapErrno(current);
            return 1;
        }
    } else if (!realpath(".", directory)) {
        mapErrno(".");
        return 1;
    }
    std::size_t directoryLength = std::strlen(directory);
    if (directoryLength == 1) directoryLength = 0; // "/" + base, not "//" + base
    Target = static_cast<char*>(ramMalloc(directoryLength + std::strlen(base) + 2));
    if (!Target) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    std::memcpy(Target, directory, directoryLength);
    Target[directoryLength] = '/';
    std::strcpy(Target + directoryLength + 1, base);
    return 0;
}

unsigned KoFileReplace::lock(const char* path) {
    unlock();
    if (resolve(path)) return 1;
    char* slash = std::strrchr(Target, '/');
    *slash = '\0';
    DirFd = open(slash == Target ? "/" : Target, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (DirFd < 0) mapErrno(slash == Target ? "/" : Target);
    *slash = '/';
    if (DirFd < 0) {
        unlock();
        return 1;
    }
    if (lockExclusive(DirFd) == 0) return 0;
    // Some network file systems lock only files opened for writing: use a lock file there.
    char* lockName = joined(Target, LOCK_SUFFIX);
    if (lockName) {
        LockFd = open(lockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (LockFd < 0 || lockExclusive(LockFd) != 0)
            mapErrno(lockName);
        else {
            ramFree(lockName);
            return 0;
        }
        ramFree(lockName);
    }
    unlock();
    return 1;
}

unsigned KoFileReplace::begin() {
    if (!Target) {
        bosMapError(EBADF, nullptr);
        return 1;
    }
    abort();
    TempName = joined(Target, TEMP_SUFFIX);
    if (!TempName) return 1;
    struct stat info;
    HadOld = stat(Target, &info) == 0;
    if (HadOld) {
        OldMode = info.st_mode & 07777;
        OldUid = info.st_uid;
        OldGid = info.st_gid;
    }
    // Only a killed writer leaves this name behind: no other writer runs while we hold the lock.
    unlink(TempName);
    // A new file is made as any other (0666 less the umask); a replacement stays private
    // until it has the old file's mode.
    TempFd =
        open(TempName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, HadOld ? 0600 : 0666);
    if (TempFd < 0) {
        mapErrno(TempName);
        ramFree(TempName);
        TempName = nullptr;
        return 1;
    }
    return 0;
}

unsigned KoFileReplace::write(const void* data, unsigned long length) {
    if (TempFd < 0) {
        bosMapError(EBADF, nullptr);
        return 1;
    }
    const char* bytes = static_cast<const char*>(data);
    while (length) {
        ssize_t written = ::write(TempFd, bytes, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            if (written == 0) errno = ENOSPC;
            mapErrno(Target);
            abort();
            return 1;
        }
        bytes += written;
        length -= static_cast<unsigned long>(written);
    }
    return 0;
}

unsigned KoFileReplace::commit() {
    if (TempFd < 0) {
        bosMapError(EBADF, nullptr);
        return 1;
    }
    if (HadOld) {
        // The owner only where the process may set it; the group alone is the next best.
        if ((OldUid != geteuid() || OldGid != getegid()) &&
            fchown(TempFd, static_cast<uid_t>(OldUid), static_cast<gid_t>(OldGid)) != 0 &&
            fchown(TempFd, static_cast<uid_t>(-1), static_cast<gid_t>(OldGid)) != 0) {
            // neither may be set: the file stays the writer's own
        }
        if (fchmod(TempFd, static_cast<mode_t>(OldMode)) != 0) {
            mapErrno(Target);
            abort();
            return 1;
        }
    }
    if (fsync(TempFd) != 0) {
        mapErrno(Target);
        abort();
        return 1;
    }
    int fd = TempFd;
    TempFd = -1;
    if (close(fd) != 0) {
        mapErrno(Target);
        abort();
        return 1;
    }
    if (rename(TempName, Target) != 0) {
        addError(30042) << TempName << Target;
        abort();
        return 1;
    }
    ramFree(TempName);
    TempName = nullptr;
    // The rename itself reaches the disk only with the directory.
    if (fsync(DirFd) != 0 && errno != EINVAL) {
        mapErrno(Target);
        return 1;
    }
    return 0;
}

void KoFileReplace::abort() {
    if (TempFd >= 0) close(TempFd);
    TempFd = -1;
    if (TempName) unlink(TempName);
    ramFree(TempName);
    TempName = nullptr;
}

void KoFileReplace::unlock() {
    abort();
    if (LockFd >= 0) close(LockFd);
    if (DirFd >= 0) close(DirFd);
    LockFd = DirFd = -1;
    ramFree(Target);
    Target = nullptr;
}
