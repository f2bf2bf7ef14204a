// Helpers of the configuration tests: a home directory with the configuration variables
// cleared, and reading a file back whole.
#pragma once

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>
#include "test_support.h"

namespace kotest {

struct ConfigHome {
    TempDir Dir;
    EnvGuard Home{"HOME", Dir.path().c_str()};
    std::vector<std::unique_ptr<EnvGuard>> Cleared;
    ConfigHome() {
        for (const char* name :
             {"ODBCINI", "ODBC_INI", "KO_ODBC_INI", "KOLIB_INI", "KO_SYSTEM_INI"})
            Cleared.emplace_back(new EnvGuard(name, nullptr));
    }
    std::string at(const std::string& name) const { return Dir.file(name); }
    std::string read(const std::string& name) const {
        std::ifstream in(at(name), std::ios::binary);
        std::stringstream all;
        all << in.rdbuf();
        return all.str();
    }
};

// True when something (a file, a link, a directory) has this name.
inline bool exists(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

} // namespace kotest
