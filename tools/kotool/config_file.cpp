// Configuration files seen from the tool. Names resolve in a child process because the library
// ends the process that resolves a missing data-source file; the tool should report that and
// go on. Files are read here with plain POSIX calls, never opened for writing or created.
#include "config_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include "kolib/files.h"
#include "kolib/locate.h"

bool resolveConfigName(const char* name, std::string* path, bool* missingDataSources) {
    *missingDataSources = false;
    int fds[2];
    if (pipe(fds) != 0) return false;
    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 1);
        dup2(fds[1], 2);
        close(fds[0]);
        char buffer[BOS_PATH_BUFFER_SIZE];
        std::snprintf(buffer, sizeof buffer, "%s", name);
        int fd = 0;
        unsigned failed = bosFileOpen(buffer, BOS_OPEN_CONFIG_NAME | BOS_OPEN_NAME_ONLY, &fd);
        std::fputs(buffer, stdout);
        std::fflush(stdout);
        _exit(failed ? 1 : 0);
    }
    close(fds[1]);
    path->clear();
    char chunk[512];
    for (ssize_t n; (n = read(fds[0], chunk, sizeof chunk)) > 0;) path->append(chunk, n);
    close(fds[0]);
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return false;
    if (WEXITSTATUS(status) == 255) { // "Can't find PATH\n" from the library's fatal exit
        const char* prefix = "Can't find ";
        if (path->compare(0, std::strlen(prefix), prefix) == 0) path->erase(0, std::strlen(prefix));
        if (!path->empty() && path->back() == '\n') path->pop_back();
        *missingDataSources = true;
        return true;
    }
    return WEXITSTATUS(status) == 0;
}

bool readFileText(const std::string& path, std::string* text, std::string* why) {
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *why = std::strerror(errno);
        return false;
    }
    struct stat info;
    if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        close(fd);
        *why = std::strerror(EISDIR);
        return false;
    }
    text->clear();
    char chunk[65536];
    ssize_t n;
    while ((n = read(fd, chunk, sizeof chunk)) > 0) text->append(chunk, static_cast<size_t>(n));
    int error = errno;
    close(fd);
    if (n < 0) {
        *why = std::strerror(error);
        return false;
    }
    return true;
}

void explainMissingDataSources(const char* command, const std::string& path) {
    const char* from = bosGetEnv("ODBCINI")    ? "ODBCINI names it"
                       : bosGetEnv("ODBC_INI") ? "ODBC_INI names it and ODBCINI is not set"
                                               : "neither ODBCINI nor ODBC_INI is set, so the "
                                                 "name was taken in HOME";
    struct stat info;
    std::fprintf(stderr, "kotool %s: error: the data-source file %s %s\n", command, path.c_str(),
                 stat(path.c_str(), &info) == 0 ? "is not a file" : "does not exist");
    std::fprintf(stderr,
                 "kotool %s: set ODBCINI to the path of the data-source file (%s was tried: "
                 "%s)\n",
                 command, path.c_str(), from);
}

bool prepareConfigFile(const char* command, const char* file, bool mayBeMissing,
                       std::string* path) {
    bool missingDataSources = false;
    if (!resolveConfigName(file, path, &missingDataSources)) {
        std::fprintf(stderr, "kotool %s: error: %s cannot be resolved\n", command, file);
        return false;
    }
    if (missingDataSources) {
        explainMissingDataSources(command, *path);
        return false;
    }
    struct stat info;
    if (stat(path->c_str(), &info) != 0 && errno == ENOENT) {
        if (mayBeMissing) return true;
        std::fprintf(stderr, "kotool %s: error: %s does not exist", command, path->c_str());
        if (std::strcmp(file, path->c_str()) != 0)
            std::fprintf(stderr, " (%s resolves there)", file);
        std::fputc('\n', stderr);
        return false;
    }
    std::string text, why;
    if (!readFileText(*path, &text, &why)) {
        std::fprintf(stderr, "kotool %s: error: cannot read %s: %s\n", command, path->c_str(),
                     why.c_str());
        return false;
    }
    return true;
}
