// KoArray, the typed arrays, KoBitArray and the byte helpers.
#include <gtest/gtest.h>
#include <cstring>
#include <vector>
#include "kolib/array.h"
#include "kolib/bit_array.h"
#include "kolib/mem_util.h"
#include "kolib/typed_arrays.h"
#include "test_items.h"

using kotest::Item;
int Item::Alive = 0;

TEST(Array, GrowsLinearlyBySixteenAndKeepsOrderAcrossInsertAndRemove) {
    KoArray array;
    array.setDeleteContentsOnDestruct();
    std::vector<unsigned long> sizes;
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(array.add(new Item(i)), 0u);
        sizes.push_back(array.getSizeOfArray());
    }
    // The first add allocates 16 slots, the 17th grows to 32, the 33rd to 48.
    std::vector<unsigned long> expected(16, 16);
    expected.resize(32, 32);
    expected.resize(40, 48);
    EXPECT_EQ(sizes, expected);

    ASSERT_EQ(array.addAtIndex(new Item(100), 0), 0u);
    ASSERT_EQ(array.addAtIndex(new Item(101), 20), 0u);
    KoObject* taken = array.at(20);
    EXPECT_EQ(static_cast<Item*>(taken)->Key, 101);
    array.deleteAtIndex(0);
    array.removeAtIndex(19); // unlinked, not deleted: ours again
    EXPECT_FALSE(array.doesExist(taken));
    delete taken;
    ASSERT_EQ(array.getCount(), 40u);
    for (unsigned long i = 0; i < array.getCount(); ++i)
        EXPECT_EQ(static_cast<Item*>(array.at(i))->Key, static_cast<int>(i));
}

TEST(Array, DestructionDeletesOnlyOwnedElementsAndUsesSizeWhenAsked) {
    Item::Alive = 0;
    Item kept(1); // not owned: must survive
    {
        KoArray array;
        array.add(&kept);
    }
    EXPECT_EQ(Item::Alive, 1);
    {
        KoArray array;
        array.setDeleteContentsOnDestruct();
        array.setUseSizeOnDeleteContents();
        ASSERT_EQ(array.setInitialSize(8), 0u);
        array[5] = new Item(5); // outside the count: only a walk over the size sees it
        array.add(new Item(0));
        array.add(nullptr);
    }
    EXPECT_EQ(Item::Alive, 1);
}

TEST(Array, IncrementZeroDoublesAndAdoptedSlotsAreCopiedAtFirstGrowth) {
    KoObject* slots[8] = {};
    Item items[9] = {Item(0), Item(1), Item(2), Item(3), Item(4),
                     Item(5), Item(6), Item(7), Item(8)};
    {
        KoArray array;
        array.setIncrement(0);
        array.setInitialArray(8, slots);
        for (Item& item : items) ASSERT_EQ(array.add(&item), 0u);
        EXPECT_EQ(array.getSizeOfArray(), 16u);
        EXPECT_NE(array.ArrayOfPtrs, slots); // a copy, ours to free
        EXPECT_EQ(slots[7], &items[7]);      // the caller's block keeps what it held
        ASSERT_EQ(array.resize(16, 1), 0u);  // the current size doubles
        EXPECT_EQ(array.getSizeOfArray(), 32u);
        ASSERT_EQ(array.shrink(9), 0u);
        EXPECT_EQ(array.at(8), &items[8]);
        EXPECT_EQ(array.getCount(), 9u);
    }
    KoArray adopted;
    adopted.setInitialArray(8, slots);
    EXPECT_EQ(adopted.shrink(1), 0u); // only recorded: the caller's block is not reallocated
    EXPECT_EQ(adopted.getSizeOfArray(), 1u);
}

