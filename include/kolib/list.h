// KoList: a circular singly linked list of KoNode objects with a walking cursor. LastNode's
// Next is the first node. The list never owns its nodes (deleteNodes deletes them on request).
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KO_API KoList : public KoObject {
public:
    KoList() : LastNode(nullptr), NodeCount(0), CurrentNode(nullptr) {}
    // Deletes nothing.
    ~KoList() override;
    KoList(const KoList&) = delete;
    KoList& operator=(const KoList&) = delete;

    // At the front.
    void insert(KoNode* node);
    // At pos: 0 as insert, the count as append, otherwise behind node pos - 1 (moves the cursor).
    void insertAtPos(KoNode* node, unsigned long pos);
    // At the end.
    void append(KoNode* node);
    // Unlinks a node of this list: its Next is cleared, the cursor cleared if it stood on it.
    // Returns the node, or null when it is not in the list.
    KoNode* unlink(KoNode* node);
    // Unlink and return the first / last node; null when empty.
    KoNode* removeFirstNode();
    KoNode* removeLastNode();

    // Cursor walk: the first node (null when empty); the following one, null after the last
    // (the cursor must not be null); the last node.
    KoNode* getFirstNode();
    KoNode* getNextNode();
    KoNode* getLastNode();
    KoNode* getCurrentNode() const { return CurrentNode; }
    void setCurrentNode(KoNode* node) { CurrentNode = node; }
    // Walks from the first node (moving the cursor); the step count is 16-bit. Null when the
    // list ends first.
    KoNode* getNodeAtPos(unsigned long pos);
    void moveLastNodeToPos(unsigned long pos);
    // Unlinks and deletes every node.
    void deleteNodes();
    unsigned long getCount() const { return NodeCount; }

    KoNode* LastNode;
    uint32_t NodeCount;
    KoNode* CurrentNode;
};
