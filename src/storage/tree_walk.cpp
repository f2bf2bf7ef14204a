// KoTree: walking in order, look-ups, deletion and changes, and KoTreeIterator. A path entry
// (node, position) names key `position` of the node at the top of the path; further up, the
// position is the son the path went down through. At the top, 0xFFFF means "before the first
// entry" and 0xFFFE "after the last" (where a walk ran off either end).
#include <cerrno>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/tree.h"

namespace {

const uint32_t BEFORE_FIRST = 0xFFFF;
const uint32_t AFTER_LAST = 0xFFFE;

void setTopPosition(KoTreeIterator* iterator, uint32_t pos) {
    *iterator->NodePositions.KoArray::top() = KoArrayU32::toSlot(pos);
}

void popPath(KoTreeIterator* iterator) {
    iterator->PathNodes.pop();
    iterator->NodePositions.pop();
}

} // namespace

// Copies out the entry at the top of the path.
unsigned KoTree::deliver(KoTreeIterator* iterator, void* key, void* data, unsigned* found) {
    const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
    if (!node) return 1;
    unsigned pos = static_cast<unsigned>(iterator->NodePositions.top());
    if (key) std::memcpy(key, getKey(node, pos), KeyLength);
    if (data && DataLength) std::memcpy(data, getDataInNode(node, pos), DataLength);
    *found = 1;
    iterator->LastFound = 1;
    return 0;
}

// Runs off an end: the path keeps only the root with the sentinel position.
static void endWalk(KoTreeIterator* iterator, uint32_t root, uint32_t sentinel, unsigned* found) {
    iterator->PathNodes.reset();
    iterator->NodePositions.reset();
    if (root && iterator->PathNodes.add(root) == 0 && iterator->NodePositions.add(sentinel))
        iterator->PathNodes.reset();
    iterator->LastFound = 0;
    *found = 0;
}

// Moves the path to the next entry (live or not); found 0 past the last.
unsigned KoTree::stepNext(KoTreeIterator* iterator, unsigned* found) {
    uint32_t uid = static_cast<uint32_t>(iterator->PathNodes.top());
    uint32_t pos = static_cast<uint32_t>(iterator->NodePositions.top()) + 1;
    setTopPosition(iterator, pos);
    const char* node = getPtr(uid);
    if (!node) return 1;
    uint32_t son = pos < numSons(node) ? getSon(node, pos) : 0;
    if (son) {
        while (son) {
            if (pushPath(iterator, son, 0)) return 1;
            node = getPtr(son);
            if (!node) return 1;
            son = getSon(node, 0);
        }
        *found = 1;
        return 0;
    }
    for (;;) {
        node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        if (iterator->NodePositions.top() + 1 < numSons(node)) break;
        popPath(iterator);
        if (!iterator->PathNodes.getCount()) {
            endWalk(iterator, HeadUid, AFTER_LAST, found);
            return 0;
        }
    }
    *found = 1;
    return 0;
}

// Moves the path to the previous entry; found 0 before the first.
unsigned KoTree::stepPrevious(KoTreeIterator* iterator, unsigned* found) {
    uint32_t uid = static_cast<uint32_t>(iterator->PathNodes.top());
    uint32_t pos = static_cast<uint32_t>(iterator->NodePositions.top());
    const char* node = getPtr(uid);
    if (!node) return 1;
    uint32_t son = pos < numSons(node) ? getSon(node, pos) : 0;
    if (son) {
        while (son) {
            node = getPtr(son);
            if (!node) return 1;
            uint32_t last = numSons(node) - 1u;
            if (pushPath(iterator, son, last)) return 1;
            son = getSon(node, last);
        }
        setTopPosition(iterator, numSons(node) - 2u);
        *found = 1;
        return 0;
    }
    while (iterator->NodePositions.top() == 0) {
        popPath(iterator);
        if (!iterator->PathNodes.getCount()) {
            endWalk(iterator, HeadUid, BEFORE_FIRST, found);
            return 0;
        }
    }
    setTopPosition(iterator, static_cast<uint32_t>(iterator->NodePositions.top()) - 1);
    *found = 1;
    return 0;
}

unsigned KoTree::getFirstOrLast(void* key, void* data, unsigned* found, KoTreeIterator* iterator,
                                bool last) {
    if (!iterator) iterator = &TreeIterator;
    *found = 0;
    iterator->PathNodes.reset();
    iterator->NodePositions.reset();
    iterator->LastFound = 0;
    if (!NumKeys || !HeadUid) return 0;
    const char* node = nullptr;
    for (uint32_t uid = HeadUid; uid;) {
        node = getPtr(uid);
        if (!node) return 1;
        uint32_t pos = last ? numSons(node) - 1u : 0u;
        if (pushPath(iterator, uid, pos)) return 1;
        uid = getSon(node, pos);
    }
    if (last) setTopPosition(iterator, numSons(node) - 2u);
    if (isDeleted(node, static_cast<unsigned>(iterator->NodePositions.top()))) {
        iterator->LastFound = 1;
        return last ? getPrevious(key, data, found, iterator) : getNext(key, data, found, iterator);
    }
    return deliver(iterator, key, data, found);
}

