// bosFindFiles over real directories (listings far longer than one 4096-byte buffer, names
// with blanks, patterns full of shell syntax), and the directory and mount iterations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>
#include "kolib/directories.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/paths.h"
#include "test_support.h"

namespace {
std::vector<std::string> findAll(const std::string& pattern, unsigned* firstResult = nullptr) {
    std::vector<std::string> names;
    char name[BOS_PATH_BUFFER_SIZE];
    std::snprintf(name, sizeof name, "%s", pattern.c_str());
    void* handle = nullptr;
    unsigned result = bosFindFiles(&handle, name);
    if (firstResult) *firstResult = result;
    while (handle) {
        names.push_back(name);
        bosFindFiles(&handle, name);
    }
    EXPECT_STREQ(name, "");
    return names;
}
} // namespace

TEST(FindFiles, LongListingsComeWholeAndInOrder) {
    kotest::TempDir dir;
    std::vector<std::string> expected;
    // About 38,000 bytes of listing: nine re-runs of the shell.
    for (int i = 0; i < 700; ++i) {
        char file[64];
        std::snprintf(file, sizeof file, "%s%04d-%s.dat", i % 7 ? "file" : "my file ", i,
                      std::string(i % 23, 'q').c_str());
        dir.write(file, "");
        expected.push_back(file);
    }
    dir.write("other.txt", "");
    std::sort(expected.begin(), expected.end());
    std::vector<std::string> found = findAll(dir.path() + "/*.dat");
    EXPECT_EQ(found, expected);
    // Blanks in the pattern are part of the name, not separators.
    found = findAll(dir.path() + "/my file 0000*");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0], "my file 0000-.dat");
    EXPECT_TRUE(findAll(dir.path() + "/nothing*").empty());
}

TEST(FindFiles, ShellSyntaxInThePatternRunsNothing) {
    kotest::TempDir dir;
    dir.write("a.txt", "");
    const std::string d = dir.path();
    const std::vector<std::string> patterns = {
        d + "/*.txt; touch " + d + "/p1",
        d + "/$(touch " + d + "/p2)",
        d + "/`touch " + d + "/p3`",
        d + "/x' ; touch " + d + "/p4 ; '",
        d + "/x\" && touch " + d + "/p5 \"",
        d + "/x | touch " + d + "/p6",
        d + "/x > " + d + "/p7",
        d + "/x & touch " + d + "/p8",
        d + "/x\\\n touch " + d + "/p9",
        d + "/x\nEOT\ntouch " + d + "/p10\n",
        d + "/${HOME}$((1+1))",
    };
    for (const std::string& pattern : patterns) {
        unsigned result = 0;
        std::vector<std::string> found = findAll(pattern, &result);
        EXPECT_TRUE(found.empty()) << pattern;
    }
    // Only the listing ever ran: no file was made, and the plain pattern still works.
    std::vector<std::string> all = findAll(d + "/*");
    EXPECT_EQ(all, std::vector<std::string>{"a.txt"});
    // A line feed cannot be quoted for the here-document: the search is refused.
    kotest::PushedList errors;
    unsigned result = 0;
    findAll(d + "/x\ny", &result);
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(errors.lastNumber(), 30041);
}

TEST(Directories, SubDirectoriesAndMountPoints) {
    kotest::TempDir dir;
    for (const char* sub : {"beta", "alpha", ".hidden"}) mkdir(dir.file(sub).c_str(), 0755);
    dir.write("file", "");
    symlink(dir.file("alpha").c_str(), dir.file("link").c_str());
    char saved[BOS_PATH_BUFFER_SIZE];
    bosgtcwd(saved, 0);
    ASSERT_EQ(bosstcwd(dir.path().c_str()), 0u);
    std::vector<std::string> names;
    char name[BOS_PATH_BUFFER_SIZE];
    void* handle = nullptr;
    do {
        EXPECT_EQ(bosGetDirectoryNames(&handle, name), 0u);
        if (handle) names.push_back(name);
    } while (handle);
    bosstcwd(saved);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"alpha", "beta", "link"}));

    bool root = false;
    handle = nullptr;
    do {
        EXPECT_EQ(bosGetFileSystems(&handle, name), 0u);
        root = root || !std::strcmp(name, "/");
    } while (handle);
    EXPECT_TRUE(root);
    EXPECT_STREQ(name, "");
}
