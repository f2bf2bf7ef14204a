// Child processes for the tests: a re-executed test program or a fork of this one, with
// standard output collected through a pipe.
#include "child_process.h"

#include <string>
#include "test_support.h"

#include <cstdlib>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace kotest {

namespace {
const char* const ScenarioVariable = "KOTEST_SCENARIO";

ChildResult collect(const std::function<void()>& child) {
    ChildResult result;
    int fds[2];
    if (pipe(fds) != 0) return result;
    std::fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 1);
        close(fds[0]);
        close(fds[1]);
        child();
        _exit(127);
    }
    close(fds[1]);
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) result.Out.append(buffer, n);
    close(fds[0]);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        result.Status = WEXITSTATUS(status);
    return result;
}
} // namespace

ChildResult runScenario(const char* scenario, const std::vector<EnvSetting>& environment) {
    return collect([&] {
        for (const EnvSetting& setting : environment)
            setting.second ? setenv(setting.first, setting.second, 1) : unsetenv(setting.first);
        setenv(ScenarioVariable, scenario, 1);
        char* argv[] = {const_cast<char*>("kotest"), nullptr};
        execv("/proc/self/exe", argv);
    });
}

ChildResult runForked(const std::function<int()>& body) {
    return collect([&] {
        int status = body();
        std::fflush(stdout);
        _exit(status);
    });
}

ChildResult runWithoutCatalogue(const char* scenario) {
    const char* search = std::getenv("LD_LIBRARY_PATH");
    std::string library = std::string(search ? search : "");
    library = library.substr(0, library.find(':')) + "/libkolib.so.1";
    TempDir bare;
    std::string copy = "cp '" + library + "' '" + bare.path() + "/'";
    if (std::system(copy.c_str()) != 0) return ChildResult();
    return runScenario(scenario, {{"LD_LIBRARY_PATH", bare.path().c_str()}, {"NLSPATH", nullptr}});
}

ChildScenario::ChildScenario(const char* name, int (*body)()) {
    const char* wanted = std::getenv(ScenarioVariable);
    if (!wanted || std::strcmp(wanted, name) != 0) return;
    int status = body();
    std::fflush(stdout);
    std::exit(status); // runs the library's unload code
}

} // namespace kotest