unsigned KoTree::getFirst(void* key, void* data, unsigned* found, KoTreeIterator* iterator) {
    return getFirstOrLast(key, data, found, iterator, false);
}

unsigned KoTree::getLast(void* key, void* data, unsigned* found, KoTreeIterator* iterator) {
    return getFirstOrLast(key, data, found, iterator, true);
}

unsigned KoTree::getNext(void* key, void* data, unsigned* found, KoTreeIterator* iterator) {
    if (!iterator) iterator = &TreeIterator;
    *found = 0;
    if (!NumKeys || !iterator->PathNodes.getCount()) return 0;
    uint32_t top = static_cast<uint32_t>(iterator->NodePositions.top());
    if (top == BEFORE_FIRST) return getFirst(key, data, found, iterator);
    if (top == AFTER_LAST) return 0;
    if (!iterator->LastFound) {
        // An insertion point: the entry there, if live, comes next.
        const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        if (top + 1 < numSons(node) && !isDeleted(node, top))
            return deliver(iterator, key, data, found);
    }
    for (;;) {
        if (stepNext(iterator, found)) return 1;
        if (!*found) return 0;
        const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        if (!isDeleted(node, static_cast<unsigned>(iterator->NodePositions.top())))
            return deliver(iterator, key, data, found);
    }
}

unsigned KoTree::getPrevious(void* key, void* data, unsigned* found, KoTreeIterator* iterator) {
    if (!iterator) iterator = &TreeIterator;
    *found = 0;
    if (!NumKeys || !iterator->PathNodes.getCount()) return 0;
    uint32_t top = static_cast<uint32_t>(iterator->NodePositions.top());
    if (top == AFTER_LAST) return getLast(key, data, found, iterator);
    if (top == BEFORE_FIRST) return 0;
    for (;;) {
        if (stepPrevious(iterator, found)) return 1;
        if (!*found) return 0;
        const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        if (!isDeleted(node, static_cast<unsigned>(iterator->NodePositions.top())))
            return deliver(iterator, key, data, found);
    }
}

unsigned KoTree::deleteCurrent(KoTreeIterator* iterator) {
    if (!iterator) iterator = &TreeIterator;
    if (!iterator->LastFound || !iterator->PathNodes.getCount()) return 0;
    if (!DeleteOk) {
        bosMapError(EINVAL, nullptr); // a tree made without deletion
        return 1;
    }
    uint32_t uid = static_cast<uint32_t>(iterator->PathNodes.top());
    unsigned pos = static_cast<unsigned>(iterator->NodePositions.top());
    char* node = getDirtyPtr(uid);
    if (!node) return 1;
    setDeleted(node, pos);
    --NumKeys;
    uint16_t sons = numSons(node);
    if (getSon(node, 0) == 0 && sons >= 3) {
        // A leaf with other entries loses the entry at once; the next one moves into its place.
        char* from = triad(node, pos + 1) + 4;
        char* end = triad(node, sons - 1u) + 4;
        std::memmove(triad(node, pos) + 4, from, static_cast<std::size_t>(end - from));
        setNumSons(node, static_cast<uint16_t>(sons - 1));
        iterator->LastFound = 0;
    }
    return 0;
}

// Positions the path on the first live entry equal to `key` (found 0 when there is none).
// With duplicates, equal keys may lie on both sides of a tombstone of the same key, which a
// single descent cannot tell apart: the search goes down to the insertion point left of all
// equal keys and walks forward from there.
unsigned KoTree::walkToFirstEqual(const void* key, KoTreeIterator* iterator, unsigned* found) {
    uint32_t uid = 0;
    uint16_t pos = 0;
    if (treeSearch(key, &uid, &pos, found, iterator, DupesOk)) return 1;
    if (!DupesOk) return 0;
    if (getNext(WorkKey, nullptr, found, iterator)) return 1;
    if (*found && keyCompare(WorkKey, key) != 0) *found = 0;
    return 0;
}

unsigned KoTree::getData(const void* key, void* data, unsigned* found, KoTreeIterator* iterator) {
    if (!iterator) iterator = &TreeIterator;
    *found = 0;
    if (!HeadUid || walkToFirstEqual(key, iterator, found)) return HeadUid ? 1 : 0;
    if (*found && data && DataLength) {
        const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        std::memcpy(data, getDataInNode(node, static_cast<unsigned>(iterator->NodePositions.top())),
                    DataLength);
    }
    return 0;
}

