// Helpers shared by the test areas: a temporary directory, an environment-variable guard and
// an error list pushed on the calling thread for the length of a scope.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include "kolib/errors.h"
#include "kolib/frame.h"

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

// An error list pushed on the calling thread for the length of a scope.
class PushedList {
public:
    PushedList() : List(nullptr, 1) { List.pushOnErrorKeeper(); }
    ~PushedList() { List.popOffErrorKeeper(); }
    unsigned short lastNumber() const { return KoErrorKeeper::getLastErrorNumber(); }
    std::string lastText() const {
        KoError* e = KoErrorKeeper::getLastError();
        return e ? e->getErrorText() : "";
    }
    KoErrorList List;
};

// What `body` prints on standard output with the debug mask set to `level`.
template <typename Body> std::string traced(uint32_t level, Body body) {
    testing::internal::CaptureStdout();
    BOS_RUNTIME_DEBUG.Level = level;
    body();
    BOS_RUNTIME_DEBUG.Level = 0;
    return testing::internal::GetCapturedStdout();
}

} // namespace kotest
