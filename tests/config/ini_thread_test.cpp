// Many threads writing and reading distinct entries of one file through the cached functions
// at once. The run uses System V semaphores, which make waiting threads sleep in the kernel
// rather than in one-second spin-lock pauses.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>
#include "child_process.h"
#include "config_test_support.h"
#include "kolib/frame.h"
#include "kolib/profile.h"

namespace {
const int THREADS = 6;
const int ENTRIES = 15;

std::string entryName(int thread, int i) {
    return "t" + std::to_string(thread) + "e" + std::to_string(i);
}
} // namespace

KO_CHILD_SCENARIO(ManyThreadsOneFile) {
    kotest::ConfigHome home;
    home.Dir.write("shared.ini", "[Common]\nkeep=me\n");
    const std::string file = home.at("shared.ini");
    std::vector<std::thread> threads;
    std::vector<int> failures(THREADS, 0);
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            KoErrorList list(nullptr, 1);
            list.pushOnErrorKeeper();
            std::string section = "S" + std::to_string(t % 2);
            for (int i = 0; i < ENTRIES; ++i) {
                std::string name = entryName(t, i), value = "v" + name;
                if (koWriteProfileString(section.c_str(), name.c_str(), value.c_str(),
                                         file.c_str()) != 1) {
                    std::fprintf(stderr, "write of %s failed\n", name.c_str());
                    ++failures[t];
                }
                char buffer[64];
                koGetProfileString(section.c_str(), name.c_str(), "", buffer, sizeof buffer,
                                   file.c_str());
                if (value != buffer) {
                    std::fprintf(stderr, "%s read back as \"%s\"\n", name.c_str(), buffer);
                    ++failures[t];
                }
            }
            list.popOffErrorKeeper();
        });
    for (std::thread& t : threads) t.join();
    for (int t = 0; t < THREADS; ++t) CHILD_CHECK(failures[t] == 0);
    // Every entry is in the file, read by a fresh, uncached reader.
    for (int t = 0; t < THREADS; ++t)
        for (int i = 0; i < ENTRIES; ++i) {
            char buffer[64];
            std::string section = "S" + std::to_string(t % 2), name = entryName(t, i);
            GetPrivateProfileString(section.c_str(), name.c_str(), "", buffer, sizeof buffer,
                                    file.c_str());
            CHILD_CHECK("v" + name == buffer);
        }
    char keep[16];
    GetPrivateProfileString("Common", "keep", "", keep, sizeof keep, file.c_str());
    CHILD_CHECK(std::string(keep) == "me");
    // Give the semaphores back to the system before leaving.
    delete KoIniFileCacheList::getTaskList();
    bosPutPTaskIniList(nullptr);
    return 0;
}

TEST(IniThreads, ManyThreadsLoseNoEntry) {
    kotest::ChildResult child =
        kotest::runScenario("ManyThreadsOneFile", {{"KO_SEMCONTROL", "80000"}});
    EXPECT_EQ(child.Status, 0) << child.Out;
}
