// The temporary store: its geometry and free-space rules, data that spans and spills many
// blocks checked against a plain byte array, the spill file's life, and failures (memory,
// an unwritable spill directory, bad cache sizes, the end of the block numbers).
#include <gtest/gtest.h>

#include <dirent.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>
#include "kolib/kostring.h"
#include "kolib/testing.h"
#include "kolib/tmp_file.h"
#include "test_support.h"

namespace {

int filesIn(const std::string& directory) {
    int count = 0;
    DIR* dir = opendir(directory.c_str());
    while (dirent* entry = dir ? readdir(dir) : nullptr)
        if (entry->d_name[0] != '.') ++count;
    if (dir) closedir(dir);
    return count;
}

} // namespace

TEST(TmpFile, OffsetsAndFreeSpace) {
    KoTmpFile store(32768);
    uint32_t offset = 0;
    ASSERT_EQ(store.tmpFindSpace(10, &offset), 0u);
    EXPECT_EQ(offset, 1u);                       // no alignment, and never 0
    EXPECT_EQ(store.getContiguousSpace(8), 12u); // 11 aligned to 4
    EXPECT_EQ(store.highWaterMark(), 20u);
    EXPECT_EQ(store.getContiguousSpace(1968), 20u);   // fits: 2,028 left in block 0
    EXPECT_EQ(store.getContiguousSpace(100), 2048u);  // 60 left: the next block
    EXPECT_EQ(store.getContiguousSpace(3000), 4096u); // larger than a block: a boundary
    EXPECT_EQ(store.highWaterMark(), 7096u);

    KoTmpFile fresh(32768);
    EXPECT_EQ(fresh.getContiguousSpace(16), 4u);
    // Holes: 255 bytes are forgotten, 256 are kept and reused from their start; what a reuse
    // leaves under 256 bytes is abandoned; neighbours merge; a hole at the mark lowers it.
    uint32_t a, b, c, d;
    KoTmpFile s(32768);
    s.tmpFindSpace(1000, &a);
    s.tmpFindSpace(255, &b);
    s.tmpFindSpace(300, &c);
    s.tmpFindSpace(400, &d);
    uint32_t mark = s.highWaterMark();
    s.tmpFreeSpace(b, 255);
    s.tmpFreeSpace(a, 1000);
    uint32_t got;
    s.tmpFindSpace(800, &got);
    EXPECT_EQ(got, a); // 200 bytes left over: abandoned
    s.tmpFindSpace(100, &got);
    EXPECT_EQ(got, mark);
    mark = s.highWaterMark();
    s.tmpFreeSpace(got, 100); // ends at the mark
    EXPECT_EQ(s.highWaterMark(), got);
    s.tmpFreeSpace(c, 300);
    s.tmpFreeSpace(d, 400); // merges with c's hole, which then reaches the mark
    EXPECT_EQ(s.highWaterMark(), c);
    s.tmpFindSpace(0xFFFFFFFFu, &got);
    EXPECT_EQ(got, c);
    EXPECT_EQ(s.highWaterMark(), 0xFFFFFFFFu);
    s.tmpFreeSpace(got, 0xFFFFFFFFu);
    EXPECT_EQ(s.highWaterMark(), c);
    s.tmpTruncate(1);
    EXPECT_EQ(s.getContiguousSpace(4), 4u);
}

