// The B-tree against std::multimap: seeded random adds, deletes, key changes, look-ups and
// walks in both directions from a found key, over small and large keys and data, with and
// without duplicates and deletion, and large enough to spill its store; the node geometry;
// and bad input.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>
#include "kolib/testing.h"
#include "kolib/tree.h"
#include "test_support.h"

namespace {

struct Config {
    uint16_t KeyLength, DataLength;
    bool Dupes, Deletes;
    int Operations, KeyRange;
};

std::string keyOf(uint32_t n, uint16_t length) {
    std::string key(length, '\0');
    // Big-endian digits first, so bytewise order is numeric order.
    for (int i = 0; i < 4 && i < length; ++i) key[i] = static_cast<char>(n >> (24 - 8 * i));
    for (uint16_t i = 4; i < length; ++i) key[i] = static_cast<char>('a' + (n + i) % 26);
    return key;
}

std::string dataOf(uint32_t n, uint16_t length) {
    std::string data(length, '\0');
    for (uint16_t i = 0; i < length; ++i) data[i] = static_cast<char>(n * 7 + i);
    return data;
}

void runModel(const Config& c, unsigned seed) {
    std::mt19937 random(seed);
    KoTree tree(c.KeyLength, c.DataLength, nullptr, c.Deletes, c.Dupes);
    std::multimap<std::string, std::string> model;
    std::string key(c.KeyLength, '\0'), data(c.DataLength, '\0');
    auto check = [&](unsigned found, const std::string& k, const std::string& d,
                     std::multimap<std::string, std::string>::iterator at) {
        ASSERT_EQ(found != 0, at != model.end());
        if (at == model.end()) return;
        ASSERT_EQ(k, at->first);
        if (!c.Dupes) ASSERT_EQ(d, at->second);
    };
    for (int step = 0; step < c.Operations; ++step) {
        uint32_t n = random() % c.KeyRange;
        std::string k = keyOf(n, c.KeyLength), d = dataOf(random(), c.DataLength);
        int what = random() % 10;
        unsigned found = 0;
        if (what < 5 || !c.Deletes) {
            unsigned existed = 9;
            ASSERT_EQ(tree.add(k.data(), d.data(), &existed), 0u);
            if (c.Dupes || model.find(k) == model.end()) model.emplace(k, d);
            if (!c.Dupes) ASSERT_EQ(existed, model.count(k) && existed ? 1u : existed);
        } else if (what < 7) {
            auto at = model.find(k);
            if (c.Dupes && at != model.end()) {
                // Delete a particular duplicate by its data.
                auto range = model.equal_range(k);
                auto pick = range.first;
                std::advance(pick, random() % std::distance(range.first, range.second));
                ASSERT_EQ(tree.deleteKeyAndData(k.data(), pick->second.data(), &found), 0u);
                ASSERT_EQ(found, 1u);
                model.erase(model.find(k) == pick ? pick : [&] {
                    for (auto i = range.first; i != range.second; ++i)
                        if (i->second == pick->second) return i;
                    return pick;
                }());
            } else {
                ASSERT_EQ(tree.deleteKey(k.data(), &found), 0u);
                ASSERT_EQ(found != 0, at != model.end());
                if (at != model.end()) model.erase(at);
            }
        } else {
            // Look up, then walk a few steps both ways from there.
            ASSERT_EQ(tree.getData(k.data(), &data[0], &found), 0u);
            auto at = model.find(k);
            ASSERT_EQ(found != 0, at != model.end()) << "step " << step;
            if (!found) continue;
            if (!c.Dupes) ASSERT_EQ(data, at->second);
            auto forward = at;
            for (int i = 0; i < 5; ++i) {
                ASSERT_EQ(tree.getNext(&key[0], &data[0], &found), 0u);
                check(found, key, data, ++forward);
                if (!found) break;
            }
            ASSERT_EQ(tree.getData(k.data(), &data[0], &found), 0u);
            auto backward = model.find(k);
            for (int i = 0; i < 5; ++i) {
                ASSERT_EQ(tree.getPrevious(&key[0], &data[0], &found), 0u);
                if (backward == model.begin()) {
                    ASSERT_EQ(found, 0u);
                    break;
                }
                check(found, key, data, --backward);
            }
        }
        ASSERT_EQ(tree.getCount(), model.size()) << "step " << step;
    }
    // The whole walk both ways.
    unsigned found = 0;
    auto at = model.begin();
    for (tree.getFirst(&key[0], &data[0], &found); found; tree.getNext(&key[0], &data[0], &found))
        check(found, key, data, at++);
    EXPECT_EQ(at, model.end());
    auto back = model.rbegin();
    for (tree.getLast(&key[0], &data[0], &found); found;
         tree.getPrevious(&key[0], &data[0], &found)) {
        ASSERT_NE(back, model.rend());
        ASSERT_EQ(key, back->first);
        ++back;
    }
    EXPECT_EQ(back, model.rend());
}

} // namespace

