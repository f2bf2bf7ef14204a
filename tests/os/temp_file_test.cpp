// Temporary files of bosFileOpen: where they go, how they are created (exclusively, private,
// never through a link), and that concurrent creators never share a file.
#include <gtest/gtest.h>

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include "child_process.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/testing.h"
#include "test_support.h"

namespace {

// Opens a temporary file; the name it got, or "" on failure (descriptor closed either way).
std::string makeTemp(const char* contents = nullptr) {
    char name[BOS_PATH_BUFFER_SIZE] = "ignored";
    int fd = -1;
    if (bosFileOpen(name, BOS_OPEN_TEMP, &fd) != 0) return fd == 0 ? "" : "(descriptor set)";
    if (contents) bosFileWrite(fd, -1, contents, std::strlen(contents));
    bosFileClose(fd);
    return name;
}

std::vector<std::string> entries(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') names.push_back(e->d_name);
        closedir(d);
    }
    return names;
}

std::string contents(const std::string& path) {
    std::string text;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buffer[256];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) text.append(buffer, n);
        std::fclose(f);
    }
    return text;
}

bool startsWith(const std::string& s, const std::string& prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

} // namespace

TEST(TempFile, KoTmpDirThenTmpDirPrivateReadWrite) {
    kotest::TempDir ko, tmp;
    kotest::EnvGuard tmpVar("TMPDIR", tmp.path().c_str());
    {
        kotest::EnvGuard koVar("KO_TMPDIR", ko.path().c_str());
        char name[BOS_PATH_BUFFER_SIZE] = "ignored";
        int fd = 0;
        std::string trace = kotest::traced(
            0x1, [&] { ASSERT_EQ(bosFileOpen(name, BOS_OPEN_TEMP | BOS_OPEN_HOME, &fd), 0u); });
        EXPECT_EQ(trace, "bosfopen - File:ignored\nbosfopen: Temp File " + std::string(name) + " ");
        EXPECT_TRUE(startsWith(name, ko.file("ko"))) << name;
        EXPECT_GT(std::strlen(name), ko.file("ko").size());
        struct stat st;
        ASSERT_EQ(fstat(fd, &st), 0);
        EXPECT_EQ(st.st_mode & 07777, 0600u);
        EXPECT_EQ(bosFileWrite(fd, 0, "abc", 3), 0u);
        char back[4] = {};
        long count = 0;
        bosFileRead(fd, 0, back, 3, &count);
        EXPECT_EQ(std::string(back), "abc");
        bosFileClose(fd);
        EXPECT_TRUE(entries(tmp.path()).empty());
        // BOS_OPEN_TEMP_EXCL is an ordinary temporary request and returns.
        std::strcpy(name, "x");
        ASSERT_EQ(bosFileOpen(name, BOS_OPEN_TEMP_EXCL, &fd), 0u);
        bosFileClose(fd);
        EXPECT_TRUE(startsWith(name, ko.file("ko"))) << name;
    }
    EXPECT_TRUE(startsWith(makeTemp(), tmp.file("ko")));
    kotest::EnvGuard noTmpVar("TMPDIR", nullptr);
    std::string system = makeTemp();
    EXPECT_TRUE(startsWith(system, std::string(P_tmpdir) + "/ko")) << system;
    unlink(system.c_str());
}

TEST(TempFile, APlantedLinkIsNeverFollowed) {
    kotest::TempDir dir;
    kotest::EnvGuard koVar("KO_TMPDIR", dir.path().c_str());
    dir.write("victim", "precious");
    ASSERT_EQ(symlink(dir.file("victim").c_str(), dir.file("kolinked").c_str()), 0);
    ASSERT_EQ(symlink(dir.file("planted").c_str(), dir.file("kodangling").c_str()), 0);
    for (const char* planted : {"kolinked", "kodangling"}) {
        bosFixNextTempName(planted);
        std::string made = makeTemp("overwritten");
        ASSERT_FALSE(made.empty());
        EXPECT_NE(made, dir.file(planted));
        EXPECT_EQ(contents(made), "overwritten");
    }
    EXPECT_EQ(contents(dir.file("victim")), "precious");
    EXPECT_NE(access(dir.file("planted").c_str(), F_OK), 0); // the dangling link's target
    // The fixed name itself is taken when nothing is there.
    bosFixNextTempName("kofree");
    EXPECT_EQ(makeTemp(), dir.file("kofree"));
}

