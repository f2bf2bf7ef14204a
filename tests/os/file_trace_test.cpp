// The debug trace lines of the file layer, word for word, under their mask bits.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include "kolib/directories.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "kolib/paths.h"
#include "kolib/shared_library.h"
#include "test_support.h"

TEST(FileTrace, LinesOfOpeningSearchingPathsAndLoading) {
    kotest::TempDir dir;
    const std::string d = dir.path();
    kotest::EnvGuard home("HOME", d.c_str()), odbc("ODBC_INI", nullptr), ko("KO_ODBC_INI", nullptr),
        library("LD_LIBRARY_PATH", d.c_str());
    char name[BOS_PATH_BUFFER_SIZE] = "ODBCINST.INI";
    int fd = 0;
    EXPECT_EQ(
        kotest::traced(KO_DEBUG_FILE_OPEN | KO_DEBUG_EXIST,
                       [&] { bosFileOpen(name, BOS_OPEN_CONFIG_NAME | BOS_OPEN_NAME_ONLY, &fd); }),
        "bosfopen - File:ODBCINST.INI\nbosfopen: Replacing ODBCINST.INI bosexist: Name=" + d +
            "/ODBCINST.INI  exists: 0\nwith " + d + "/ODBCINST.INI\n");

    char path[BOS_PATH_BUFFER_SIZE];
    EXPECT_EQ(kotest::traced(KO_DEBUG_PATH, [&] { bospath(path, "/d", "a", "txt"); }),
              "BOSPATH: dir:/d name:a default_ext:txt\nbospath: after bosfpath path:/d/a.txt\n");

    dir.write("one.x", "");
    std::strcpy(name, (d + "/*.x").c_str());
    void* handle = nullptr;
    EXPECT_EQ(kotest::traced(KO_DEBUG_FIND_FILES,
                             [&] {
                                 while (bosFindFiles(&handle, name) == 0 && handle) {
                                 }
                             }),
              "bosFindFiles: Search for " + d + "/*.x\nbosFindFiles: returns fileName=one.x\n");

    EXPECT_EQ(kotest::traced(KO_DEBUG_LOAD_LIBRARY, [] { bosLoadLibrary("nothere", 0); }),
              "LoadLibrary: Searching for nothere.so.\n"
              "Unable to open Shared Library: nothere.so\n");
    dir.write("broken.so", std::string(4096, 'x'));
    kotest::PushedList errors;
    std::string out = kotest::traced(KO_DEBUG_LOAD_LIBRARY, [] { bosLoadLibrary("broken", 0); });
    std::string expected = "LoadLibrary: Searching for broken.so.\nLoadLibrary: Found library " +
                           d +
                           "/broken.so.\nUnable to open Shared Library:broken.so\nLoader Error: ";
    EXPECT_EQ(out.substr(0, expected.size()), expected);
}
