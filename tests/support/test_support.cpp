#include "test_support.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace kotest {

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
