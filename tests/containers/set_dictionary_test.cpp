// KoSet sizing and growth, KoDictionary and KoSeqDictionary look-ups, ownership of keys and
// data, and the failure paths of growth and addAssoc.
#include <gtest/gtest.h>
#include <cstring>
#include <string>
#include <vector>
#include "kolib/dictionary.h"
#include "kolib/seq_dictionary.h"
#include "kolib/set.h"
#include "kolib/substring.h"
#include "test_items.h"

using kotest::Item;
using kotest::walkFailures;

TEST(Set, SizingAndGrowthFollowTheFillLimit) {
    KoSet set;
    EXPECT_EQ(set.setCapacity(3), 5u); // 300 / 75 + 1
    EXPECT_EQ(set.getCapacity(), 3u);
    ASSERT_EQ(set.initialize(3), 0u);
    int values[4];
    for (int i = 0; i < 3; ++i) ASSERT_EQ(set.add(&values[i]), 0u);
    EXPECT_EQ(set.NumOfSlots, 5);
    ASSERT_EQ(set.add(&values[3]), 0u); // capacity 3 + 0 + 1 = 4
    EXPECT_EQ(set.NumOfSlots, 6);
    EXPECT_EQ(set.getCapacity(), 4u);
    for (int& value : values) EXPECT_EQ(set.Contents.at(set.findIndexOf(&value)), &value);
    EXPECT_EQ(set.MaxNumOfObjects, 4);

    // Slot counts are 16-bit: 60000 * 100 / 75 + 1 = 80001 wraps.
    EXPECT_EQ(set.setCapacity(60000), 80001u % 65536u);
    set.reset();
    EXPECT_EQ(set.NumOfSlots, 0);
    EXPECT_EQ(set.PercentFull, 75);
    EXPECT_EQ(set.findIndexOf(&values[0]), 0u); // no slots: nothing to find
    EXPECT_EQ(set.add(&values[0]), 1u);
}

TEST(Set, FailedGrowthKeepsTheElements) {
    int values[5];
    for (int op = 0; op < 3; ++op) {
        walkFailures([&](auto arm) {
            KoSet set;
            EXPECT_EQ(set.initialize(3), 0u);
            for (int i = 0; i < 3; ++i) set.add(&values[i]);
            arm();
            unsigned rc = op == 0   ? set.add(&values[3])
                          : op == 1 ? set.resize(10)
                                    : set.initialize(8);
            ramFailAfter(0);
            if (rc) {
                EXPECT_EQ(set.getCount(), 3u);
                EXPECT_EQ(set.NumOfSlots, 5);
                for (int i = 0; i < 3; ++i)
                    EXPECT_TRUE(set.Contents.at(set.findIndexOf(&values[i])));
                EXPECT_FALSE(set.Contents.at(set.findIndexOf(&values[3])));
                EXPECT_EQ(set.add(&values[4]), 0u); // usable afterwards
                EXPECT_EQ(set.getCount(), 4u);
            }
            return rc == 0;
        });
    }
}

TEST(Dictionary, IntegerKeysThroughGrowthAndTheCountingOfRepeatedKeys) {
    long before = ramLiveBlocks();
    {
        KoDictionary dict;
        ASSERT_EQ(dict.initialize(4), 0u);
        for (unsigned long key = 0; key < 3000; key += 3)
            ASSERT_EQ(dict.addAssoc(key, key * 2), 0u);
        EXPECT_EQ(dict.getCount(), 1000u);
        for (unsigned long key = 0; key < 3000; ++key) {
            EXPECT_EQ(dict.doesExist(key), key % 3 == 0) << key;
            EXPECT_EQ(dict.getIntForKey(key), key % 3 == 0 ? key * 2 : 0);
        }
        // A repeated key replaces the association and still counts (callers test first).
        ASSERT_EQ(dict.addAssoc(3ul, 77ul), 0u);
        EXPECT_EQ(dict.getCount(), 1001u);
        EXPECT_EQ(dict.getIntForKey(3), 77u);

        Item* data = new Item(1);
        ASSERT_EQ(dict.addAssoc(1ul << 32 | 5, data), 0u); // keys are 32-bit
        EXPECT_EQ(dict.getPtrForKey(5), data);
        delete data;
    }
    EXPECT_EQ(ramLiveBlocks(), before); // associations, replaced ones included, are freed
}

