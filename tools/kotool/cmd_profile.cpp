// kotool dsn | get | set | delete: the profile functions from the command line. FILE is a
// configuration name ("ODBC.INI", "ODBCINST.INI", ".kolib.ini", ".system.defaults") or a path.
// Each command resolves FILE first and checks that it can be read, so a missing or unreadable
// file is reported with its path (and a read never creates one) before the library sees it.
// Exit status: 0 done, 1 failed or not found, 2 usage error.
#include <cstdio>
#include <cstring>
#include <string>
#include "commands.h"
#include "config_file.h"
#include "kolib/errors.h"
#include "kolib/profile.h"

namespace {

const unsigned long BUFFER_SIZE = 65536;

// Prints the errors the call left on the list, as errors when the command failed and as
// warnings otherwise; returns the exit status. Any error that is not a warning fails it.
int report(KoErrorList& list, bool ok, const char* command) {
    for (KoError* e = list.getFirstNode(); e; e = list.getNextNode())
        if (!e->isWarning()) ok = false;
    bool printed = false;
    for (KoError* e = list.getFirstNode(); e; e = list.getNextNode(), printed = true)
        std::fprintf(stderr, "kotool %s: %s %u: %s\n", command, ok ? "warning" : "error",
                     e->getErrorNumber(), e->getErrorText());
    if (!ok && !printed) std::fprintf(stderr, "kotool %s: error: failed\n", command);
    return ok ? 0 : 1;
}

bool endsInCarriageReturn(const char* text) {
    size_t length = std::strlen(text);
    return length && text[length - 1] == '\r';
}

// Prints the names of a zero-separated list, with their values when asked; returns how many
// there were. `suspect` is set when a value could not be found or ends in a carriage return.
int printNames(const char* names, unsigned long count, const char* file, const char* section,
               bool withValues, bool* suspect) {
    int printed = 0;
    for (const char* name = names; name < names + count && *name;
         name += std::strlen(name) + 1, ++printed) {
        if (!withValues) {
            std::printf("%s\n", name);
            continue;
        }
        char value[2048];
        koGetProfileString(section, name, "", value, sizeof value, file);
        if (!*value || endsInCarriageReturn(value)) *suspect = true;
        std::printf("%-24s %s\n", name, value);
    }
    return printed;
}

bool sameText(const std::string& path, const std::string& before) {
    std::string after, why;
    return readFileText(path, &after, &why) && after == before;
}

} // namespace

int cmdDsn(int argc, char**) {
    if (argc != 1) {
        std::fprintf(stderr, "usage: kotool dsn\n");
        return 2;
    }
    std::string path;
    if (!prepareConfigFile("dsn", "ODBC.INI", false, &path)) return 1;
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    std::string names(BUFFER_SIZE, '\0');
    unsigned long count =
        koGetProfileString("ODBC Data Sources", nullptr, "", &names[0], BUFFER_SIZE, "ODBC.INI");
    bool suspect = false;
    if (!printNames(names.data(), count, "ODBC.INI", "ODBC Data Sources", true, &suspect)) {
        std::printf("(no data sources)\n");
        suspect = true;
    }
    // The file was readable a moment ago: anything on the list now means it could not be read.
    int status = report(list, list.getFirstNode() == nullptr, "dsn");
    list.popOffErrorKeeper();
    if (suspect) hintAtCheck("dsn", path);
    return status;
}

int cmdGet(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: kotool get FILE SECTION [ENTRY]\n");
        return 2;
    }
    std::string path;
    if (!prepareConfigFile("get", argv[1], false, &path)) return 1;
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    std::string buffer(BUFFER_SIZE, '\0');
    const char* entry = argc == 4 ? argv[3] : nullptr;
    unsigned long count = koGetProfileString(argv[2], entry, "", &buffer[0], BUFFER_SIZE, argv[1]);
    bool found = count > 0, suspect = false;
    if (!entry)
        found = printNames(buffer.data(), count, argv[1], argv[2], false, &suspect) > 0;
    else if (found)
        std::printf("%s\n", buffer.c_str());
    if (!found)
        std::fprintf(stderr, "kotool get: [%s]%s%s not found in %s\n", argv[2], entry ? " " : "",
                     entry ? entry : "", path.c_str());
    int status = report(list, list.getFirstNode() == nullptr, "get");
    list.popOffErrorKeeper();
    if (!found || (entry && endsInCarriageReturn(buffer.c_str()))) hintAtCheck("get", path);
    return found ? status : 1;
}

int cmdSet(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: kotool set FILE SECTION ENTRY VALUE\n");
        return 2;
    }
    std::string path;
    if (!prepareConfigFile("set", argv[1], true, &path)) return 1;
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    bool ok = koWriteProfileString(argv[2], argv[3], argv[4], argv[1]) == 1;
    int status = report(list, ok, "set");
    list.popOffErrorKeeper();
    return status;
}

// A delete that finds nothing leaves the text as it was: that is how a missing section or
// entry is told from a deleted one.
int cmdDelete(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: kotool delete FILE SECTION [ENTRY]\n");
        return 2;
    }
    std::string path, before, why;
    if (!prepareConfigFile("delete", argv[1], false, &path)) return 1;
    if (!readFileText(path, &before, &why)) {
        std::fprintf(stderr, "kotool delete: error: cannot read %s: %s\n", path.c_str(),
                     why.c_str());
        return 1;
    }
    const char* entry = argc == 4 ? argv[3] : nullptr;
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    bool ok = koWriteProfileString(argv[2], entry, nullptr, argv[1]) == 1;
    int status = report(list, ok, "delete");
    list.popOffErrorKeeper();
    if (status == 0 && sameText(path, before)) {
        std::fprintf(stderr, "kotool delete: [%s]%s%s not found in %s\n", argv[2], entry ? " " : "",
                     entry ? entry : "", path.c_str());
        hintAtCheck("delete", path);
        status = 1;
    }
    return status;
}
