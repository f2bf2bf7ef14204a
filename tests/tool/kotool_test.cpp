// kotool as a scripted command: exit statuses, what `check` lists, the hint after a failed
// look-up, and that reading commands never create or change a file. The built tool runs in a
// child process with its own HOME and data-source variables.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include "test_support.h"

namespace {

struct ToolRun {
    int Status = -1; // -1: did not exit normally (a crash)
    std::string Out, Err;
};

// kotool ARGS with HOME = `home` and the data-source file (ODBCINI) given or unset.
ToolRun kotool(const std::string& home, const char* odbcini, std::vector<std::string> args) {
    const char* bin = std::getenv("KOLIB_TEST_BIN");
    std::string tool = std::string(bin ? bin : ".") + "/kotool";
    std::string errPath = home + "/.stderr";
    int fds[2];
    ToolRun run;
    if (pipe(fds) != 0) return run;
    pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 1);
        close(fds[0]);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(err, 2);
        setenv("HOME", home.c_str(), 1);
        odbcini ? setenv("ODBCINI", odbcini, 1) : unsetenv("ODBCINI");
        unsetenv("ODBC_INI");
        unsetenv("KO_ODBC_INI");
        std::vector<char*> argv{const_cast<char*>(tool.c_str())};
        for (std::string& arg : args) argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        execv(tool.c_str(), argv.data());
        _exit(127);
    }
    close(fds[1]);
    char chunk[4096];
    for (ssize_t n; (n = read(fds[0], chunk, sizeof chunk)) > 0;) run.Out.append(chunk, n);
    close(fds[0]);
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) run.Status = WEXITSTATUS(status);
    std::ifstream in(errPath);
    std::stringstream text;
    text << in.rdbuf();
    run.Err = text.str();
    unlink(errPath.c_str());
    return run;
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

bool exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// The line numbers `check` listed for `path`.
std::set<int> listedLines(const std::string& out, const std::string& path) {
    std::set<int> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, path.size() + 1, path + ":") == 0 && line.size() > path.size() + 1 &&
            std::isdigit(static_cast<unsigned char>(line[path.size() + 1])))
            lines.insert(std::atoi(line.c_str() + path.size() + 1));
    return lines;
}

} // namespace

TEST(Kotool, CheckListsEveryKindOfLineAndOnlyReads) {
    kotest::TempDir home;
    std::string text = "stray=1\n"      // 1 outside any section
                       "[A]\n"          // 2
                       "Port = 5432\n"  // 3 blank before "="
                       "Server=[::1]\n" // 4 "[" ends the section
                       "Name=x\r\n"     // 5 carriage return
                       "  \n"           // 6 blanks only
                       "noequals\n"     // 7 runs into the next line
                       "Long=" +
                       std::string(2048, 'x') + // 8 longer than a look-up returns
                       "\nclean=1\n"            // 9
                       "[a]\n"                  // 10 the same section again
                       "ok=1\n";                // 11
    home.write("loose.ini", text);
    std::string path = home.file("loose.ini");
    struct stat before;
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    ToolRun run = kotool(home.path(), nullptr, {"check", path});
    EXPECT_EQ(run.Status, 1) << run.Err;
    EXPECT_EQ(listedLines(run.Out, path), (std::set<int>{1, 3, 4, 5, 6, 7, 8, 10})) << run.Out;
    struct stat after;
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(contents(path), text);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_ino, before.st_ino);

    home.write("clean.ini", "; fine\n[A]\nPort=5432\n\n[B]\nx=1\n");
    EXPECT_EQ(kotool(home.path(), nullptr, {"check", home.file("clean.ini")}).Status, 0);
    // A missing or unreadable file, or a wrong call, is status 2; nothing is created.
    EXPECT_EQ(kotool(home.path(), nullptr, {"check", home.file("none.ini")}).Status, 2);
    EXPECT_FALSE(exists(home.file("none.ini")));
    EXPECT_EQ(kotool(home.path(), nullptr, {"check", home.path()}).Status, 2);
    EXPECT_EQ(kotool(home.path(), nullptr, {"check", "a", "b"}).Status, 2);
    // No argument: the data-source file (missing here, explained) and the driver file.
    run = kotool(home.path(), nullptr, {"check"});
    EXPECT_EQ(run.Status, 2);
    EXPECT_NE(run.Err.find("set ODBCINI"), std::string::npos) << run.Err;
    EXPECT_NE(run.Err.find(home.file("ODBC.INI")), std::string::npos) << run.Err;
    EXPECT_EQ(kotool(home.path(), path.c_str(), {"check"}).Status, 1);
    EXPECT_FALSE(exists(home.file("ODBC.INI")) || exists(home.file("ODBCINST.INI")));
}

