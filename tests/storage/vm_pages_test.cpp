// The page cache: reads and writes through it checked against pread on the same file, the
// eviction and random-read rules, pages past the 16-bit page numbers, the task's one shared
// cache, a second process's cache, threads, and allocation failures.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>
#include "child_process.h"
#include "kolib/frame.h"
#include "kolib/testing.h"
#include "kolib/vm_pages.h"
#include "test_support.h"

namespace {

// The task's cache for the length of a scope.
struct Cache {
    explicit Cache(uint16_t pools) : Vm(static_cast<vm_info*>(bvmInit(pools))) {}
    ~Cache() {
        if (Vm) bvmTerm(Vm);
    }
    vm_info* Vm;
};

struct File {
    File(const kotest::TempDir& dir, const std::string& contents, int flags = O_RDWR,
         const char* name = "data") {
        dir.write(name, contents);
        Fd = open(dir.file(name).c_str(), flags);
    }
    ~File() { close(Fd); }
    std::string pread(off_t offset, size_t length) const {
        std::string out(length, '\0');
        ssize_t got = ::pread(Fd, &out[0], length, offset);
        out.resize(got < 0 ? 0 : got);
        return out;
    }
    int Fd;
};

std::string randomBytes(size_t n, unsigned seed) {
    std::mt19937 random(seed);
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(random());
    return s;
}

std::string cacheRead(vm_info* vm, int fd, int32_t offset, uint32_t length,
                      VmHintType hint = VM_READ_SEQUENTIAL) {
    std::string out(length, '\0');
    uint32_t count = 0xDEAD;
    EXPECT_EQ(bvmFileRead(vm, fd, offset, &out[0], length, &count, hint), 0u);
    out.resize(count);
    return out;
}

std::set<unsigned> cachedPages(vm_info* vm, int fd) {
    std::set<unsigned> pages;
    for (unsigned i = 0; i < vm->act_entries; ++i)
        if (vm->entries[i].fd == fd) pages.insert(vm->entries[i].blk);
    return pages;
}

} // namespace

// Random reads and writes of every size, across pages and past the end, against the file
// itself; with no pools, with fewer pages than the file (evicting) and with room to spare.
TEST(VmPages, ReadsAndWritesMatchTheFile) {
    kotest::PushedList errors;
    kotest::TempDir dir;
    for (uint16_t pools : {0, 2, 8}) {
        File file(dir, randomBytes(37 * VM_PAGE_SIZE + 1234, pools));
        Cache cache(pools);
        ASSERT_NE(cache.Vm, nullptr);
        std::mt19937 random(pools + 1);
        for (int step = 0; step < 3000; ++step) {
            off_t size = lseek(file.Fd, 0, SEEK_END);
            int32_t offset = static_cast<int32_t>(random() % (size + 3 * VM_PAGE_SIZE));
            uint32_t length = random() % (step % 10 == 0 ? 40000 : 3000);
            if (step % 7 == 0) {
                std::string data = randomBytes(length, step);
                ASSERT_EQ(bvmFileWrite(cache.Vm, file.Fd, offset, data.data(), length), 0u);
            } else {
                VmHintType hint = step % 2 ? VM_READ_RANDOM : VM_READ_SEQUENTIAL;
                ASSERT_EQ(cacheRead(cache.Vm, file.Fd, offset, length, hint),
                          file.pread(offset, length))
                    << "pools " << pools << " step " << step;
            }
        }
        off_t size = lseek(file.Fd, 0, SEEK_END);
        std::string whole;
        for (int32_t at = 0; at < size; at += 1000) whole += cacheRead(cache.Vm, file.Fd, at, 1000);
        ASSERT_EQ(whole, file.pread(0, size));
        EXPECT_EQ(bvmFileClose(cache.Vm, file.Fd), 0u);
        EXPECT_TRUE(cachedPages(cache.Vm, file.Fd).empty());
        file.Fd = open(dir.file("data").c_str(), O_RDONLY);
    }
    EXPECT_FALSE(KoErrorKeeper::isExistingError());
}

