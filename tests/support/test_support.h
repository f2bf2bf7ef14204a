// Helpers shared by the test areas: a temporary directory, an environment-variable guard and
// an error list pushed on the calling thread for the length of a scope.
#pragma once

#include <string>

namespace kotest {

// A fresh directory under the system's temporary directory, removed with its contents.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return Path; }
    std::string file(const std::string& name) const { return Path + "/" + name; }
    void write(const std::string& name, const std::string& contents) const;

private:
    std::string Path;
};

// Sets (or, with a null value, unsets) an environment variable and restores it afterwards.
class EnvGuard {
public:
    EnvGuard(const char* name, const char* value);
    ~EnvGuard();

private:
    std::string Name, Old;
    bool HadOld;
};

} // namespace kotest
