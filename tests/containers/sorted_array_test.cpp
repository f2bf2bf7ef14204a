// KoSortedArray and KoSortedArrayU32: binary search results, stable insertion of equal keys,
// postponed sorting and duplicate removal.
#include <gtest/gtest.h>
#include <vector>
#include "kolib/sorted_array.h"
#include "test_items.h"

using kotest::Item;

namespace {
std::vector<int> keys(const KoSortedArray& array) {
    std::vector<int> out;
    for (unsigned long i = 0; i < array.getCount(); ++i)
        out.push_back(static_cast<Item*>(array.at(i))->Key);
    return out;
}
std::vector<int> tags(const KoSortedArray& array) {
    std::vector<int> out;
    for (unsigned long i = 0; i < array.getCount(); ++i)
        out.push_back(static_cast<Item*>(array.at(i))->Tag);
    return out;
}
} // namespace

TEST(SortedArray, EqualKeysGoBehindTheirEqualsInTheOrderAdded) {
    KoSortedArray array;
    array.setDeleteContentsOnDestruct();
    for (int key : {5, 1, 9, 5, 3}) array.add(new Item(key, 0));
    for (int tag = 1; tag <= 3; ++tag) array.add(new Item(5, tag));
    EXPECT_EQ(keys(array), (std::vector<int>{1, 3, 5, 5, 5, 5, 5, 9}));
    EXPECT_EQ(tags(array), (std::vector<int>{0, 0, 0, 0, 1, 2, 3, 0}));
}

TEST(SortedArray, FindIndexOfGivesTheInsertionPointWhenAbsent) {
    KoSortedArray array;
    array.setDeleteContentsOnDestruct();
    for (int key : {10, 20, 20, 30}) array.add(new Item(key));
    unsigned long index = 99;
    Item below(5), above(35), between(25), equal(20);
    EXPECT_FALSE(array.findIndexOf(&below, index));
    EXPECT_EQ(index, 0u);
    EXPECT_FALSE(array.findIndexOf(&above, index));
    EXPECT_EQ(index, 4u);
    EXPECT_FALSE(array.findIndexOf(&between, index));
    EXPECT_EQ(index, 3u);
    ASSERT_TRUE(array.findIndexOf(&equal, index));
    EXPECT_EQ(static_cast<Item*>(array.at(index))->Key, 20);
    EXPECT_EQ(array.findIndexOfLastKey(&equal, 1), 2u);
    unsigned short small = 0;
    EXPECT_TRUE(array.seqFindIndexOf(&equal, small));
    EXPECT_EQ(small, 1); // linear search finds the first equal element
}

TEST(SortedArray, PostponedSortingAppendsUntilResortWhichIsStable) {
    KoSortedArray array;
    array.setDeleteContentsOnDestruct();
    array.sortOnRequest();
    array.stopSort();
    const int input[][2] = {{4, 0}, {2, 0}, {4, 1}, {1, 0}, {2, 1}, {4, 2}, {3, 0}};
    for (auto& kt : input) array.add(new Item(kt[0], kt[1]));
    EXPECT_EQ(keys(array), (std::vector<int>{4, 2, 4, 1, 2, 4, 3}));
    ASSERT_EQ(array.resort(), 0u);
    EXPECT_FALSE(array.StopSort);
    EXPECT_TRUE(array.SortOnRequest); // still postponed
    EXPECT_EQ(keys(array), (std::vector<int>{1, 2, 2, 3, 4, 4, 4}));
    EXPECT_EQ(tags(array), (std::vector<int>{0, 0, 1, 0, 0, 1, 2}));

    // A resort that cannot get its scratch space changes nothing.
    KoSortedArray other;
    other.setDeleteContentsOnDestruct();
    other.sortOnRequest();
    for (int key : {3, 1, 2}) other.add(new Item(key));
    ramFailAfter(1);
    EXPECT_EQ(other.resort(), 1u);
    ramFailAfter(0);
    EXPECT_EQ(keys(other), (std::vector<int>{3, 1, 2}));
}

TEST(SortedArray, DuplicatesAreRemovedOrDeleted) {
    Item::Alive = 0;
    std::vector<Item> items;
    items.reserve(6);
    for (int key : {1, 1, 2, 2, 2, 3}) items.emplace_back(key);
    KoSortedArray array;
    for (Item& item : items) array.add(&item);
    EXPECT_EQ(array.removeDuplicates(), 3u);
    EXPECT_EQ(keys(array), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(array.at(1), &items[2]); // the first of each run stays

    KoSortedArray owning;
    for (int key : {7, 7, 8, 8}) owning.add(new Item(key));
    int alive = Item::Alive;
    EXPECT_EQ(owning.deleteDuplicates(), 2u);
    EXPECT_EQ(Item::Alive, alive - 2);
    owning.deleteContents();
}

TEST(SortedArrayU32, KeepsUnsignedOrder) {
    KoSortedArrayU32 array;
    for (unsigned long value : {5ul, 0xFFFFFFFFul, 0ul, 5ul, 2ul}) array.add(value);
    EXPECT_EQ(array.at(0), 0ul);
    EXPECT_EQ(array.at(4), 0xFFFFFFFFul);
    unsigned long index;
    EXPECT_FALSE(array.findIndexOf(3, index));
    EXPECT_EQ(index, 2u);
    EXPECT_TRUE(array.findIndexOf(5, index));
    EXPECT_EQ(array.findIndexOfLastKey(5, index), 3u);
}