TEST(Kotool, ProfileCommandsFailWithAReason) {
    kotest::TempDir home;
    home.write("odbc.ini", "[ODBC Data Sources]\nSales=Flat\n\n[Sales]\nPort = 5432\nUser=ann\n");
    std::string dsn = home.file("odbc.ini");
    const char* ini = dsn.c_str();

    ToolRun run = kotool(home.path(), ini, {"dsn"});
    EXPECT_EQ(run.Status, 0) << run.Err;
    EXPECT_EQ(run.Out, "Sales                    Flat\n");
    EXPECT_EQ(kotool(home.path(), ini, {"get", "ODBC.INI", "Sales", "User"}).Out, "ann\n");
    // A look-up that fails on a file with lines the strict rules read differently: a hint.
    run = kotool(home.path(), ini, {"get", "ODBC.INI", "Sales", "Port"});
    EXPECT_EQ(run.Status, 1);
    EXPECT_NE(run.Err.find("hint:"), std::string::npos) << run.Err;
    EXPECT_NE(run.Err.find("kotool check " + dsn), std::string::npos) << run.Err;

    // Missing and unreadable files: status 1, the path, "error"; a read creates nothing.
    run = kotool(home.path(), nullptr, {"dsn"});
    EXPECT_EQ(run.Status, 1);
    EXPECT_NE(run.Err.find("set ODBCINI"), std::string::npos) << run.Err;
    run = kotool(home.path(), home.path().c_str(), {"dsn"});
    EXPECT_EQ(run.Status, 1);
    EXPECT_EQ(run.Out, "");
    run = kotool(home.path(), ini, {"get", home.path(), "Sales"});
    EXPECT_EQ(run.Status, 1);
    EXPECT_NE(run.Err.find("error"), std::string::npos) << run.Err;
    EXPECT_EQ(run.Err.find("warning"), std::string::npos) << run.Err;
    EXPECT_EQ(kotool(home.path(), ini, {"get", "ODBCINST.INI", "Drivers"}).Status, 1);
    EXPECT_FALSE(exists(home.file("ODBCINST.INI")));

    // Deleting what is not there fails and says so; deleting what is there succeeds.
    run = kotool(home.path(), ini, {"delete", "ODBC.INI", "Sales", "Password"});
    EXPECT_EQ(run.Status, 1);
    EXPECT_NE(run.Err.find("not found"), std::string::npos) << run.Err;
    EXPECT_EQ(kotool(home.path(), ini, {"delete", "ODBC.INI", "Reports"}).Status, 1);
    EXPECT_EQ(kotool(home.path(), ini, {"delete", "ODBC.INI", "Sales", "User"}).Status, 0);
    EXPECT_EQ(contents(dsn), "[ODBC Data Sources]\nSales=Flat\n\n[Sales]\nPort = 5432\n");

    EXPECT_EQ(kotool(home.path(), ini, {"msg", "1509", "x"}).Status, 0);
    EXPECT_EQ(kotool(home.path(), ini, {"msg", "9999"}).Status, 1);
    EXPECT_EQ(kotool(home.path(), ini, {"connstr", "-s"}).Status, 2);
    EXPECT_EQ(kotool(home.path(), ini, {"connstr", "-s", "|", "A=1|B=2"}).Status, 0);
}
