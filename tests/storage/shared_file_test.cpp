// Logical files in pieces of one store: two files interleaved in the same store read back
// what each wrote, writing extends only at the end, and truncation gives the pieces back.
#include <gtest/gtest.h>

#include <string>
#include "kolib/shared_file.h"
#include "test_support.h"

TEST(SharedFile, TwoFilesInOneStore) {
    kotest::PushedList errors;
    KoTmpFile store(32768);
    KoSharedFile a(&store), b;
    EXPECT_EQ(b.write(0, "x", 1), 1u); // no store yet
    b.initialize(&store);
    std::string textA(10000, 'a'), textB(9000, 'b');
    for (std::size_t i = 0; i < textA.size(); ++i) textA[i] = static_cast<char>('a' + i % 26);
    // Interleaved so that their pieces alternate in the store.
    for (uint32_t at = 0; at < 9000; at += 3000) {
        ASSERT_EQ(a.write(at, textA.data() + at, 3000), 0u);
        ASSERT_EQ(b.write(at, textB.data() + at, 3000), 0u);
    }
    ASSERT_EQ(a.write(9000, textA.data() + 9000, 1000), 0u);
    EXPECT_EQ(a.Blocks.getCount(), 3u);
    std::string back(10000, '\0');
    ASSERT_EQ(a.read(0, &back[0], 10000), 0u);
    EXPECT_EQ(back, textA);
    ASSERT_EQ(b.read(4000, &back[0], 5000), 0u);
    EXPECT_EQ(back.substr(0, 5000), textB.substr(4000));
    // Past the written pieces, or leaving a gap: refused.
    EXPECT_EQ(a.read(12288, &back[0], 1), 1u);
    EXPECT_EQ(a.write(20000, "x", 1), 1u);
    // Truncated pieces are reused by the next file.
    uint32_t mark = store.highWaterMark();
    a.truncate();
    KoSharedFile c(&store);
    ASSERT_EQ(c.write(0, textA.data(), 8192), 0u);
    EXPECT_EQ(store.highWaterMark(), mark);
}
