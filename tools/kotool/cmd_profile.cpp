// kotool dsn | get | set | delete: the profile functions from the command line. FILE is a
// configuration name ("ODBC.INI", "ODBCINST.INI", ".kolib.ini", ".system.defaults") or a path.
#include <cstdio>
#include <cstring>
#include <string>
#include "commands.h"
#include "kolib/errors.h"
#include "kolib/profile.h"

namespace {

const unsigned long BUFFER_SIZE = 65536;

// Prints the errors the call left on the list; returns the exit status.
int report(KoErrorList& list, bool ok, const char* what) {
    int status = ok ? 0 : 1;
    for (KoError* e = list.getFirstNode(); e; e = list.getNextNode()) {
        std::fprintf(stderr, "kotool: %s%u: %s\n", e->isWarning() ? "warning " : "",
                     e->getErrorNumber(), e->getErrorText());
        if (!e->isWarning()) status = 1;
    }
    if (!ok) std::fprintf(stderr, "kotool: %s failed\n", what);
    return status;
}

// Prints the names of a zero-separated list; returns how many there were.
int printNames(const char* names, unsigned long count, const char* file, const char* section,
               bool withValues) {
    int printed = 0;
    for (const char* name = names; name < names + count && *name;
         name += std::strlen(name) + 1, ++printed) {
        if (!withValues) {
            std::printf("%s\n", name);
            continue;
        }
        char value[2048];
        koGetProfileString(section, name, "", value, sizeof value, file);
        std::printf("%-24s %s\n", name, value);
    }
    return printed;
}

} // namespace

int cmdDsn(int argc, char**) {
    if (argc != 1) {
        std::fprintf(stderr, "usage: kotool dsn\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    std::string names(BUFFER_SIZE, '\0');
    unsigned long count =
        koGetProfileString("ODBC Data Sources", nullptr, "", &names[0], BUFFER_SIZE, "ODBC.INI");
    if (!printNames(names.data(), count, "ODBC.INI", "ODBC Data Sources", true))
        std::printf("(no data sources)\n");
    int status = report(list, true, "dsn");
    list.popOffErrorKeeper();
    return status;
}

int cmdGet(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: kotool get FILE SECTION [ENTRY]\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    std::string buffer(BUFFER_SIZE, '\0');
    const char* entry = argc == 4 ? argv[3] : nullptr;
    unsigned long count = koGetProfileString(argv[2], entry, "", &buffer[0], BUFFER_SIZE, argv[1]);
    bool found = count > 0;
    if (!entry)
        found = printNames(buffer.data(), count, argv[1], argv[2], false) > 0;
    else if (found)
        std::printf("%s\n", buffer.c_str());
    if (!found)
        std::fprintf(stderr, "kotool get: [%s]%s%s not found in %s\n", argv[2], entry ? " " : "",
                     entry ? entry : "", argv[1]);
    int status = report(list, true, "get");
    list.popOffErrorKeeper();
    return found ? status : 1;
}

int cmdSet(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: kotool set FILE SECTION ENTRY VALUE\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    bool ok = koWriteProfileString(argv[2], argv[3], argv[4], argv[1]) == 1;
    int status = report(list, ok, "set");
    list.popOffErrorKeeper();
    return status;
}

int cmdDelete(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: kotool delete FILE SECTION [ENTRY]\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    bool ok = koWriteProfileString(argv[2], argc == 4 ? argv[3] : nullptr, nullptr, argv[1]) == 1;
    int status = report(list, ok, "delete");
    list.popOffErrorKeeper();
    return status;
}
