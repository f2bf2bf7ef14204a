// kotool check [FILE|NAME]: lists the lines of a configuration file that the library's strict
// rules read differently from the usual lenient reading, as "PATH:LINE: what". Without an
// argument it checks the data-source file and the driver file as they resolve now. The files
// are only read: never created, never changed.
// Exit status: 0 nothing found, 1 lines found, 2 usage error or a file that cannot be read.
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include "commands.h"
#include "config_file.h"
#include "ini_lint.h"

namespace {

// Checks one file; returns its exit status. `optional`: a missing file is only noted.
int checkFile(const char* name, bool optional) {
    std::string path;
    bool missingDataSources = false;
    if (!resolveConfigName(name, &path, &missingDataSources)) {
        std::fprintf(stderr, "kotool check: error: %s cannot be resolved\n", name);
        return 2;
    }
    if (missingDataSources) {
        explainMissingDataSources("check", path);
        return 2;
    }
    struct stat info;
    if (optional && stat(path.c_str(), &info) != 0) {
        std::printf("%s: does not exist (%s resolves there), not checked\n", path.c_str(), name);
        return 0;
    }
    std::string text, why;
    if (!readFileText(path, &text, &why)) {
        std::fprintf(stderr, "kotool check: error: cannot read %s: %s\n", path.c_str(),
                     why.c_str());
        return 2;
    }
    std::vector<IniFinding> findings = lintIniText(text);
    for (const IniFinding& finding : findings)
        std::printf("%s:%lu: %s\n", path.c_str(), finding.Line, finding.Message.c_str());
    unsigned long lines = countLintedLines(findings);
    if (!lines) {
        std::printf("%s: nothing the strict rules read differently\n", path.c_str());
        return 0;
    }
    std::printf("%s: %lu line%s the strict rules read differently\n", path.c_str(), lines,
                lines == 1 ? "" : "s");
    return 1;
}

} // namespace

int cmdCheck(int argc, char** argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fprintf(stderr, "usage: kotool check [FILE|NAME]\n"
                             "  no argument: the data-source file (ODBC.INI) and the driver\n"
                             "  file (ODBCINST.INI) as they resolve now\n");
        return 2;
    }
    if (argc == 2) return checkFile(argv[1], false);
    int dataSources = checkFile("ODBC.INI", false);
    int drivers = checkFile("ODBCINST.INI", true);
    return dataSources > drivers ? dataSources : drivers;
}

void hintAtCheck(const char* command, const std::string& path) {
    std::string text, why;
    if (!readFileText(path, &text, &why)) return;
    unsigned long lines = countLintedLines(lintIniText(text));
    if (lines)
        std::fprintf(stderr,
                     "kotool %s: hint: %s has %lu line%s the strict rules read differently; see "
                     "kotool check %s\n",
                     command, path.c_str(), lines, lines == 1 ? "" : "s", path.c_str());
}