TEST(Dictionary, TextKeysExactCaseInsensitiveAndSharingAPrefix) {
    static const char* names[] = {"DSN", "Driver", "Database", "UID", "PWD", "ServerName"};
    KoDictionary exact, folded;
    folded.setCaseInsensitive();
    ASSERT_EQ(exact.initialize(2), 0u);
    ASSERT_EQ(folded.initialize(2), 0u);
    std::vector<KoSubString> keys;
    keys.reserve(6);
    std::vector<Item> data;
    data.reserve(6);
    for (int i = 0; i < 6; ++i) {
        keys.emplace_back(names[i], std::strlen(names[i]));
        data.emplace_back(i);
        ASSERT_EQ(exact.addAssoc(&keys[i], &data[i]), 0u);
        ASSERT_EQ(folded.addAssoc(&keys[i], &data[i]), 0u);
    }
    KoSubString upper("DRIVER", 6), absent("Port", 4);
    EXPECT_EQ(exact.getPtrForKey(&keys[1]), &data[1]);
    EXPECT_EQ(exact.getPtrForKey(&upper), nullptr);
    EXPECT_EQ(folded.getPtrForKey(&upper), &data[1]);
    EXPECT_FALSE(folded.doesExist(&absent));
    EXPECT_EQ(folded.getPtrForKey(&absent), nullptr);

    // Keys alike in their first five characters share a start slot and are found by probing.
    std::vector<std::string> texts;
    for (int i = 0; i < 300; ++i) texts.push_back("KEY00" + std::to_string(i));
    std::vector<KoSubString> views;
    views.reserve(texts.size());
    KoDictionary shared;
    ASSERT_EQ(shared.initialize(16), 0u);
    for (size_t i = 0; i < texts.size(); ++i) {
        views.emplace_back(texts[i].c_str(), texts[i].size());
        ASSERT_EQ(shared.addAssoc(&views[i], reinterpret_cast<KoObject*>(&texts[i])), 0u);
    }
    for (size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(shared.getPtrForKey(&views[i]), reinterpret_cast<KoObject*>(&texts[i]));
    KoSubString miss("KEY00x", 6);
    EXPECT_FALSE(shared.doesExist(&miss));
}

TEST(Dictionary, DeleteKeyAndDataReleasesKeysAndDataTheDestructorOnlyAssociations) {
    long before = ramLiveBlocks();
    Item kept(9);
    {
        KoDictionary dict;
        ASSERT_EQ(dict.initialize(4), 0u);
        dict.addAssoc(1ul, &kept); // the destructor must leave the data alone
    }
    {
        KoDictionary dict;
        ASSERT_EQ(dict.initialize(4), 0u);
        dict.addAssoc(new KoSubString("a", 1), new Item(1));
        dict.addAssoc(2ul, new Item(2));
        dict.addAssoc(3ul, 3ul);
        dict.deleteKeyAndData();
        EXPECT_EQ(dict.getCount(), 0u);
        EXPECT_FALSE(dict.doesExist(2));
    }
    EXPECT_EQ(ramLiveBlocks(), before);
}

TEST(Dictionary, FailedAddAssocAddsNothingAndLeaksNothing) {
    for (int kind = 0; kind < 2; ++kind) {
        walkFailures([&](auto arm) {
            KoDictionary dict;
            EXPECT_EQ(dict.initialize(3), 0u);
            for (unsigned long key = 1; key <= 3; ++key) dict.addAssoc(key, key);
            KoSubString text("text", 4);
            arm(); // the fourth association also makes the table grow
            unsigned rc = kind == 0 ? dict.addAssoc(4ul, 4ul) : dict.addAssoc(&text, nullptr);
            ramFailAfter(0);
            if (rc) {
                EXPECT_EQ(dict.getCount(), 3u);
                EXPECT_FALSE(dict.doesExist(4));
                EXPECT_FALSE(dict.doesExist(&text));
                for (unsigned long key = 1; key <= 3; ++key) EXPECT_EQ(dict.getIntForKey(key), key);
                EXPECT_EQ(dict.addAssoc(5ul, 5ul), 0u);
            }
            return rc == 0;
        });
    }
}

TEST(SeqDictionary, FirstMatchWinsAndAbsentKeysGiveTheCount) {
    long before = ramLiveBlocks();
    {
        KoSeqDictionary dict;
        dict.setCaseInsensitive();
        KoSubString a1("Name", 4), a2("NAME", 4), b("Other", 5), probe("name", 4), absent("x", 1);
        Item first(1), second(2);
        dict.addAssoc(&a1, &first);
        dict.addAssoc(&b, &second);
        dict.addAssoc(&a2, &second);
        dict.addAssoc(10ul, 100ul);
        EXPECT_EQ(dict.getIndexForKey(probe), 0u);
        EXPECT_EQ(dict.getPtrForKey(&probe), &first);
        EXPECT_EQ(dict.getIndexForKey(&absent), 4u);
        EXPECT_EQ(dict.getIntForKey(11ul), 0u);
        dict.changeData(probe, &second);
        dict.changeData(10ul, 101ul);
        EXPECT_EQ(dict.getPtrDataAtIndex(0), &second);
        EXPECT_EQ(dict.getIntForKey(10ul), 101u);

        KoSeqDictionary exact;
        exact.addAssoc(&a1, &first);
        EXPECT_FALSE(exact.doesExist(&probe));
    }
    {
        KoSeqDictionary dict;
        dict.addAssoc(new KoSubString("k", 1), new Item(1));
        dict.addAssoc(7ul, new Item(7));
        dict.addAssoc(8ul, 8ul);
        dict.deleteKeyAndDataAtIndex(0);
        EXPECT_EQ(dict.getIntKeyAtIndex(0), 7u);
        dict.deleteKeyAndData();
        EXPECT_EQ(dict.getCount(), 0u);
    }
    EXPECT_EQ(ramLiveBlocks(), before);

    walkFailures([&](auto arm) {
        KoSeqDictionary dict;
        for (unsigned long key = 0; key < 16; ++key) dict.addAssoc(key, key); // full
        arm();
        unsigned rc = dict.addAssoc(16ul, 16ul);
        ramFailAfter(0);
        if (rc) {
            EXPECT_EQ(dict.getCount(), 16u);
            EXPECT_FALSE(dict.doesExist(16ul));
        }
        return rc == 0;
    });
}
