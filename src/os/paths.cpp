// Path building and the current directory. Every function works on the caller's 1024-byte
// buffer through a local copy, so a result that does not fit leaves the buffer unchanged.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "kolib/paths.h"

namespace {

const std::size_t NAME_LIMIT = 128;

unsigned tooLong(const char* name) {
    bosMapError(ENAMETOOLONG, name);
    return 1;
}

// prefix + separator + path into path; false when it does not fit.
bool prepend(char* path, const char* prefix, const char* separator) {
    char joined[BOS_PATH_BUFFER_SIZE];
    int n = std::snprintf(joined, sizeof joined, "%s%s%s", prefix, separator, path);
    if (n < 0 || static_cast<std::size_t>(n) >= sizeof joined) return false;
    std::memcpy(path, joined, static_cast<std::size_t>(n) + 1);
    return true;
}

const char* baseName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace

unsigned bospath(char* path, const char* dir, const char* name, const char* defaultExt) {
    bool trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_PATH) != 0;
    if (trace)
        std::printf("BOSPATH: dir:%s name:%s default_ext:%s\n", dir ? dir : "(null)",
                    name ? name : "(null)", defaultExt ? defaultExt : "(null)");
    if (!name) name = "";
    char work[BOS_PATH_BUFFER_SIZE];
    std::size_t length = std::strlen(name);
    if (length >= sizeof work) return tooLong(name);
    std::memcpy(work, name, length + 1);
    while (length && std::isspace(static_cast<unsigned char>(work[length - 1])))
        work[--length] = '\0';
    // "x." loses its dot, ".." keeps both.
    if (length && work[length - 1] == '.' && (length == 1 || work[length - 2] != '.'))
        work[--length] = '\0';
    const char* base = baseName(work);
    char built[BOS_PATH_BUFFER_SIZE];
    int n;
    if (!std::strchr(work, '/') && dir && *dir) {
        const char* slash = dir[std::strlen(dir) - 1] == '/' ? "" : "/";
        n = std::snprintf(built, sizeof built, "%s%s%s", dir, slash, base);
    } else {
        n = std::snprintf(built, sizeof built, "%s", work);
    }
    if (n < 0 || static_cast<std::size_t>(n) >= sizeof built) return tooLong(name);
    if (!std::strchr(baseName(built), '.') && defaultExt && *defaultExt) {
        std::size_t used = static_cast<std::size_t>(n);
        n = std::snprintf(built + used, sizeof built - used, ".%s", defaultExt);
        if (n < 0 || used + static_cast<std::size_t>(n) >= sizeof built) return tooLong(name);
    }
    if (bosfpath(built, 1)) return 1;
    std::strcpy(path, built);
    if (trace) std::printf("bospath: after bosfpath path:%s\n", path);
    return 0;
}

unsigned bosfpath(char* path, int) {
    if (path[0] == '/') return 0;
    char cwd[BOS_PATH_BUFFER_SIZE];
    if (!getcwd(cwd, sizeof cwd)) return 0;
    return prepend(path, cwd, "/") ? 0 : tooLong(path);
}

unsigned boshpath(char* path) {
    const char* base = bosGetEnv("HOME");
    if (!base) base = bosGetEnv("KO");
    char cwd[BOS_PATH_BUFFER_SIZE];
    if (!base) base = getcwd(cwd, sizeof cwd) ? cwd : "";
    return prepend(path, base, "/") ? 0 : tooLong(path);
}

unsigned bosmpath(char* path) {
    char cwd[BOS_PATH_BUFFER_SIZE];
    bosgtcwd(cwd, 1);
    std::size_t limit = std::min(std::strlen(cwd), std::strlen(path));
    std::size_t cut = 0;
    for (std::size_t i = 0; i < limit && cwd[i] == path[i]; ++i)
        if (path[i] == ':' || (path[i] == '/' && i != 2)) cut = i + 1;
    std::memmove(path, path + cut, std::strlen(path + cut) + 1);
    return 0;
}

unsigned bosParseName(char* path, char* name, char* ext, int reportFlag) {
    char* base = const_cast<char*>(baseName(path));
    char* dot = std::strchr(base, '.');
    std::size_t nameLength = dot ? static_cast<std::size_t>(dot - base) : std::strlen(base);
    ext[0] = '\0';
    if (dot) {
        std::size_t extLength = std::min<std::size_t>(std::strlen(dot + 1), 3);
        std::memcpy(ext, dot + 1, extLength);
        ext[extLength] = '\0';
    }
    bool cut = nameLength > NAME_LIMIT;
    if (cut) nameLength = NAME_LIMIT;
    std::memcpy(name, base, nameLength);
    name[nameLength] = '\0';
    *base = '\0';
    if (cut && reportFlag) {
        addError(1524) << name;
        return 1;
    }
    return 0;
}

unsigned bosgtcwd(char* buffer, int addSlash) {
    if (!getcwd(buffer, BOS_PATH_BUFFER_SIZE)) {
        buffer[0] = '\0';
        return 1;
    }
    std::size_t length = std::strlen(buffer);
    if (addSlash && (length == 0 || buffer[length - 1] != '/')) {
        if (length + 1 >= BOS_PATH_BUFFER_SIZE) return tooLong(buffer);
        buffer[length] = '/';
        buffer[length + 1] = '\0';
    }
    OemToAnsi(buffer);
    return 0;
}

unsigned bosstcwd(const char* path) {
    if (path && chdir(path) == 0) return 0;
    addError(1504) << (path ? path : "");
    return 1;
}
