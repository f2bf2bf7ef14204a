// Reading, writing, sizes, deleting, renaming and probing real files in a temporary
// directory; the path functions and bosgetbl on texts in memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include "kolib/files.h"
#include "kolib/host.h"
#include "kolib/locate.h"
#include "kolib/paths.h"
#include "test_support.h"

namespace {
int openWrite(const kotest::TempDir& dir, const char* file) {
    char name[BOS_PATH_BUFFER_SIZE];
    std::strcpy(name, dir.file(file).c_str());
    int fd = 0;
    return bosFileOpen(name, BOS_OPEN_CREATE, &fd) == 0 ? fd : -1;
}

// Restores the current directory at the end of a scope.
struct CwdGuard {
    char Saved[BOS_PATH_BUFFER_SIZE];
    CwdGuard() { bosgtcwd(Saved, 0); }
    ~CwdGuard() { bosstcwd(Saved); }
};
} // namespace

TEST(FileIo, ReadWriteSeekSizeAndDates) {
    kotest::TempDir dir;
    kotest::PushedList errors;
    int fd = openWrite(dir, "f");
    ASSERT_GT(fd, 0);
    EXPECT_EQ(bosFileWrite(fd, -1, "hello world", 11), 0u);
    EXPECT_EQ(bosFileWrite(fd, 6, "WORLD", 5), 0u);
    char buffer[32] = {};
    long count = 0;
    EXPECT_EQ(bosFileRead(fd, 0, buffer, sizeof buffer, &count), 0u);
    EXPECT_EQ(std::string(buffer, count), "hello WORLD");
    EXPECT_EQ(bosFileSeek(fd, -5, 2), 6);
    EXPECT_EQ(bosFileSeek(fd, 2, 1), 8);
    EXPECT_EQ(bosFileSize(fd, 5), 0u);
    unsigned long date = 0, size = 0;
    EXPECT_EQ(bosFileDateSize(dir.file("f").c_str(), &date, &size), 0u);
    EXPECT_EQ(size, 5u);
    EXPECT_GT(date, 1600000000u);
    EXPECT_EQ(bosFileDateSize(dir.file("none").c_str(), &date, &size), 1u);
    // A complete write of 65,536 bytes reads as nothing written: the count is 16-bit.
    std::vector<char> big(65536, 'x');
    EXPECT_EQ(bosFileWrite(fd, 0, big.data(), big.size()), 1u);
    EXPECT_EQ(errors.lastNumber(), 1506);
    EXPECT_EQ(bosFileClose(fd), 0u);
    // Descriptors 0 and -1 are "no file"; a stale one is an error.
    EXPECT_EQ(bosFileClose(0), 0u);
    EXPECT_EQ(bosFileClose(-1), 0u);
    EXPECT_EQ(bosFileClose(fd), 1u);
    EXPECT_EQ(errors.lastNumber(), 1507);
    EXPECT_EQ(bosFileRead(-1, -1, buffer, 4, &count), 0u);
    EXPECT_EQ(count, -1);
}

TEST(FileIo, DeleteRenameAndProbe) {
    kotest::TempDir dir;
    kotest::PushedList errors;
    dir.write("a", "1");
    dir.write("b", "2");
    EXPECT_EQ(bosrname(dir.file("a").c_str(), dir.file("c").c_str()), 0u);
    EXPECT_EQ(bosfattr(dir.file("a").c_str()), unsigned(BOS_FATTR_MISSING));
    // Renaming onto an existing name fails: it is a hard link.
    EXPECT_EQ(bosrname(dir.file("c").c_str(), dir.file("b").c_str()), 1u);
    EXPECT_EQ(errors.lastNumber(), 30042);
    EXPECT_EQ(bosFileDelete(dir.file("c").c_str()), 0u);
    EXPECT_EQ(bosFileDelete(dir.file("c").c_str()), 0u); // already gone
    mkdir(dir.file("d").c_str(), 0755);
    EXPECT_EQ(bosFileDelete(dir.file("d").c_str()), 1u);
    EXPECT_EQ(errors.lastNumber(), 1502);
    EXPECT_EQ(bosftest(dir.file("any").c_str()), 1);
    EXPECT_EQ(bosftest((dir.path() + "/missing/x").c_str()), 0);
    EXPECT_EQ(bosftest("noslash"), 0);
    EXPECT_EQ(bosfattr(dir.file("$$$ko$$$.$ko").c_str()), unsigned(BOS_FATTR_MISSING));
}

