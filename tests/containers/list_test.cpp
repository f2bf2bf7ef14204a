// KoList: the circle, unlinking, the cursor and positions.
#include <gtest/gtest.h>
#include <vector>
#include "kolib/list.h"
#include "test_items.h"

namespace {
std::vector<KoNode*> walk(KoList& list) {
    std::vector<KoNode*> out;
    for (KoNode* node = list.getFirstNode(); node; node = list.getNextNode()) out.push_back(node);
    return out;
}
} // namespace

TEST(List, OneNodeCircleAndUnlinkClearingTheCursor) {
    KoList list;
    KoNode node;
    list.insertAtPos(&node, 0);
    EXPECT_EQ(node.Next, &node);
    EXPECT_EQ(list.getLastNode(), &node);
    EXPECT_EQ(list.getCurrentNode(), &node);
    EXPECT_EQ(list.unlink(&node), &node);
    EXPECT_EQ(list.getCount(), 0u);
    EXPECT_EQ(list.LastNode, nullptr);
    EXPECT_EQ(list.getCurrentNode(), nullptr);
    EXPECT_EQ(node.Next, nullptr);
    EXPECT_EQ(list.removeFirstNode(), nullptr);
}

TEST(List, InsertAppendPositionsAndMoves) {
    KoList list;
    KoNode n[6];
    list.append(&n[1]);
    list.insert(&n[0]);
    list.append(&n[3]);
    list.insertAtPos(&n[2], 2);
    list.insertAtPos(&n[4], 4); // at the count: appended
    EXPECT_EQ(walk(list), (std::vector<KoNode*>{&n[0], &n[1], &n[2], &n[3], &n[4]}));
    EXPECT_EQ(n[4].Next, &n[0]); // circular
    EXPECT_EQ(list.getNodeAtPos(3), &n[3]);
    EXPECT_EQ(list.getCurrentNode(), &n[3]);
    EXPECT_EQ(list.getNodeAtPos(9), nullptr);

    list.moveLastNodeToPos(1);
    EXPECT_EQ(walk(list), (std::vector<KoNode*>{&n[0], &n[4], &n[1], &n[2], &n[3]}));
    EXPECT_EQ(list.unlink(&n[5]), nullptr); // not a member: nothing happens
    EXPECT_EQ(list.removeLastNode(), &n[3]);
    EXPECT_EQ(list.LastNode, &n[2]);
    EXPECT_EQ(list.removeFirstNode(), &n[0]);
    EXPECT_EQ(walk(list), (std::vector<KoNode*>{&n[4], &n[1], &n[2]}));
}

TEST(List, DeleteNodesDeletesAndTheDestructorDoesNot) {
    long before = ramLiveBlocks();
    KoNode* kept = new KoNode;
    {
        KoList list;
        list.append(kept);
    }
    EXPECT_EQ(ramLiveBlocks(), before + 1);
    KoList list;
    list.append(kept);
    for (int i = 0; i < 5; ++i) list.append(new KoNode);
    list.deleteNodes();
    EXPECT_EQ(list.getCount(), 0u);
    EXPECT_EQ(ramLiveBlocks(), before);
}

TEST(List, PositionWalkCountsInSixteenBits) {
    std::vector<KoNode> nodes(65537);
    KoList list;
    for (KoNode& node : nodes) list.append(&node);
    EXPECT_EQ(list.getNodeAtPos(65535), &nodes[65535]);
    // The counter wraps before it reaches 65536, so the walk runs off the end.
    EXPECT_EQ(list.getNodeAtPos(65536), nullptr);
    while (list.removeFirstNode()) {
    }
}
