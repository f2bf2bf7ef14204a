// kotool files: where the configuration files resolve in the current environment, the way a
// driver would open them. kotool locate NAME [FLAGS]: a bosLocateFile look-up.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include "commands.h"
#include "kolib/files.h"
#include "kolib/locate.h"

namespace {

const char* const VARIABLES[] = {"HOME",        "ODBCINI",   "ODBC_INI",
                                 "KO_ODBC_INI", "KOLIB_INI", "KO_SYSTEM_INI"};
const char* const NAMES[] = {"ODBC.INI", "ODBCINST.INI", ".kolib.ini", ".system.defaults"};

// Resolves one name in a child process: a missing data-source file ends the process that
// resolves it, and the tool should live on to report the others.
bool resolve(const char* name, std::string& path, bool& fatal) {
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
    path.clear();
    char chunk[512];
    for (ssize_t n; (n = read(fds[0], chunk, sizeof chunk)) > 0;) path.append(chunk, n);
    close(fds[0]);
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return false;
    fatal = WEXITSTATUS(status) == 255;
    if (fatal) { // "Can't find PATH\n"
        const char* prefix = "Can't find ";
        if (path.compare(0, std::strlen(prefix), prefix) == 0) path.erase(0, std::strlen(prefix));
        if (!path.empty() && path.back() == '\n') path.pop_back();
    }
    return WEXITSTATUS(status) == 0 || fatal;
}

} // namespace

int cmdFiles(int argc, char**) {
    if (argc != 1) {
        std::fprintf(stderr, "usage: kotool files\n");
        return 2;
    }
    std::printf("Environment:\n");
    for (const char* variable : VARIABLES) {
        const char* value = bosGetEnv(variable);
        std::printf("  %-16s %s\n", variable, value ? value : "(not set)");
    }
    std::printf("Configuration files:\n");
    int status = 0;
    for (const char* name : NAMES) {
        std::string path;
        bool fatal = false;
        if (!resolve(name, path, fatal)) {
            std::printf("  %-16s (cannot be resolved)\n", name);
            status = 1;
            continue;
        }
        const char* state = fatal                    ? "missing: a driver stops with \"Can't find\""
                            : bosexist(path.c_str()) ? "found"
                                                     : "missing";
        std::printf("  %-16s %s (%s)\n", name, path.c_str(), state);
    }
    return status;
}

int cmdLocate(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: kotool locate NAME [FLAGS]\n"
                             "  FLAGS (default 0x1f): 0x10 current directory, 0x02 HOME,\n"
                             "  0x04 KO and KOLIB, 0x08 LD_LIBRARY_PATH, LD_RUN_PATH and\n"
                             "  /usr/local/lib with their parents, 0x01 PATH\n");
        return 2;
    }
    unsigned long flags = 0x1f;
    if (argc == 3) {
        char* end = nullptr;
        flags = std::strtoul(argv[2], &end, 0);
        if (!*argv[2] || *end || flags > 0xffff) {
            std::fprintf(stderr, "kotool locate: '%s' is not a flag word\n", argv[2]);
            return 2;
        }
    }
    char found[BOS_PATH_BUFFER_SIZE];
    if (bosLocateFile(found, argv[1], static_cast<unsigned short>(flags)) != 0) {
        std::printf("%s: not found\n", argv[1]);
        return 1;
    }
    std::printf("%s\n", found);
    return 0;
}
