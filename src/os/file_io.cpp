// Reading, writing, seeking, closing, deleting, sizing and renaming files on POSIX
// descriptors and names. Each call is one system call or two; failures are mapped from errno.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/locate.h"

unsigned bosFileRead(int fd, long offset, void* buffer, unsigned long length, long* count) {
    if (offset != -1) lseek(fd, offset, SEEK_SET);
    *count = static_cast<long>(read(fd, buffer, length));
    return 0;
}

unsigned bosFileWrite(int fd, long offset, const void* buffer, unsigned long length) {
    if (offset != -1) lseek(fd, offset, SEEK_SET);
    ssize_t written = write(fd, buffer, length);
    // The count is judged as a 16-bit value, as it always was: a complete write of 65,536
    // bytes reads as "nothing written". Intended; callers write in smaller pieces.
    uint16_t count = static_cast<uint16_t>(written);
    if (count == length) return 0;
    if (count == 0) {
        addError(1506) << "";
        return 1;
    }
    char detail[64];
    std::snprintf(detail, sizeof detail, "%u of %lu bytes written", count, length);
    addError(30041).appendText(detail);
    return 1;
}

long bosFileSeek(int fd, long offset, unsigned short origin) {
    return static_cast<long>(lseek(fd, offset, origin));
}

unsigned bosFileClose(int fd) {
    if (fd < 1) return 0;
    if (close(fd) == 0) return 0;
    bosMapError(static_cast<unsigned short>(errno), nullptr);
    return 1;
}

unsigned bosFileDelete(const char* name) {
    if (unlink(name) == 0 || errno == ENOENT) return 0;
    addError(1502) << name;
    return 1;
}

unsigned bosFileSize(int fd, unsigned long length) {
    return ftruncate(fd, static_cast<off_t>(length)) == 0 ? 0 : 1;
}

unsigned bosFileDateSize(const char* name, unsigned long* date, unsigned long* size) {
    struct stat info;
    if (!name || stat(name, &info) != 0) return 1;
    *date = static_cast<unsigned long>(info.st_mtime);
    *size = static_cast<unsigned long>(info.st_size);
    return 0;
}

unsigned bosrname(const char* oldName, const char* newName) {
    if (link(oldName, newName) != 0) {
        addError(30042) << oldName << newName;
        return 1;
    }
    unlink(oldName);
    return 0;
}

int bosftest(const char* path) {
    static const char PROBE[] = "$$$ko$$$.$ko";
    const char* slash = path ? std::strrchr(path, '/') : nullptr;
    if (!slash) return 0;
    std::size_t dirLength = static_cast<std::size_t>(slash - path) + 1;
    char probe[BOS_PATH_BUFFER_SIZE];
    if (dirLength + sizeof PROBE > sizeof probe) return 0;
    std::memcpy(probe, path, dirLength);
    std::memcpy(probe + dirLength, PROBE, sizeof PROBE);
    int fd = open(probe, O_RDWR | O_CREAT | O_EXCL, 0666);
    if (fd < 0) return 0;
    close(fd);
    unlink(probe);
    return 1;
}
