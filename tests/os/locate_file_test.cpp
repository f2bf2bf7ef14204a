// bosLocateFile over a real directory tree, and the attribute bits of bosfattr.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "test_support.h"

namespace {

// Every variable bosLocateFile reads, pointed into a temporary tree.
struct SearchTree {
    kotest::TempDir Root;
    kotest::EnvGuard Home{"HOME", nullptr}, Ko{"KO", nullptr}, Kolib{"KOLIB", nullptr},
        Library{"LD_LIBRARY_PATH", nullptr}, Run{"LD_RUN_PATH", nullptr}, Path{"PATH", nullptr};

    SearchTree() {
        for (const char* dir : {"home", "ko", "kolib", "lib", "lib/sub", "run", "bin"})
            mkdir(at(dir).c_str(), 0755);
        setenv("HOME", at("home").c_str(), 1);
        setenv("KO", at("ko").c_str(), 1);
        setenv("KOLIB", at("kolib").c_str(), 1);
        setenv("LD_LIBRARY_PATH", ("::" + at("lib/sub") + "/").c_str(), 1);
        setenv("LD_RUN_PATH", at("run").c_str(), 1);
        setenv("PATH", at("bin").c_str(), 1);
    }
    std::string at(const char* name) const { return Root.file(name); }
    std::string locate(const std::string& name, unsigned short flags) const {
        char out[BOS_PATH_BUFFER_SIZE] = "garbage";
        if (bosLocateFile(out, name.c_str(), flags) != 0) return out[0] ? "(dirty)" : "(none)";
        return out;
    }
    // The candidates bosLocateFile tries, from its trace.
    std::string trace(const std::string& name, unsigned short flags) const {
        testing::internal::CaptureStdout();
        BOS_RUNTIME_DEBUG.Level = KO_DEBUG_LOCATE_FILE;
        locate(name, flags);
        BOS_RUNTIME_DEBUG.Level = 0;
        return testing::internal::GetCapturedStdout();
    }
};

} // namespace

TEST(LocateFile, FirstDirectoryInTheFixedOrderWins) {
    SearchTree tree;
    for (const char* file : {"home/f", "kolib/f", "run/f", "bin/f", "lib/g"})
        tree.Root.write(file, "x");
    unsigned short all = BOS_LOCATE_PATH | BOS_LOCATE_HOME | BOS_LOCATE_KO | BOS_LOCATE_LIBRARY;
    EXPECT_EQ(tree.locate("f", all), tree.at("home/f"));
    EXPECT_EQ(tree.locate("f", all & ~BOS_LOCATE_HOME), tree.at("kolib/f"));
    EXPECT_EQ(tree.locate("f", BOS_LOCATE_LIBRARY | BOS_LOCATE_PATH), tree.at("run/f"));
    EXPECT_EQ(tree.locate("f", 0), "(none)");
    // The parent of an LD_LIBRARY_PATH element ("lib/sub/") holds g.
    EXPECT_EQ(tree.locate("g", BOS_LOCATE_LIBRARY), tree.at("lib/sub") + "//../g");
    // The name itself wins when it is an ordinary file; directories never match.
    EXPECT_EQ(tree.locate(tree.at("bin/f"), BOS_LOCATE_HOME), tree.at("bin/f"));
    EXPECT_EQ(tree.locate("sub", BOS_LOCATE_LIBRARY), "(none)"); // lib/sub is a directory
    EXPECT_EQ(bosLocateFile(nullptr, "f", BOS_LOCATE_HOME), 0u);
}

TEST(LocateFile, CandidatesInOrderWithParentsOnlyForTheLibraryFlag) {
    SearchTree tree;
    char saved[BOS_PATH_BUFFER_SIZE], cwd[BOS_PATH_BUFFER_SIZE];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(tree.at("bin").c_str()), 0);
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    std::string withParents =
        tree.trace("x", BOS_LOCATE_LIBRARY | BOS_LOCATE_HOME | BOS_LOCATE_CURRENT);
    std::string without = tree.trace("x", BOS_LOCATE_PATH | BOS_LOCATE_CURRENT);
    ASSERT_EQ(chdir(saved), 0);
    std::string expected;
    for (std::string element : {std::string(cwd), tree.at("home"), tree.at("lib/sub") + "/",
                                tree.at("run"), std::string("/usr/local/lib")}) {
        expected += "LocateFile: " + element + (element.back() == '/' ? "" : "/") + "x\n";
        expected += "LocateFile: " + element + "/../x\n";
    }
    EXPECT_EQ(withParents, expected);
    EXPECT_EQ(without,
              "LocateFile: " + std::string(cwd) + "/x\nLocateFile: " + tree.at("bin") + "/x\n");

    // A candidate longer than a path buffer is skipped, not traced; the next one is tried.
    tree.Root.write("kolib/h", "x");
    setenv("KO", ("/" + std::string(1100, 'a')).c_str(), 1);
    EXPECT_EQ(tree.trace("h", BOS_LOCATE_KO), "LocateFile: " + tree.at("kolib/h") + "\n");
    EXPECT_EQ(tree.locate(std::string(1030, 'n'), BOS_LOCATE_HOME), "(none)");
}

TEST(FileAttributes, Bits) {
    kotest::TempDir dir;
    dir.write("file", "x");
    std::string file = dir.file("file");
    EXPECT_EQ(bosfattr(file.c_str()), 0x01u);
    chmod(file.c_str(), 0444);
    EXPECT_EQ(bosfattr(file.c_str()), 0x05u); // read-only by mode, even for root
    EXPECT_EQ(bosfattr(dir.path().c_str()), 0x02u);
    EXPECT_EQ(bosfattr(".."), 0x02u);
    EXPECT_EQ(bosfattr(dir.file("missing").c_str()), 0x08u);
    EXPECT_EQ(bosfattr((file + "/below").c_str()), 0x10u);
    ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0644), 0);
    EXPECT_EQ(bosfattr(dir.file("fifo").c_str()), 0x20u);
    EXPECT_EQ(bosGetEnv("KOTEST_SURELY_UNSET"), nullptr);

    testing::internal::CaptureStdout();
    BOS_RUNTIME_DEBUG.Level = KO_DEBUG_EXIST;
    EXPECT_EQ(bosexist(file.c_str()), 1);
    EXPECT_EQ(bosexist(dir.path().c_str()), 0);
    BOS_RUNTIME_DEBUG.Level = 0;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "bosexist: Name=" + file + "  exists: 1\nbosexist: Name=" + dir.path() +
                  "  exists: 0\n");
}

TEST(FileAttributes, WritePermissionFromOwnerThenGroupThenOthers) {
    if (getuid() != 0) GTEST_SKIP() << "needs root to give files away";
    kotest::TempDir dir;
    dir.write("f", "x");
    std::string name = dir.file("f");
    const char* f = name.c_str();
    ASSERT_EQ(chown(f, 12345, getgid()), 0); // our group: its bit decides, not the owner's
    chmod(f, 0620);
    EXPECT_EQ(bosfattr(f), 0x01u);
    chmod(f, 0602);
    EXPECT_EQ(bosfattr(f), 0x05u);
    ASSERT_EQ(chown(f, 12345, 12345), 0); // neither: the others' bit decides
    chmod(f, 0642);
    EXPECT_EQ(bosfattr(f), 0x01u);
    chmod(f, 0660);
    EXPECT_EQ(bosfattr(f), 0x05u);
}
