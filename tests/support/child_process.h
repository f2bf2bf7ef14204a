// Test code in a second process, with its standard output collected. runScenario starts this
// test program afresh with a changed environment (for settings the library reads at load);
// the scenario, registered with KO_CHILD_SCENARIO, runs before main and leaves through exit()
// so that the library's unload code runs too. runForked runs a body in a fork()ed copy.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kotest {

struct ChildResult {
    int Status = -1; // exit status, -1 when the child did not exit normally
    std::string Out;
};

// Name and value; a null value unsets the variable.
using EnvSetting = std::pair<const char*, const char*>;

ChildResult runScenario(const char* scenario, const std::vector<EnvSetting>& environment);
ChildResult runForked(const std::function<int()>& body);
// Runs a scenario over a copy of the library in a directory without a message catalogue
// (the library also looks for its catalogue beside itself, so the search path alone does
// not hide the build's catalogue).
ChildResult runWithoutCatalogue(const char* scenario);

struct ChildScenario {
    ChildScenario(const char* name, int (*body)());
};

} // namespace kotest

#define KO_CHILD_SCENARIO(name)                                                                    \
    static int name##Body();                                                                       \
    static kotest::ChildScenario name##Registration(#name, &name##Body);                           \
    static int name##Body()

// In a scenario: report a failed condition on standard error and fail the child.
#define CHILD_CHECK(condition)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition);           \
            return 1;                                                                              \
        }                                                                                          \
    } while (0)