TEST(Tree, Geometry) {
    KoTree small(4, 4, treeU32Compare, 1, 0);
    EXPECT_EQ(small.TriadLength, 16);
    EXPECT_EQ(small.Order, 49);
    EXPECT_EQ(small.NodeLength, 780);
    KoTree wide(100, 0, nullptr, 0, 0);
    EXPECT_EQ(wide.TriadLength, 104);
    EXPECT_EQ(wide.Order, 20);
    EXPECT_EQ(wide.NodeLength, 1988);
    // 48 keys fit the root; the 49th splits it and the new root holds one key.
    for (uint32_t k = 1; k <= 48; ++k) ASSERT_EQ(small.add(k, k * 10), 0u);
    EXPECT_EQ(small.NumNodes, 1);
    ASSERT_EQ(small.add(49u, 490u), 0u);
    EXPECT_EQ(small.NumNodes, 3);
    EXPECT_EQ(small.HeadUid > 8, true);
    uint32_t data = 0;
    unsigned found = 0;
    ASSERT_EQ(small.getData(25u, &data, &found), 0u);
    EXPECT_EQ(data, 250u);
    // An existing key without duplicates: existed, no change; a tombstone is reused.
    unsigned existed = 0;
    ASSERT_EQ(small.add(25u, 1u, &existed), 0u);
    EXPECT_EQ(existed, 1u);
    EXPECT_EQ(small.getCount(), 49u);
    ASSERT_EQ(small.deleteKey(25u, &existed), 0u);
    EXPECT_EQ(small.getCount(), 48u);
    // changeKey counts one more entry each time (kept as it always was).
    uint32_t from = 30, to = 1000;
    ASSERT_EQ(small.changeKey(&from, &to), 0u);
    EXPECT_EQ(small.getCount(), 49u);
    ASSERT_EQ(small.getData(1000u, &data, &found), 0u);
    EXPECT_EQ(data, 300u);
}

TEST(Tree, AgainstAMultimap) {
    std::vector<Config> configs = {
        {4, 4, false, true, 4000, 600},      // small keys, tombstones
        {4, 4, true, true, 4000, 300},       // duplicates
        {32, 8, false, false, 3000, 100000}, // no deletion
        {100, 200, true, true, 2500, 400},   // large triads, few per node
        {8, 0, false, true, 3000, 2000},     // no data
    };
    for (std::size_t i = 0; i < configs.size(); ++i) {
        SCOPED_TRACE(i);
        runModel(configs[i], static_cast<unsigned>(20261125 + i));
    }
}

TEST(Tree, SpillsAndCleansUp) {
    kotest::TempDir spill;
    kotest::EnvGuard dir("KO_TMPDIR", spill.path().c_str());
    {
        Config big{32, 32, false, true, 60000, 1000000};
        runModel(big, 7);
    }
    std::string listing = spill.path();
    EXPECT_EQ(system(("test -z \"$(ls -A '" + listing + "')\"").c_str()), 0);
}

TEST(Tree, BadInputAndFailures) {
    kotest::PushedList errors;
    KoTree tooWide(900, 300, nullptr, 1, 0); // three sons do not fit a block
    std::vector<char> key(900, 'k'), data(300, 'd');
    EXPECT_EQ(tooWide.add(key.data(), data.data()), 1u);
    EXPECT_TRUE(errors.List.isExistingError());
    unsigned found = 9;
    KoTree empty(4, 4, treeU32Compare, 1, 0);
    EXPECT_EQ(empty.getFirst(nullptr, nullptr, &found), 0u);
    EXPECT_EQ(found, 0u);
    // Every allocation failing in turn while the tree grows: 1 or 0, never a crash or a leak,
    // and what was added before still answers.
    errors.List.clearErrors();
    long baseline = ramLiveBlocks();
    for (long n = 1; n < 12; ++n) {
        KoTree tree(4, 4, treeU32Compare, 1, 0);
        for (uint32_t k = 1; k <= 20; ++k) tree.add(k, k);
        ramFailAfter(n);
        for (uint32_t k = 21; k <= 200; ++k) tree.add(k, k);
        ramFailAfter(0);
        uint32_t value = 0;
        ASSERT_EQ(tree.getData(7u, &value, &found), 0u);
        EXPECT_EQ(value, 7u);
        errors.List.clearErrors();
    }
    EXPECT_EQ(ramLiveBlocks(), baseline);
}
