// bosFileOpen: the configuration-name table, the fatal missing data-source file, the lock on byte 1
// between processes, descriptor 0, the search retry and long names.
#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include "child_process.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "test_support.h"

namespace {

const char* const CONFIG_VARIABLES[] = {"ODBCINI",   "ODBC_INI",      "KO_ODBC_INI",
                                        "KOLIB_INI", "KO_SYSTEM_INI", "KO_TMPDIR"};

// A home directory with every configuration variable cleared.
struct Home {
    kotest::TempDir Dir;
    kotest::EnvGuard HomeVar{"HOME", Dir.path().c_str()};
    std::vector<std::unique_ptr<kotest::EnvGuard>> Cleared;
    Home() {
        for (const char* name : CONFIG_VARIABLES)
            Cleared.emplace_back(new kotest::EnvGuard(name, nullptr));
    }
    std::string at(const std::string& name) const { return Dir.file(name); }
};

std::string resolve(const char* name, unsigned long flags = BOS_OPEN_CONFIG_NAME) {
    char buffer[BOS_PATH_BUFFER_SIZE];
    std::strcpy(buffer, name);
    int fd = -7;
    if (bosFileOpen(buffer, flags | BOS_OPEN_NAME_ONLY, &fd) != 0) return "(failed)";
    return fd == 0 ? buffer : "(descriptor set)";
}

} // namespace

TEST(FileOpen, ConfigurationNamesFollowTheEnvironmentAndTheFiles) {
    struct Row {
        const char* Name;
        std::vector<std::pair<const char*, const char*>> Environment; // values relative to home
        std::vector<const char*> Files;                               // made in home
        const char* Expected;                                         // relative to home
    };
    const Row rows[] = {
        // Data sources: the caller's spelling in home, else ODBCINI before ODBC_INI.
        {"ODBC.INI", {}, {"ODBC.INI"}, "ODBC.INI"},
        {"Odbc.Ini", {}, {"Odbc.Ini"}, "Odbc.Ini"},
        {".odbc.ini", {{"ODBCINI", "a.ini"}, {"ODBC_INI", "b.ini"}}, {"a.ini", "b.ini"}, "a.ini"},
        {"odbc.ini", {{"ODBC_INI", "b.ini"}}, {"b.ini"}, "b.ini"},
        // Drivers: home first, else beside the ODBC_INI (or, unset, KO_ODBC_INI) file.
        {"ODBCINST.INI", {{"ODBC_INI", "x/odbc.ini"}}, {"ODBCINST.INI"}, "ODBCINST.INI"},
        {"ODBCINST.INI", {{"ODBC_INI", "x/odbc.ini"}}, {}, "x/.odbcinst.ini"},
        {".odbcinst.ini", {{"KO_ODBC_INI", "y/z.ini"}}, {}, "y/.odbcinst.ini"},
        {"ODBCINST.INI",
         {{"ODBC_INI", "=noslash"}, {"KO_ODBC_INI", "y/z.ini"}},
         {},
         "ODBCINST.INI"},
        // The library's files: exact case only, replaced only when missing in home.
        {".kolib.ini", {{"KOLIB_INI", "k.ini"}}, {}, "k.ini"},
        {".kolib.ini", {{"KOLIB_INI", "k.ini"}}, {".kolib.ini"}, ".kolib.ini"},
        {".system.defaults", {{"KO_SYSTEM_INI", "s.ini"}}, {}, "s.ini"},
        {".system.defaults", {}, {}, ".system.defaults"},
    };
    for (const Row& row : rows) {
        Home home;
        mkdir(home.at("x").c_str(), 0755);
        std::vector<std::unique_ptr<kotest::EnvGuard>> set;
        for (const auto& variable : row.Environment) {
            // A leading "=" marks a value taken literally rather than as a path in home.
            std::string value =
                variable.second[0] == '=' ? variable.second + 1 : home.at(variable.second);
            set.emplace_back(new kotest::EnvGuard(variable.first, value.c_str()));
        }
        for (const char* file : row.Files) home.Dir.write(file, "[x]\n");
        EXPECT_EQ(resolve(row.Name), home.at(row.Expected)) << row.Name;
    }
    // Not configuration names: other case of the library's file, or no flag at all.
    Home home;
    EXPECT_EQ(resolve(".KOLIB.INI"), ".KOLIB.INI");
    EXPECT_EQ(resolve("ODBC.INI", 0), "ODBC.INI");
    EXPECT_EQ(resolve("plain.ini", BOS_OPEN_HOME), home.at("plain.ini"));
}

