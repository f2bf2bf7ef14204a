// bosFileOpen: the one place where names become open descriptors. The working path is built
// in a local 1024-byte buffer: the configuration-file name rules
// (which redirect the ODBC files to the user's home directory or to the files named by the
// environment), the create or open with its lock on byte 1, and one retry along "PATH".
// Temporary files are made apart, in temp_file.cpp.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "os/temp_file.h"

namespace {

enum ConfigKind {
    KIND_NONE = 0,
    KIND_DATA_SOURCES = 1,
    KIND_DRIVERS = 2,
    KIND_SYSTEM = 4,
    KIND_LIBRARY = 8
};

bool traced() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_FILE_OPEN) != 0;
}

// Copies text into a path buffer; false (and nothing copied) when it does not fit.
bool setPath(char* path, const char* text) {
    std::size_t length = std::strlen(text);
    if (length >= BOS_PATH_BUFFER_SIZE) return false;
    std::memcpy(path, text, length + 1);
    return true;
}

bool appendPath(char* path, const char* text, std::size_t textLength) {
    std::size_t length = std::strlen(path);
    if (length + textLength >= BOS_PATH_BUFFER_SIZE) return false;
    std::memcpy(path + length, text, textLength);
    path[length + textLength] = '\0';
    return true;
}

ConfigKind configKind(const char* name) {
    if (!strcasecmp(name, "ODBC.INI") || !strcasecmp(name, ".odbc.ini")) return KIND_DATA_SOURCES;
    if (!strcasecmp(name, "ODBCINST.INI") || !strcasecmp(name, ".odbcinst.ini"))
        return KIND_DRIVERS;
    if (!std::strcmp(name, ".kolib.ini")) return KIND_LIBRARY;
    if (!std::strcmp(name, ".system.defaults")) return KIND_SYSTEM;
    return KIND_NONE;
}

// The driver file beside the data-source file a variable names: its directory (up to and
// including the last "/") followed by ".odbcinst.ini". False when the value has no "/".
bool driverFileBeside(char* path, const char* dataSourceFile) {
    const char* slash = std::strrchr(dataSourceFile, '/');
    if (!slash) return false;
    char candidate[BOS_PATH_BUFFER_SIZE];
    candidate[0] = '\0';
    if (!appendPath(candidate, dataSourceFile,
                    static_cast<std::size_t>(slash - dataSourceFile) + 1) ||
        !appendPath(candidate, ".odbcinst.ini", 13))
        return false;
    std::strcpy(path, candidate);
    return true;
}

// Applies the per-kind redirections to the working path. False when a replacement is too long.
bool redirect(char* path, ConfigKind kind) {
    const char* value = nullptr;
    switch (kind) {
    case KIND_DATA_SOURCES:
        value = bosGetEnv("ODBCINI");
        if (!value) value = bosGetEnv("ODBC_INI");
        if (value && !setPath(path, value)) return false;
        if (!bosexist(path)) {
            // Deliberately fatal: a driver cannot run without its data-source file.
            std::fprintf(stderr, "Can't find %s\n", path);
            std::exit(-1);
        }
        return true;
    case KIND_DRIVERS:
        if (bosexist(path)) return true;
        value = bosGetEnv("ODBC_INI");
        // A set "ODBC_INI" without a "/" leaves the path alone and "KO_ODBC_INI" is not asked.
        if (!value) value = bosGetEnv("KO_ODBC_INI");
        if (value) driverFileBeside(path, value);
        return true;
    case KIND_LIBRARY:
    case KIND_SYSTEM:
        if (bosexist(path)) return true;
        value = bosGetEnv(kind == KIND_LIBRARY ? "KOLIB_INI" : "KO_SYSTEM_INI");
        return !value || setPath(path, value);
    default:
        return true;
    }
}

// A one-byte POSIX lock on byte 1, the library's "file in use" mark.
bool lockByteOne(int fd, short type) {
    struct flock lock;
    std::memset(&lock, 0, sizeof lock);
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 1;
    lock.l_len = 1;
    return fcntl(fd, F_SETLK, &lock) == 0;
}

unsigned fail(int* fd, const char* name, int error) {
    *fd = 0;
    if (KoErrorKeeper::getErrorList()) bosMapError(static_cast<unsigned short>(error), name);
    return 1;
}