TEST(Paths, BuildingAndSplitting) {
    kotest::TempDir dir;
    CwdGuard cwd;
    ASSERT_EQ(bosstcwd(dir.path().c_str()), 0u);
    char real[BOS_PATH_BUFFER_SIZE];
    bosgtcwd(real, 1);
    EXPECT_EQ(real[std::strlen(real) - 1], '/');
    std::string here = real;
    char path[BOS_PATH_BUFFER_SIZE];
    EXPECT_EQ(bospath(path, "/d", "a.  ", "txt"), 0u);
    EXPECT_STREQ(path, "/d/a.txt");
    EXPECT_EQ(bospath(path, "/d/", "..", "txt"), 0u);
    EXPECT_STREQ(path, "/d/..");
    EXPECT_EQ(bospath(path, "/d", "sub/x", "txt"), 0u);
    EXPECT_EQ(std::string(path), here + "sub/x.txt");
    EXPECT_EQ(bospath(path, nullptr, "x.dat", "txt"), 0u);
    EXPECT_EQ(std::string(path), here + "x.dat");

    char name[129], ext[4];
    std::strcpy(path, "/x/y/name.text");
    EXPECT_EQ(bosParseName(path, name, ext, 1), 0u);
    EXPECT_STREQ(name, "name");
    EXPECT_STREQ(ext, "tex");
    EXPECT_STREQ(path, "/x/y/");
    kotest::PushedList errors;
    std::string longName = "/x/" + std::string(200, 'n');
    std::strcpy(path, longName.c_str());
    EXPECT_EQ(bosParseName(path, name, ext, 1), 1u);
    EXPECT_EQ(errors.lastNumber(), 1524);
    EXPECT_EQ(std::strlen(name), 128u);
    EXPECT_STREQ(ext, "");

    std::strcpy(path, (here + "data/x").c_str());
    bosmpath(path);
    EXPECT_STREQ(path, "data/x");
    std::strcpy(path, "rel");
    bosfpath(path, 0);
    EXPECT_EQ(std::string(path), here + "rel");
    kotest::EnvGuard home("HOME", "/home/someone");
    std::strcpy(path, "f");
    boshpath(path);
    EXPECT_STREQ(path, "/home/someone/f");
    // A result longer than the buffer leaves it alone.
    std::string deep(BOS_PATH_BUFFER_SIZE - 5, 'z');
    std::strcpy(path, deep.c_str());
    EXPECT_EQ(bosfpath(path, 0), 1u);
    EXPECT_EQ(std::string(path), deep);
    EXPECT_EQ(bosstcwd((here + "missing").c_str()), 1u);
    EXPECT_EQ(errors.lastNumber(), 1504);
}

TEST(Paths, LogicalLinesOfATextInMemory) {
    struct Expected {
        std::string Line;
        unsigned short Status;
    };
    const char text[] = "plain\r\n"
                        "k=\"a\nb\" 'it''s' \"x'y'\n\"\n"
                        "; don't quote\n"
                        "0123456789ABCDEF0123456789ABCDEFxyz\n"
                        "last\x1a"
                        "after the mark";
    const std::vector<Expected> expected = {
        {"plain", 5}, {"k=\"a\nb\" 'it''s' \"x'y'\n\"", 23},
        {"", 0},      {"0123456789ABCDEF0123456789ABCDE", BOS_GETBL_TOO_LONG},
        {"last", 4},
    };
    unsigned long pos = 0;
    char line[32];
    unsigned short status = 0;
    for (const Expected& e : expected) {
        bosgetbl(text, &pos, line, 31, &status);
        EXPECT_EQ(status, e.Status);
        EXPECT_EQ(line, e.Line);
    }
    unsigned long before = pos;
    bosgetbl(text, &pos, line, 31, &status);
    EXPECT_EQ(status, BOS_GETBL_END);
    EXPECT_EQ(pos, before);
    // An unterminated quote runs to the end of the text.
    pos = 0;
    char open[64];
    bosgetbl("a'b\nc", &pos, open, 63, &status);
    EXPECT_STREQ(open, "a'b\nc");
}

TEST(Host, NamesAndTheirBufferRule) {
    char name[64];
    EXPECT_EQ(bosGetMachineName(name, sizeof name - 1), 0u);
    EXPECT_GT(std::strlen(name), 0u);
    EXPECT_EQ(bosGetHostUser(name, sizeof name - 1), 0u);
    EXPECT_GT(std::strlen(name), 0u);
    // Too small: size bytes and the terminator one past them.
    char small[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(bosGetHostUser(small, 2), 0u);
    EXPECT_EQ(small[2], '\0');
    EXPECT_EQ(std::string(small, 2), std::string(name, 2));
    EXPECT_EQ(bosGetMachineName(nullptr, 10), 0u);
    char text[] = "MiXed 1";
    UpperText(text);
    EXPECT_STREQ(text, "MIXED 1");
    LowerText(text);
    EXPECT_STREQ(text, "mixed 1");
}