TEST(FileOpen, MissingDataSourceFileEndsTheProcess) {
    Home home;
    kotest::ChildResult child = kotest::runForked([] {
        dup2(1, 2); // collect standard error with standard output
        char name[BOS_PATH_BUFFER_SIZE] = "ODBC.INI";
        int fd = 0;
        bosFileOpen(name, BOS_OPEN_CONFIG_NAME, &fd);
        return 0;
    });
    EXPECT_EQ(child.Status, 255);
    EXPECT_EQ(child.Out, "Can't find " + home.at("ODBC.INI") + "\n");
}

TEST(FileOpen, AReaderOfByteOneKeepsTheWriteLockerOut) {
    kotest::TempDir dir;
    dir.write("data", "0123456789");
    std::string path = dir.file("data");
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    pid_t reader = fork();
    if (reader == 0) {
        char name[BOS_PATH_BUFFER_SIZE];
        std::strcpy(name, path.c_str());
        int fd = 0;
        char c = bosFileOpen(name, 0, &fd) == 0 ? 'y' : 'n';
        (void)!write(ready[1], &c, 1);
        (void)!read(done[0], &c, 1); // hold the file until the parent is done
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    ASSERT_EQ(c, 'y');
    {
        kotest::PushedList errors;
        char name[BOS_PATH_BUFFER_SIZE];
        std::strcpy(name, path.c_str());
        int fd = -1;
        EXPECT_EQ(bosFileOpen(name, BOS_OPEN_WRITE | BOS_OPEN_LOCK_WRITE, &fd), 1u);
        EXPECT_EQ(fd, 0);
        EXPECT_EQ(errors.lastNumber(), 1512);
        // Another reader, or a writer without the write lock, is let in.
        EXPECT_EQ(bosFileOpen(name, BOS_OPEN_WRITE, &fd), 0u);
        bosFileClose(fd);
    }
    (void)!write(done[1], "x", 1);
    waitpid(reader, nullptr, 0);
    char name[BOS_PATH_BUFFER_SIZE];
    std::strcpy(name, path.c_str());
    int fd = 0;
    EXPECT_EQ(bosFileOpen(name, BOS_OPEN_WRITE | BOS_OPEN_LOCK_WRITE, &fd), 0u);
    bosFileClose(fd);
    for (int p : {ready[0], ready[1], done[0], done[1]}) close(p);
}

TEST(FileOpen, FailuresCarryTheirErrorNumbers) {
    kotest::TempDir dir;
    mkdir(dir.file("bin").c_str(), 0755);
    dir.write("bin/tool.cfg", "x");
    kotest::EnvGuard path("PATH", dir.file("bin").c_str());
    kotest::PushedList errors;
    char name[BOS_PATH_BUFFER_SIZE] = "tool.cfg";
    int fd = 0;
    EXPECT_EQ(bosFileOpen(name, 0, &fd), 1u);
    EXPECT_EQ(errors.lastNumber(), 1509);
    EXPECT_NE(errors.lastText().find("tool.cfg"), std::string::npos) << errors.lastText();
    // The search retry finds it along PATH and reports the path it used.
    EXPECT_EQ(bosFileOpen(name, BOS_OPEN_SEARCH, &fd), 0u);
    EXPECT_EQ(std::string(name), dir.file("bin/tool.cfg"));
    bosFileClose(fd);
    // A name that does not fit the path buffer once HOME is put in front.
    kotest::EnvGuard home("HOME", dir.path().c_str());
    std::string longName(BOS_PATH_BUFFER_SIZE - 10, 'n');
    std::strcpy(name, longName.c_str());
    EXPECT_EQ(bosFileOpen(name, BOS_OPEN_HOME, &fd), 1u);
    EXPECT_EQ(errors.lastNumber(), 30041);
    EXPECT_EQ(fd, 0);
    // Descriptor 0 is never handed out: with standard input closed the open fails.
    kotest::ChildResult child = kotest::runForked([&] {
        close(0);
        char again[BOS_PATH_BUFFER_SIZE];
        std::strcpy(again, dir.file("bin/tool.cfg").c_str());
        int got = -1;
        kotest::PushedList inChild;
        unsigned result = bosFileOpen(again, 0, &got);
        return result == 1 && got == 0 && inChild.lastNumber() == 1507 ? 0 : 1;
    });
    EXPECT_EQ(child.Status, 0);
}
