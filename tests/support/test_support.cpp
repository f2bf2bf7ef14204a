#include "test_support.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace kotest {

namespace {
// Every test starts in the same message environment whatever the caller's shell says: with
// "LANG", "LC_MESSAGES" and "LC_ALL" unset the library looks messages up under en_US, where
// the build puts the catalogue. Tests of the locale choice set their own values.
const int CleanMessageEnvironment = [] {
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
    unsetenv("LANG");
    return 0;
}();
} // namespace

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/kolib-test-XXXXXX";
    char* made = mkdtemp(&pattern[0]);
    Path = made ? made : "";
}

TempDir::~TempDir() {
    if (!Path.empty()) {
        std::string cmd = "rm -rf '" + Path + "'";
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }
}

void TempDir::write(const std::string& name, const std::string& contents) const {
    FILE* f = std::fopen(file(name).c_str(), "wb");
    if (!f) return;
    std::fwrite(contents.data(), 1, contents.size(), f);
    std::fclose(f);
}

EnvGuard::EnvGuard(const char* name, const char* value) : Name(name) {
    const char* old = std::getenv(name);
    HadOld = old != nullptr;
    if (old) Old = old;
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

EnvGuard::~EnvGuard() {
    if (HadOld)
        setenv(Name.c_str(), Old.c_str(), 1);
    else
        unsetenv(Name.c_str());
}

} // namespace kotest