// A full cache of 8 pages: sequential reads evict the least recently used page, random reads
// of uncached pages read the file and leave the cache alone (but fill free entries).
TEST(VmPages, EvictionAndRandomReads) {
    kotest::TempDir dir;
    std::string contents = randomBytes(20 * VM_PAGE_SIZE, 7);
    File file(dir, contents);
    Cache cache(1);
    cacheRead(cache.Vm, file.Fd, 3 * VM_PAGE_SIZE, 1, VM_READ_RANDOM);
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{3}));
    for (unsigned page = 0; page < 8; ++page) cacheRead(cache.Vm, file.Fd, page * VM_PAGE_SIZE, 1);
    cacheRead(cache.Vm, file.Fd, 0, 1); // page 1 is now the least recently used
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(cacheRead(cache.Vm, file.Fd, 9 * VM_PAGE_SIZE, 100, VM_READ_RANDOM),
              contents.substr(9 * VM_PAGE_SIZE, 100));
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{0, 1, 2, 3, 4, 5, 6, 7}));
    cacheRead(cache.Vm, file.Fd, 8 * VM_PAGE_SIZE, 1);
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{0, 2, 3, 4, 5, 6, 7, 8}));

    // Near the end of the 16-bit clock: ages are halved, the order of use still counts.
    cache.Vm->age = 0xFFF0;
    for (unsigned page : {2, 3, 4, 5, 6, 7, 8, 0, 2, 3, 4, 5, 6, 7, 8, 0, 3})
        cacheRead(cache.Vm, file.Fd, page * VM_PAGE_SIZE, 1);
    EXPECT_LT(cache.Vm->age, 40000u);
    cacheRead(cache.Vm, file.Fd, 10 * VM_PAGE_SIZE, 1); // evicts 2
    cacheRead(cache.Vm, file.Fd, 11 * VM_PAGE_SIZE, 1); // evicts 4
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{0, 3, 5, 6, 7, 8, 10, 11}));
    EXPECT_EQ(cacheRead(cache.Vm, file.Fd, 0, contents.size()), contents);
    bvmFlush(cache.Vm, file.Fd);
}

// Page numbers stop at 65,535: pages beyond bypass the cache. Ranges must lie inside the
// signed 32-bit offsets; more pools than entry numbers reach are capped. A write that joins a
// cached page's valid bytes extends them; a failed write leaves the cache as it was.
TEST(VmPages, LimitsAndWrites) {
    kotest::PushedList errors;
    kotest::TempDir dir;
    File file(dir, std::string(100, 'a'));
    Cache cache(2);
    cacheRead(cache.Vm, file.Fd, 0, 1);
    ASSERT_EQ(bvmFileWrite(cache.Vm, file.Fd, 100, "bbbbbbbbbb", 10), 0u);
    EXPECT_EQ(cache.Vm->entries[0].last, 110u);
    File readOnly(dir, std::string(100, 'a'), O_RDONLY, "read-only");
    cacheRead(cache.Vm, readOnly.Fd, 0, 1);
    EXPECT_EQ(bvmFileWrite(cache.Vm, readOnly.Fd, 0, "zz", 2), 1u);
    EXPECT_EQ(cacheRead(cache.Vm, readOnly.Fd, 0, 100), std::string(100, 'a'));
    bvmFlush(cache.Vm, readOnly.Fd);

    const int32_t edge = VM_PAGE_LIMIT * VM_PAGE_SIZE; // 512 MB, a sparse file
    ASSERT_EQ(ftruncate(file.Fd, edge + 3 * VM_PAGE_SIZE), 0);
    std::string data = randomBytes(3 * VM_PAGE_SIZE, 3);
    cacheRead(cache.Vm, file.Fd, edge - 10, 20);
    ASSERT_EQ(bvmFileWrite(cache.Vm, file.Fd, edge - VM_PAGE_SIZE, data.data(), data.size()), 0u);
    EXPECT_EQ(cacheRead(cache.Vm, file.Fd, edge - VM_PAGE_SIZE, data.size()), data);
    EXPECT_EQ(cachedPages(cache.Vm, file.Fd), (std::set<unsigned>{0, 65535}));

    char byte;
    uint32_t count = 1;
    EXPECT_EQ(bvmFileRead(cache.Vm, file.Fd, -1, &byte, 1, &count, VM_READ_SEQUENTIAL), 1u);
    EXPECT_EQ(errors.lastNumber(), 2750u);
    EXPECT_EQ(bvmFileWrite(cache.Vm, file.Fd, 0x7FFFFFF0, data.data(), 17), 1u);
    EXPECT_EQ(bvmFileRead(cache.Vm, file.Fd, 0x7FFFFFF0, &byte, 1, &count, VM_READ_RANDOM), 0u);
    EXPECT_EQ(count, 0u); // past the end of the file
    EXPECT_EQ(bvmFileClose(cache.Vm, 0), 0u);
    bvmFlush(cache.Vm, file.Fd);

    bvmTerm(cache.Vm);
    cache.Vm = static_cast<vm_info*>(bvmInit(65535));
    ASSERT_NE(cache.Vm, nullptr);
    EXPECT_EQ(cache.Vm->max_entries, VM_MAX_POOLS * 8u);
}

