// Every look-up sees what another process did to the file before it: rewritten in place
// within the same second, replaced by rename, deleted, created, names redirected by the
// environment or by a new file in the home directory, and a forked child's own look-ups in
// between. The same scenario runs with change notices and with them switched off.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include "child_process.h"
#include "config_test_support.h"
#include "kolib/profile.h"

namespace {

std::string get(const char* section, const char* entry, const char* file) {
    char buffer[64];
    unsigned long n = koGetProfileString(section, entry, "-", buffer, sizeof buffer, file);
    return std::string(buffer, n);
}

std::string held(KoIniFileCache* cache) {
    char buffer[64];
    unsigned long n = koGetPrivateProfileString("S", "k", "-", buffer, sizeof buffer, cache);
    return std::string(buffer, n);
}

void put(const std::string& path, const std::string& text) {
    FILE* out = std::fopen(path.c_str(), "w");
    std::fputs(text.c_str(), out);
    std::fclose(out);
}

} // namespace

KO_CHILD_SCENARIO(FreshLookUps) {
    kotest::ConfigHome home;
    const std::string file = home.at("fresh.ini");
    put(file, "[S]\nk=one\n");
    KoIniFileCache* cache = koPrivateProfileInit(file.c_str());
    CHILD_CHECK(held(cache) == "one");
    bool notices = !std::getenv("KO_INI_WATCH");
    CHILD_CHECK(cache->Watched == notices);

    // In place, same size, same second: neither the size nor the second tells.
    int fd = open(file.c_str(), O_WRONLY);
    CHILD_CHECK(pwrite(fd, "two", 3, 6) == 3);
    close(fd);
    CHILD_CHECK(held(cache) == "two");
    // Replaced by rename, deleted, created again.
    put(file + ".new", "[S]\nk=three\n");
    CHILD_CHECK(rename((file + ".new").c_str(), file.c_str()) == 0);
    CHILD_CHECK(held(cache) == "three");
    unlink(file.c_str());
    CHILD_CHECK(held(cache) == "-");
    put(file, "[S]\nk=four\n");
    CHILD_CHECK(held(cache) == "four");

    // A forked child that changes the file and then looks it up must not take the notice
    // away from its parent.
    std::fflush(stdout);
    pid_t child = fork();
    if (child == 0) {
        put(file, "[S]\nk=from child\n");
        _exit(held(cache) == "from child" ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    CHILD_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    CHILD_CHECK(held(cache) == "from child");
    koPrivateProfileTerm(cache);

    // Names: the data-source variable, and a driver file that appears in the home directory
    // (before it, the one beside ODBC_INI's file is used).
    mkdir(home.at("a").c_str(), 0755);
    mkdir(home.at("b").c_str(), 0755);
    home.Dir.write("a/odbc.ini", "[D]\nk=a\n");
    home.Dir.write("b/odbc.ini", "[D]\nk=b\n");
    home.Dir.write("a/.odbcinst.ini", "[D]\nk=beside\n");
    kotest::EnvGuard first("ODBCINI", home.at("a/odbc.ini").c_str());
    kotest::EnvGuard drivers("ODBC_INI", home.at("a/odbc.ini").c_str());
    CHILD_CHECK(get("D", "k", "ODBC.INI") == "a");
    CHILD_CHECK(get("D", "k", "ODBC.INI") == "a");
    setenv("ODBCINI", home.at("b/odbc.ini").c_str(), 1);
    CHILD_CHECK(get("D", "k", "ODBC.INI") == "b");
    CHILD_CHECK(get("D", "k", "ODBCINST.INI") == "beside");
    put(home.at("ODBCINST.INI"), "[D]\nk=home\n");
    CHILD_CHECK(get("D", "k", "ODBCINST.INI") == "home");
    unlink(home.at("ODBCINST.INI").c_str());
    CHILD_CHECK(get("D", "k", "ODBCINST.INI") == "beside");
    return 0;
}

TEST(IniFresh, WithAndWithoutChangeNotices) {
    kotest::ChildResult watched = kotest::runScenario("FreshLookUps", {{"KO_INI_WATCH", nullptr}});
    EXPECT_EQ(watched.Status, 0) << watched.Out;
    kotest::ChildResult stated = kotest::runScenario("FreshLookUps", {{"KO_INI_WATCH", "0"}});
    EXPECT_EQ(stated.Status, 0) << stated.Out;
}

// A data-source file that disappears still ends the next look-up by name, even though the
// name was resolved before.
TEST(IniFresh, AVanishedDataSourceFileIsStillFatal) {
    kotest::ConfigHome home;
    home.Dir.write("odbc.ini", "[D]\nk=v\n");
    kotest::EnvGuard dataSources("ODBCINI", home.at("odbc.ini").c_str());
    kotest::ChildResult child = kotest::runForked([&] {
        if (get("D", "k", "ODBC.INI") != "v") return 1;
        unlink(home.at("odbc.ini").c_str());
        get("D", "k", "ODBC.INI");
        return 2;
    });
    EXPECT_EQ(child.Status, 255);
}
