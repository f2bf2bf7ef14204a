// Region locks between processes (a fork()ed child) and between threads of one process.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/region_lock.h"
#include "test_support.h"

namespace {
int openData(const kotest::TempDir& dir) {
    dir.write("data", std::string(100, 'x'));
    char name[BOS_PATH_BUFFER_SIZE];
    std::strcpy(name, dir.file("data").c_str());
    int fd = 0;
    return bosFileOpen(name, BOS_OPEN_WRITE | BOS_OPEN_CREATE_IF_MISSING, &fd) == 0 ? fd : -1;
}

} // namespace

TEST(RegionLock, ThreadsOfOneProcessAreKeptApartAndNestingCounts) {
    kotest::TempDir dir;
    kotest::PushedList errors;
    int fd = openData(dir);
    ASSERT_GT(fd, 0);
    unsigned long before = bosRegionLockCount();
    EXPECT_EQ(bosRegionLock(fd, 0, 10, 5), 0u);
    EXPECT_EQ(bosRegionLock(fd, 0, 10, 5), 0u); // nested: counted
    EXPECT_EQ(bosRegionLockCount(), before + 1);
    std::thread([&] {
        kotest::PushedList own;
        // Overlaps fail: inside, across either end, and regions running to the end of file.
        for (auto region : {std::pair<unsigned long, unsigned long>{10, 5},
                            {12, 1},
                            {5, 6},
                            {14, 10},
                            {0, 0},
                            {13, 0}}) {
            EXPECT_EQ(bosRegionLock(fd, 0, region.first, region.second), 1u) << region.first;
            EXPECT_EQ(own.lastNumber(), 1512);
        }
        // Regions that touch without overlapping are granted, and given back.
        EXPECT_EQ(bosRegionLock(fd, 0, 15, 3), 0u);
        EXPECT_EQ(bosRegionLock(fd, 0, 0, 10), 0u);
        EXPECT_EQ(bosRegionLockCount(), before + 3);
        EXPECT_EQ(bosRegionLock(fd, 1, 15, 3), 0u);
        EXPECT_EQ(bosRegionLock(fd, 1, 0, 10), 0u);
    }).join();
    EXPECT_EQ(bosRegionLockCount(), before + 1);
    EXPECT_EQ(bosRegionLock(fd, 1, 10, 5), 0u);
    EXPECT_EQ(bosRegionLockCount(), before + 1); // one unlock of two
    EXPECT_EQ(bosRegionLock(fd, 1, 10, 5), 0u);
    EXPECT_EQ(bosRegionLockCount(), before);
    std::thread([&] {
        EXPECT_EQ(bosRegionLock(fd, 0, 10, 5), 0u);
        EXPECT_EQ(bosRegionLock(fd, 1, 10, 5), 0u);
    }).join();
    // Descriptor 0 is no file; -1 is a bad one.
    EXPECT_EQ(bosRegionLock(0, 0, 0, 1), 0u);
    EXPECT_EQ(bosRegionLock(-1, 0, 0, 1), 1u);
    EXPECT_EQ(errors.lastNumber(), 1507);
    bosFileClose(fd);
}

TEST(RegionLock, AnotherProcessHoldingTheRegionIsAConflict) {
    kotest::TempDir dir;
    int fd = openData(dir);
    ASSERT_GT(fd, 0);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    pid_t holder = fork();
    if (holder == 0) {
        int own = openData(dir); // its own descriptor, its own process lock
        char c = bosRegionLock(own, 0, 40, 20) == 0 ? 'y' : 'n';
        (void)!write(ready[1], &c, 1);
        (void)!read(done[0], &c, 1);
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    ASSERT_EQ(c, 'y');
    {
        kotest::PushedList errors;
        EXPECT_EQ(bosRegionLock(fd, 0, 50, 1), 1u);
        EXPECT_EQ(errors.lastNumber(), 1512);
        EXPECT_EQ(bosRegionLock(fd, 0, 60, 1), 0u);
        EXPECT_EQ(bosRegionLock(fd, 1, 60, 1), 0u);
    }
    (void)!write(done[1], "x", 1);
    waitpid(holder, nullptr, 0);
    EXPECT_EQ(bosRegionLock(fd, 0, 50, 1), 0u); // released when the child ended
    EXPECT_EQ(bosRegionLock(fd, 1, 50, 1), 0u);
    bosFileClose(fd);
    for (int p : {ready[0], ready[1], done[0], done[1]}) close(p);
}