// One cache per task, counted; a forked process works on its own copy; threads share it.
TEST(VmPages, TasksAndThreads) {
    kotest::TempDir dir;
    std::string contents = randomBytes(64 * VM_PAGE_SIZE, 11);
    File file(dir, contents);
    {
        Cache first(4), second(1);
        EXPECT_EQ(first.Vm, second.Vm);
        EXPECT_EQ(first.Vm->initCount, 2u);
        EXPECT_EQ(mdsGetPerTaskData(MDS_VM_PTR), first.Vm);
        ASSERT_EQ(cacheRead(first.Vm, file.Fd, 0, 10), contents.substr(0, 10));

        kotest::ChildResult child = kotest::runForked([&] {
            vm_info* own = static_cast<vm_info*>(bvmInit(1));
            if (bvmFileWrite(own, file.Fd, 0, "0123456789", 10) != 0) return 1;
            return cacheRead(own, file.Fd, 0, 10) == "0123456789" ? 0 : 2;
        });
        EXPECT_EQ(child.Status, 0);
        // The child's write went to the file, not into this task's cache.
        EXPECT_EQ(cacheRead(first.Vm, file.Fd, 0, 10), contents.substr(0, 10));
        bvmFlush(first.Vm, file.Fd);
        contents.replace(0, 10, "0123456789");
        EXPECT_EQ(cacheRead(first.Vm, file.Fd, 0, 10), "0123456789");

        std::vector<std::thread> threads;
        std::vector<int> mismatches(4, 0);
        for (unsigned t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                std::mt19937 random(t);
                for (int i = 0; i < 1000; ++i) {
                    uint32_t offset = random() % contents.size(), length = random() % 20000;
                    VmHintType hint = i % 2 ? VM_READ_RANDOM : VM_READ_SEQUENTIAL;
                    if (cacheRead(first.Vm, file.Fd, offset, length, hint) !=
                        contents.substr(offset, length))
                        ++mismatches[t];
                }
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(mismatches, std::vector<int>(4, 0));
        bvmFlush(first.Vm, file.Fd);
    }
    EXPECT_EQ(mdsGetPerTaskData(MDS_VM_PTR), nullptr);
}

// Every allocation of bvmInit and of a read that needs a new pool fails in turn: null or 1,
// the memory error, nothing leaked, and the cache still works afterwards.
TEST(VmPages, AllocationFailures) {
    kotest::TempDir dir;
    std::string contents = randomBytes(4 * VM_PAGE_SIZE, 5);
    File file(dir, contents);
    kotest::PushedList errors;
    long before = ramLiveBlocks();
    for (long n = 1; n <= 3; ++n) {
        ramFailAfter(n);
        EXPECT_EQ(bvmInit(2), nullptr) << n;
        ramFailAfter(0);
        EXPECT_TRUE(errors.List.isOutOfMemory());
        errors.List.resetOutOfMemory();
        EXPECT_EQ(mdsGetPerTaskData(MDS_VM_PTR), nullptr);
        EXPECT_EQ(ramLiveBlocks(), before);
    }
    {
        Cache cache(2);
        ASSERT_NE(cache.Vm, nullptr);
        char buffer[100];
        uint32_t count = 0;
        ramFailAfter(1);
        EXPECT_EQ(bvmFileRead(cache.Vm, file.Fd, 0, buffer, 100, &count, VM_READ_SEQUENTIAL), 1u);
        ramFailAfter(0);
        EXPECT_TRUE(errors.List.isOutOfMemory());
        EXPECT_EQ(cache.Vm->act_entries, 0u);
        EXPECT_EQ(cacheRead(cache.Vm, file.Fd, 0, contents.size()), contents);
        bvmFlush(cache.Vm, file.Fd);
    }
    EXPECT_EQ(ramLiveBlocks(), before);
}