TEST(Array, FailedGrowthLeavesTheArrayAsItWas) {
    using kotest::walkFailures;
    auto check = [](KoArray& array, unsigned long count, unsigned long size) {
        EXPECT_EQ(array.getCount(), count);
        EXPECT_EQ(array.getSizeOfArray(), size);
        for (unsigned long i = 0; i < count; ++i)
            EXPECT_EQ(static_cast<Item*>(array.at(i))->Key, static_cast<int>(i));
    };
    auto filled = [](KoArray& array, int n) {
        array.setDeleteContentsOnDestruct();
        for (int i = 0; i < n; ++i) ASSERT_EQ(array.add(new Item(i)), 0u);
    };
    // add and addAtIndex at the growth boundary, and increaseSize with and without copy
    for (int op = 0; op < 4; ++op) {
        walkFailures([&](auto arm) {
            KoArray array;
            filled(array, 16);
            std::vector<KoObject*> held(array.ArrayOfPtrs, array.ArrayOfPtrs + 16);
            Item* extra = new Item(16);
            arm();
            unsigned rc = op == 0   ? array.add(extra)
                          : op == 1 ? array.addAtIndex(extra, 16)
                          : op == 2 ? array.increaseSize(4, 1)
                                    : array.increaseSize(4, 0);
            ramFailAfter(0);
            if (rc) {
                check(array, 16, 16);
                EXPECT_EQ(array.add(extra), 0u); // still usable
                return false;
            }
            EXPECT_EQ(array.getSizeOfArray(), op < 2 ? 32u : 20u);
            if (op >= 2) delete extra;
            if (op == 3) { // growth without copy drops the elements: they are still ours
                EXPECT_EQ(array.at(0), nullptr);
                for (KoObject* item : held) delete item;
            }
            return true;
        });
    }
    // setInitialSize, and shrink of an owned array
    walkFailures([&](auto arm) {
        KoArray array;
        filled(array, 3);
        KoObject* third = array.at(2);
        arm();
        unsigned rc = array.shrink(2);
        ramFailAfter(0);
        if (rc) {
            check(array, 3, 16);
            return false;
        }
        EXPECT_EQ(array.getSizeOfArray(), 2u);
        delete third; // beyond the new count: no longer the array's
        return true;
    });
    walkFailures([&](auto arm) {
        KoArray array;
        arm();
        unsigned rc = array.setInitialSize(40);
        ramFailAfter(0);
        if (rc) {
            EXPECT_EQ(array.getSizeOfArray(), 0u);
        }
        return rc == 0;
    });
}

TEST(TypedArrays, ValuesWrapAtThirtyTwoBitsAndPointersGoBackToTheHeap) {
    KoArrayU32 u;
    u.add(0x1FFFFFFFFul); // kept to 32 bits
    u.push(7);
    EXPECT_EQ(u.at(0), 0xFFFFFFFFul);
    EXPECT_TRUE(u.doesExist(7));
    EXPECT_EQ(u.pop(), 7ul);
    EXPECT_EQ(u.getCount(), 1u);

    KoArrayS32 s;
    s.add(-5);
    s.add(0x80000000l); // wraps to the most negative 32-bit value
    EXPECT_EQ(s.at(0), -5);
    EXPECT_EQ(s[1], -2147483648l);
    EXPECT_EQ(s.top(), -2147483648l);

    long before = ramLiveBlocks();
    {
        KoArrayPVoid p;
        p.setDeleteContentsOnDestruct();
        p.add(ramMalloc(10));
        p.add(ramAllocStr("x"));
        p.add(nullptr);
        p.deleteAtIndex(0);
        EXPECT_EQ(p.getCount(), 2u);
    }
    EXPECT_EQ(ramLiveBlocks(), before);
}

TEST(BitArray, BitsAreLeastSignificantFirstAndReinitialisingKeepsOldBitsOnFailure) {
    KoBitArray bits;
    EXPECT_FALSE(bits.isInitialized());
    ASSERT_EQ(bits.initialize(8), 0u); // 8 / 8 + 1 = 2 bytes: bit 8 is addressable
    bits.set(0);
    bits.set(8);
    bits.set(3);
    EXPECT_EQ(bits.BitString[0], 0x09);
    EXPECT_EQ(bits.BitString[1], 0x01);
    bits.reset(3);
    EXPECT_TRUE(bits.isSet(0));
    EXPECT_FALSE(bits.isSet(3));

    ramFailAfter(1);
    EXPECT_EQ(bits.initialize(100), 1u);
    ramFailAfter(0);
    EXPECT_EQ(bits.NumberOfBits, 8u);
    EXPECT_TRUE(bits.isSet(8));
    bits.resetAll();
    EXPECT_FALSE(bits.isSet(0));
    EXPECT_FALSE(bits.isSet(8));
}

TEST(MemoryHelpers, ByteWiseCopyAndTheKeptBoundaryArithmetic) {
    char text[] = "abcdef";
    memCopyHuge(text + 1, text, 5); // forward, one byte at a time: the first byte runs on
    EXPECT_STREQ(text, "aaaaaa");
    memFillHuge(text, 'z', 3);
    EXPECT_STREQ(text, "zzzaaa");

    unsigned long value = 5;
    alignOnByteBoundary(value, 4);
    EXPECT_EQ(value, 8ul);
    value = 1;
    alignOnByteBoundary(value, 4);
    EXPECT_EQ(value, 0ul); // only the boundary's own bit is masked off
    unsigned short small = 3;
    alignOnByteBoundary(small, 8);
    EXPECT_EQ(small, 2);
    void* pointer = reinterpret_cast<void*>(0x1005);
    alignOnByteBoundary(pointer, 4);
    EXPECT_EQ(pointer, reinterpret_cast<void*>(0x1008));
    for (unsigned short boundary : {0, 1, 2, 4, 8, 4096, 8192})
        EXPECT_FALSE(verifyByteBoundary(boundary));
}
