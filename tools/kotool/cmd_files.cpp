// kotool files: where the configuration files resolve in the current environment, the way a
// driver would open them. kotool locate NAME [FLAGS]: a bosLocateFile look-up.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include "commands.h"
#include "config_file.h"
#include "kolib/files.h"
#include "kolib/locate.h"

namespace {

const char* const VARIABLES[] = {"HOME",        "ODBCINI",   "ODBC_INI",
                                 "KO_ODBC_INI", "KOLIB_INI", "KO_SYSTEM_INI"};
const char* const NAMES[] = {"ODBC.INI", "ODBCINST.INI", ".kolib.ini", ".system.defaults"};

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
        if (!resolveConfigName(name, &path, &fatal)) {
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