// Keeps descriptor 0 from counting as an open file: 0 is the library's "no file".
int openPath(const char* path, int mode) {
    int fd = open(path, mode, 0666);
    if (fd == 0) {
        close(fd);
        errno = EBADF;
        return -1;
    }
    return fd;
}

} // namespace

unsigned bosFileOpen(char* name, unsigned long flags, int* fd) {
    if (traced()) std::printf("bosfopen - File:%s\n", name);
    if (std::strlen(name) >= BOS_PATH_BUFFER_SIZE) return fail(fd, name, ENAMETOOLONG);
    if (flags & (BOS_OPEN_TEMP | BOS_OPEN_TEMP_EXCL)) {
        // Every temporary file is created exclusively under a fresh name, so BOS_OPEN_TEMP_EXCL
        // asks for nothing more than BOS_OPEN_TEMP. The given name and the home and
        // configuration-name flags do not apply to a generated absolute path.
        if (bosCreateTempFile(name, fd) != 0) return 1;
        if (traced()) std::printf("bosfopen: Temp File %s ", name);
        lockByteOne(*fd, F_RDLCK); // the result is deliberately ignored for a new file
        return 0;
    }
    ConfigKind kind = KIND_NONE;
    if (flags & BOS_OPEN_CONFIG_NAME) {
        kind = configKind(name);
        if (kind != KIND_NONE) flags |= BOS_OPEN_HOME;
    }
    char path[BOS_PATH_BUFFER_SIZE];
    path[0] = '\0';
    const char* home = bosGetEnv("HOME");
    if ((flags & BOS_OPEN_HOME) && home &&
        (!appendPath(path, home, std::strlen(home)) || !appendPath(path, "/", 1)))
        return fail(fd, name, ENAMETOOLONG);
    if (!appendPath(path, name, std::strlen(name))) return fail(fd, name, ENAMETOOLONG);
    AnsiToOem(path);
    if (flags & BOS_OPEN_HOME) {
        if (traced()) std::printf("bosfopen: Replacing %s ", name);
        if (!redirect(path, kind)) return fail(fd, name, ENAMETOOLONG);
        if (traced()) std::printf("with %s\n", path);
        std::strcpy(name, path);
    }

    if (flags & BOS_OPEN_CREATE) {
        int mode = O_RDWR | O_CREAT;
        // "Anew" means anew: an old file that cannot be deleted (a read-only directory, say)
        // would otherwise be opened with its old contents, so that is a failure.
        if (unlink(path) != 0 && errno != ENOENT) return fail(fd, name, errno);
        errno = 0;
        *fd = openPath(path, mode);
        if (*fd < 0) return fail(fd, name, errno);
        lockByteOne(*fd, F_RDLCK); // the result is deliberately ignored for a new file
        return 0;
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        int mode = (flags & BOS_OPEN_WRITE) ? O_RDWR : O_RDONLY;
        if ((flags & BOS_OPEN_CREATE_IF_MISSING) && (bosfattr(path) & BOS_FATTR_MISSING))
            mode |= O_CREAT;
        errno = 0;
        if (flags & BOS_OPEN_NAME_ONLY) {
            *fd = 0;
            return 0;
        }
        int opened = openPath(path, mode);
        if (opened > 0) {
            bool locked = true;
            if ((flags & BOS_OPEN_LOCK_WRITE) && (flags & BOS_OPEN_WRITE))
                locked = lockByteOne(opened, F_WRLCK);
            else if (!(flags & BOS_OPEN_CREATE_IF_MISSING))
                locked = lockByteOne(opened, F_RDLCK);
            if (!locked) {
                int error = errno;
                close(opened);
                return fail(fd, name, error);
            }
            *fd = opened;
            std::strcpy(name, path);
            return 0;
        }
        int error = errno;
        path[0] = '\0';
        if (flags & BOS_OPEN_SEARCH) {
            flags &= ~static_cast<unsigned long>(BOS_OPEN_SEARCH);
            bosLocateFile(path, name, BOS_LOCATE_PATH);
        }
        if (!path[0]) return fail(fd, name, error);
        AnsiToOem(path);
    }
    return fail(fd, name, ENOENT); // not reached: the second attempt has no search left
}