unsigned KoTree::getData(uint32_t key, uint32_t* data, unsigned* found) {
    return getData(static_cast<const void*>(&key), data, found);
}

unsigned KoTree::doesExist(const void* key, unsigned* found) {
    *found = 0;
    return HeadUid && ensureBuffers() == 0 ? walkToFirstEqual(key, &TreeIterator, found) : 0;
}

unsigned KoTree::deleteKeyAndData(const void* key, const void* data, unsigned* existed) {
    unsigned ignored;
    if (!existed) existed = &ignored;
    *existed = 0;
    if (!HeadUid) return 0;
    KoTreeIterator* iterator = &TreeIterator;
    if (walkToFirstEqual(key, iterator, existed)) return 1;
    if (!*existed) return 0;
    if (!DupesOk || !data || !DataLength) return deleteCurrent(iterator);
    for (unsigned more = 1; more;) {
        const char* node = getPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
        if (!node) return 1;
        unsigned pos = static_cast<unsigned>(iterator->NodePositions.top());
        if (keyCompare(getKey(node, pos), key) != 0) break;
        if (std::memcmp(getDataInNode(node, pos), data, DataLength) == 0)
            return deleteCurrent(iterator);
        if (getNext(nullptr, nullptr, &more, iterator)) return 1;
    }
    *existed = 0;
    return 0;
}

unsigned KoTree::deleteKey(const void* key, unsigned* existed) {
    return deleteKeyAndData(key, nullptr, existed);
}

unsigned KoTree::deleteKey(uint32_t key, unsigned* existed) {
    return deleteKeyAndData(static_cast<const void*>(&key), nullptr, existed);
}

unsigned KoTree::changeCurrentData(const void* data, KoTreeIterator* iterator) {
    if (!iterator) iterator = &TreeIterator;
    if (!iterator->LastFound || !iterator->PathNodes.getCount()) return 0;
    char* node = getDirtyPtr(static_cast<uint32_t>(iterator->PathNodes.top()));
    if (!node) return 1;
    setDataInNode(node, static_cast<unsigned>(iterator->NodePositions.top()), data);
    return 0;
}

unsigned KoTree::changeData(const void* key, const void* data) {
    unsigned found = 0;
    if (!HeadUid) return 0;
    if (walkToFirstEqual(key, &TreeIterator, &found)) return 1;
    return found ? changeCurrentData(data, nullptr) : 0;
}

unsigned KoTree::changeKey(const void* oldKey, const void* newKey) {
    unsigned found = 0;
    if (!HeadUid) return 0;
    if (walkToFirstEqual(oldKey, &TreeIterator, &found)) return 1;
    if (!found) return 0;
    uint32_t uid = static_cast<uint32_t>(TreeIterator.PathNodes.top());
    unsigned pos = static_cast<unsigned>(TreeIterator.NodePositions.top());
    if (!DeleteOk) {
        bosMapError(EINVAL, nullptr);
        return 1;
    }
    char* node = getDirtyPtr(uid);
    if (!node) return 1;
    setDeleted(node, pos); // NumKeys stays as it is: intended
    if (DataLength) std::memcpy(WorkData, getDataInNode(node, pos), DataLength);
    return add(newKey, WorkData, nullptr);
}

unsigned KoTreeIterator::initialize(KoTree* tree) {
    Tree = tree;
    CurrentIncrement = 0;
    LastFound = 0;
    if (Sized) return 0;
    if (PathNodes.setInitialSize(32) || NodePositions.setInitialSize(32)) return 1;
    Sized = true;
    return 0;
}

unsigned KoTreeIterator::getFirst(void* key, void* data, unsigned* found) {
    return Tree->getFirst(key, data, found, this);
}
unsigned KoTreeIterator::getNext(void* key, void* data, unsigned* found) {
    return Tree->getNext(key, data, found, this);
}
unsigned KoTreeIterator::getPrevious(void* key, void* data, unsigned* found) {
    return Tree->getPrevious(key, data, found, this);
}
unsigned KoTreeIterator::getLast(void* key, void* data, unsigned* found) {
    return Tree->getLast(key, data, found, this);
}
unsigned KoTreeIterator::getData(const void* key, void* data, unsigned* found) {
    return Tree->getData(key, data, found, this);
}
unsigned KoTreeIterator::changeCurrentData(const void* data) {
    return Tree->changeCurrentData(data, this);
}
unsigned KoTreeIterator::deleteCurrent() {
    return Tree->deleteCurrent(this);
}
