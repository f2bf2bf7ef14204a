// bosLoadLibrary with a real shared object built by the project, found through an
// LD_LIBRARY_PATH element and through its parent, and a broken library.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include "kolib/shared_library.h"
#include "test_support.h"

namespace {
void copyFile(const std::string& from, const std::string& to) {
    std::ifstream in(from, std::ios::binary);
    std::ofstream out(to, std::ios::binary);
    out << in.rdbuf();
}

int answer(void* handle) {
    auto fn = reinterpret_cast<int (*)()>(dlsym(handle, "kotest_plugin_answer"));
    return fn ? fn() : -1;
}
} // namespace

TEST(LoadLibrary, FoundAlongTheLibraryPathAndItsParents) {
    kotest::TempDir dir;
    mkdir(dir.file("lib").c_str(), 0755);
    mkdir(dir.file("lib/sub").c_str(), 0755);
    copyFile(KOTEST_PLUGIN, dir.file("lib/plug17.so"));
    copyFile(KOTEST_PLUGIN, dir.file("lib/plain.so.2"));
    kotest::EnvGuard ko("KO", nullptr), kolib("KOLIB", nullptr), run("LD_RUN_PATH", nullptr);
    {
        kotest::EnvGuard path("LD_LIBRARY_PATH", ("/nonexistent:" + dir.file("lib")).c_str());
        void* handle = bosLoadLibrary("plug  ", 1); // trailing blanks go, "17.so" is added
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(answer(handle), 42);
        dlclose(handle);
        handle = bosLoadLibrary("plain.so.2", 0); // already has ".so": nothing appended
        ASSERT_NE(handle, nullptr);
        dlclose(handle);
    }
    kotest::EnvGuard path("LD_LIBRARY_PATH", dir.file("lib/sub").c_str());
    testing::internal::CaptureStdout();
    kotest::EnvGuard debug("KO_DEBUGGING", nullptr);
    void* handle = bosLoadLibrary("plug", 1);
    testing::internal::GetCapturedStdout();
    ASSERT_NE(handle, nullptr);
    dlclose(handle);
    kotest::PushedList errors;
    EXPECT_EQ(bosLoadLibrary("plug", 0), nullptr); // plug.so exists nowhere
    EXPECT_EQ(errors.lastNumber(), 0);
}

TEST(LoadLibrary, ABrokenLibraryReportsTheLoaderText) {
    kotest::TempDir dir;
    dir.write("broken.so", std::string(4096, 'x'));
    kotest::EnvGuard path("LD_LIBRARY_PATH", dir.path().c_str());
    kotest::PushedList errors;
    EXPECT_EQ(bosLoadLibrary("broken", 0), nullptr);
    EXPECT_EQ(errors.lastNumber(), 1523);
    std::string text = errors.lastText();
    EXPECT_NE(text.find(dir.file("broken.so")), std::string::npos) << text;
    EXPECT_NE(text.find("ELF"), std::string::npos) << text; // the loader's own words
}