TEST(TmpFile, DataAcrossBlocksAndSpills) {
    kotest::TempDir spill;
    kotest::EnvGuard dir("KO_TMPDIR", spill.path().c_str());
    for (uint16_t cache : {4096, 32768}) {
        std::mt19937 random(cache);
        std::vector<char> model(600000, 0);
        KoTmpFile store(cache);
        uint32_t first = 0;
        ASSERT_EQ(store.tmpFindSpace(static_cast<uint32_t>(model.size()), &first), 0u);
        std::vector<char> piece;
        for (int step = 0; step < 400; ++step) {
            uint32_t offset = 1 + random() % (model.size() - 70000);
            uint32_t length = random() % (step % 10 == 0 ? 70000 : 5000);
            piece.resize(length);
            if (step % 2) {
                for (char& byte : piece) byte = static_cast<char>(random());
                ASSERT_EQ(store.writeHuge(offset, piece.data(), length), 0u);
                std::copy(piece.begin(), piece.end(), model.begin() + offset);
            } else {
                ASSERT_EQ(store.readHuge(offset, piece.data(), length), 0u);
                ASSERT_TRUE(std::equal(piece.begin(), piece.end(), model.begin() + offset))
                    << "cache " << cache << " step " << step;
            }
            if (step == 200) store.tmpLoseFocus(); // the next disk access reopens the file
        }
        ASSERT_NE(store.spillFileName(), nullptr);
        struct stat info;
        EXPECT_EQ(stat(store.spillFileName(), &info), 0);
        EXPECT_EQ(std::string(store.spillFileName()).rfind(spill.path(), 0), 0u);
        // A direct pointer: marked dirty, its change survives eviction; unmarked, it does not.
        char* pointer = nullptr;
        uint16_t available = 0;
        ASSERT_EQ(store.tmpPointer(2050, &pointer, &available, 1), 0u);
        EXPECT_EQ(available, 2046);
        *pointer = 'D';
        KoString text;
        for (uint32_t at = 1; at < 600000; at += 2048) store.read(at, &text, 10); // evict
        ASSERT_EQ(store.read(2050, &text, 1), 0u);
        EXPECT_EQ(text.asCStr()[0], 'D');
        store.tmpTruncate(0);
        EXPECT_EQ(filesIn(spill.path()), 0);
        EXPECT_EQ(store.read(100, &text, 4), 0u); // never written again: zeros
        EXPECT_EQ(std::string(text.asCStr(), 4), std::string(4, '\0'));
    }
    {
        KoTmpFile small(32768);
        std::vector<char> bytes(30000, 'x');
        ASSERT_EQ(small.write(1, bytes.data(), 30000), 0u);
        EXPECT_EQ(small.spillFileName(), nullptr); // it fits in the cache
    }
    EXPECT_EQ(filesIn(spill.path()), 0);
}

TEST(TmpFile, Failures) {
    kotest::PushedList errors;
    // Cache sizes that give no usable slot mask, and offsets past the 16-bit block numbers.
    for (uint16_t bad : {0, 1000, 6144}) {
        KoTmpFile store(bad);
        EXPECT_EQ(store.write(1, "x", 1), 1u) << bad;
        uint32_t offset;
        EXPECT_EQ(store.tmpFindSpace(1, &offset), 1u);
    }
    KoTmpFile store(4096);
    EXPECT_EQ(store.write(0x7FFFFFFu, "ab", 2), 1u);
    uint32_t offset;
    EXPECT_EQ(store.tmpFindSpace(0x7FFFFFF, &offset), 0u);
    EXPECT_EQ(store.tmpFindSpace(16, &offset), 1u);

    // Every allocation failing in turn: 1, no leak, and what was written stays readable.
    long baseline = ramLiveBlocks();
    for (long n = 1; n < 6; ++n) {
        KoTmpFile s(4096);
        ramFailAfter(n);
        unsigned result = s.write(1, "abc", 3);
        ramFailAfter(0);
        char back[4] = "";
        if (result == 0) {
            EXPECT_EQ(s.read(1, back, 3), 0u);
            EXPECT_EQ(std::string(back, 3), "abc");
        }
    }
    EXPECT_EQ(ramLiveBlocks(), baseline);

    // A spill directory where nothing can be made: the write that must spill fails, the data
    // already cached is still there.
    kotest::EnvGuard dir("KO_TMPDIR", "/proc/nonexistent-kolib-dir");
    kotest::EnvGuard tmp("TMPDIR", "/proc/nonexistent-kolib-dir");
    KoTmpFile spiller(4096);
    std::vector<char> block(2048, 'a');
    ASSERT_EQ(spiller.write(0, block.data(), 2048), 0u);
    ASSERT_EQ(spiller.write(2048, block.data(), 2048), 0u);
    errors.List.clearErrors();
    EXPECT_EQ(spiller.write(4096, block.data(), 2048), 1u); // block 2 must push one out
    EXPECT_TRUE(errors.List.isExistingError());
    char back = 0;
    EXPECT_EQ(spiller.read(2047, &back, 1), 0u);
    EXPECT_EQ(back, 'a');
}