TEST(TempFile, AnUnusableDirectoryIsReportedAndNothingIsMadeElsewhere) {
    kotest::TempDir dir, other;
    kotest::EnvGuard tmpVar("TMPDIR", other.path().c_str());
    dir.write("plain", "x");
    mkdir(dir.file("readonly").c_str(), 0500);
    struct Case {
        std::string Dir;
        unsigned short Error;
    };
    std::vector<Case> cases = {{dir.file("missing"), 1509}, {dir.file("plain"), 30041}};
    for (const Case& c : cases) {
        kotest::EnvGuard koVar("KO_TMPDIR", c.Dir.c_str());
        kotest::PushedList errors;
        char name[BOS_PATH_BUFFER_SIZE] = "ignored";
        int fd = -1;
        EXPECT_EQ(bosFileOpen(name, BOS_OPEN_TEMP, &fd), 1u) << c.Dir;
        EXPECT_EQ(fd, 0);
        EXPECT_EQ(errors.lastNumber(), c.Error) << c.Dir;
        EXPECT_NE(errors.lastText().find(c.Dir), std::string::npos) << errors.lastText();
    }
    // A directory the user may not write: as an ordinary user (the tests may run as root,
    // whom the mode bits do not stop).
    chmod(dir.path().c_str(), 0755);
    chmod(other.path().c_str(), 0777);
    chmod(dir.file("readonly").c_str(), 0555);
    const std::string readOnly = dir.file("readonly");
    kotest::ChildResult child = kotest::runForked([&] {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 10;
        kotest::EnvGuard koVar("KO_TMPDIR", readOnly.c_str());
        kotest::PushedList errors;
        char name[BOS_PATH_BUFFER_SIZE] = "ignored";
        int fd = -1;
        if (bosFileOpen(name, BOS_OPEN_TEMP, &fd) != 1 || fd != 0) return 1;
        if (errors.lastNumber() != 1508) return 2;
        return errors.lastText().find(readOnly) != std::string::npos ? 0 : 3;
    });
    EXPECT_EQ(child.Status, 0);
    EXPECT_TRUE(entries(other.path()).empty());
    EXPECT_TRUE(entries(readOnly).empty());
}

TEST(TempFile, ConcurrentCreatorsNeverShareAFile) {
    kotest::TempDir dir;
    kotest::EnvGuard koVar("KO_TMPDIR", dir.path().c_str());
    const int perCreator = 300;
    // Every creator writes its own tag into each file; a shared file would lose a tag.
    auto create = [&](const std::string& who) {
        int made = 0;
        for (int i = 0; i < perCreator; ++i) {
            std::string tag = who + "-" + std::to_string(i);
            if (!makeTemp(tag.c_str()).empty()) ++made;
        }
        return made;
    };
    std::vector<pid_t> children;
    for (const char* who : {"p1", "p2"}) {
        pid_t child = fork();
        if (child == 0) _exit(create(who) == perCreator ? 0 : 1);
        children.push_back(child);
    }
    int byThreads[2] = {};
    std::thread t1([&] { byThreads[0] = create("t1"); });
    std::thread t2([&] { byThreads[1] = create("t2"); });
    t1.join();
    t2.join();
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(byThreads[0], perCreator);
    EXPECT_EQ(byThreads[1], perCreator);
    std::set<std::string> tags;
    std::vector<std::string> files = entries(dir.path());
    for (const std::string& file : files) tags.insert(contents(dir.file(file)));
    EXPECT_EQ(files.size(), 4u * perCreator);
    EXPECT_EQ(tags.size(), 4u * perCreator);
}
