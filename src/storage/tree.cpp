// KoTree: geometry, node access, search and insertion with splits. Nodes are read through
// pointers into the store's cache, valid only until the next store operation, so code that
// needs two nodes at once (a split) works on copies on the stack and writes them back.
#include "kolib/tree.h"

#include <cerrno>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/memory.h"

namespace {

const uint16_t MAX_ORDER = 49;
const uint32_t NODE_SPACE = 2048 - 12;

} // namespace

int16_t treeU32Compare(const void* a, const void* b, uint16_t) {
    uint32_t x, y;
    std::memcpy(&x, a, 4);
    std::memcpy(&y, b, 4);
    return x == y ? 0 : x < y ? -1 : 1;
}

KoTree::KoTree(uint16_t keyLength, uint16_t dataLength, KoTreeCompare compare, unsigned deleteOk,
               unsigned dupesOk, unsigned lockOption)
    : KeyLength(keyLength), DataLength(dataLength), CompareFunction(compare),
      AltCompareFunction(nullptr), AltInfo(nullptr), DeleteOk(deleteOk ? 1 : 0),
      DupesOk(dupesOk ? 1 : 0), PTree(0), Order(0), TriadLength(0), NodeLength(0),
      DeleteLength(deleteOk ? 1 : 0), HeadUid(0), Cache(32768, lockOption), NewKeyBuffer(nullptr),
      NewDataBuffer(nullptr), MidKeyBuffer(nullptr), MidDataBuffer(nullptr), NumKeys(0),
      NumNodes(0), MaxDepth(0), LastDepth(0), WorkKey(nullptr), WorkData(nullptr) {
    uint32_t triadLength =
        (static_cast<uint32_t>(keyLength) + dataLength + 4 + DeleteLength + 3) & ~3u;
    uint32_t order = NODE_SPACE / triadLength + 1;
    if (order > MAX_ORDER) order = MAX_ORDER;
    TriadLength = static_cast<uint16_t>(triadLength > 0xFFFF ? 0xFFFF : triadLength);
    Order = static_cast<uint16_t>(order);
    NodeLength = static_cast<uint16_t>(12 + triadLength * (order - 1));
    Cache.getContiguousSpace(1); // offset 4: the first node lies at 8
}

KoTree::~KoTree() {
    ramFree(NewKeyBuffer);
    ramFree(NewDataBuffer);
    ramFree(MidKeyBuffer);
    ramFree(MidDataBuffer);
    ramFree(WorkKey);
    ramFree(WorkData);
}

void KoTree::setAlternateCompareFunction(KoTreeAltCompare function, void* context) {
    AltCompareFunction = function;
    AltInfo = context;
}

int16_t KoTree::keyCompare(const void* a, const void* b) const {
    if (CompareFunction) return CompareFunction(a, b, KeyLength);
    if (AltCompareFunction) return AltCompareFunction(AltInfo, a, b);
    int c = std::memcmp(a, b, KeyLength);
    return static_cast<int16_t>(c < 0 ? -1 : c > 0 ? 1 : 0);
}

char* KoTree::getPtr(uint32_t uid) {
    char* pointer = nullptr;
    uint16_t available = 0;
    return Cache.tmpPointer(uid, &pointer, &available, 0) ? nullptr : pointer;
}

char* KoTree::getDirtyPtr(uint32_t uid) {
    char* pointer = nullptr;
    uint16_t available = 0;
    return Cache.tmpPointer(uid, &pointer, &available, 1) ? nullptr : pointer;
}

uint16_t KoTree::numSons(const char* node) {
    uint16_t sons;
    std::memcpy(&sons, node, 2);
    return sons;
}

void KoTree::setNumSons(char* node, uint16_t sons) {
    std::memcpy(node, &sons, 2);
}

uint32_t KoTree::getSon(const char* node, unsigned i) const {
    uint32_t son;
    std::memcpy(&son, triad(node, i), 4);
    return son;
}

void KoTree::setSon(char* node, unsigned i, uint32_t son) {
    std::memcpy(triad(node, i), &son, 4);
}

void KoTree::setKey(char* node, unsigned i, const void* key) {
    std::memcpy(triad(node, i) + 4, key, KeyLength);
}

void KoTree::setDataInNode(char* node, unsigned i, const void* data) {
    if (DataLength && data) std::memcpy(triad(node, i) + 4 + KeyLength, data, DataLength);
}

int KoTree::isDeleted(const char* node, unsigned i) const {
    return DeleteOk && triad(node, i)[4 + KeyLength + DataLength] == 1;
}

void KoTree::setDeleted(char* node, unsigned i) {
    if (DeleteOk) triad(node, i)[4 + KeyLength + DataLength] = 1;
}

void KoTree::resetDeleted(char* node, unsigned i) {
    if (DeleteOk) triad(node, i)[4 + KeyLength + DataLength] = 0;
}

unsigned KoTree::ensureBuffers() {
    if (Order < 3) {
        bosMapError(EINVAL, nullptr); // keys and data too long for a node
        return 1;
    }
    if (NewKeyBuffer && WorkData) return 0;
    unsigned long dataBytes = static_cast<unsigned long>(DataLength) + DeleteLength + 1;
    char** buffers[] = {&NewKeyBuffer,  &MidKeyBuffer,  &WorkKey,
                        &NewDataBuffer, &MidDataBuffer, &WorkData};
    for (int i = 0; i < 6; ++i) {
        if (*buffers[i]) continue;
        *buffers[i] = static_cast<char*>(ramCalloc(i < 3 ? KeyLength + 1ul : dataBytes));
        if (!*buffers[i]) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
    }
    return TreeIterator.Tree ? 0 : TreeIterator.initialize(this);
}

unsigned KoTree::makeNode(uint32_t* uid, const void* key, const void* data, int deletedFlag) {
    char node[2048];
    std::memset(node, 0, NodeLength);
    ++NumNodes;
    *uid = Cache.getContiguousSpace(NodeLength);
    std::memcpy(node + 4, uid, 4);
    if (key) {
        setNumSons(node, 2);
        setKey(node, 0, key);
        setDataInNode(node, 0, data);
        if (deletedFlag) setDeleted(node, 0);
    }
    return Cache.write(*uid, node, NodeLength);
}

// Binary search over the node's keys; equal but deleted keys count as greater, so the search
// goes on to their left. Returns 1 when a live equal key is found.
int KoTree::nodeSearch(const char* node, const void* key, uint16_t* pos) {
    int lo = 0, hi = static_cast<int>(numSons(node)) - 2;
    while (lo <= hi) {
        int mid = (lo + hi) / 2;
        int16_t c = keyCompare(key, getKey(node, static_cast<unsigned>(mid)));
        if (c > 0) {
            lo = mid + 1;
        } else if (c == 0 && !isDeleted(node, static_cast<unsigned>(mid))) {
            unsigned at = static_cast<unsigned>(mid);
            if (DupesOk)
                while (at > 0 && keyCompare(key, getKey(node, at - 1)) == 0) --at;
            *pos = static_cast<uint16_t>(at);
            return 1;
        } else {
            hi = mid - 1;
        }
    }
    *pos = static_cast<uint16_t>(lo);
    return 0;
}

unsigned KoTree::pushPath(KoTreeIterator* iterator, uint32_t uid, uint32_t pos) {
    if (iterator->PathNodes.add(uid)) return 1;
    if (iterator->NodePositions.add(pos)) {
        iterator->PathNodes.pop();
        return 1;
    }
    return 0;
}

unsigned KoTree::treeSearch(const void* key, uint32_t* uid, uint16_t* pos, unsigned* found,
                            KoTreeIterator* iterator, unsigned descend) {
    if (!iterator) iterator = &TreeIterator;
    iterator->PathNodes.reset();
    iterator->NodePositions.reset();
    iterator->LastFound = 0;
    LastDepth = 0;
    *found = 0;
    *uid = 0;
    *pos = 0;
    for (uint32_t node = HeadUid; node;) {
        ++LastDepth;
        const char* pointer = getPtr(node);
        if (!pointer) return 1;
        uint16_t at = 0;
        int hit = nodeSearch(pointer, key, &at);
        uint32_t son = getSon(pointer, at);
        if (pushPath(iterator, node, at)) return 1;
        *uid = node;
        *pos = at;
        if (hit && !descend) {
            if (LastDepth > MaxDepth) MaxDepth = LastDepth;
            *found = 1;
            iterator->LastFound = 1;
            return 0;
        }
        node = son;
    }
    return 0;
}

void KoTree::insertInBuffer(char* node, uint16_t pos, const void* key, const void* data,
                            uint32_t rightSon, int flagFromData) {
    uint16_t sons = numSons(node);
    unsigned keys = sons ? sons - 1u : 0u;
    char* from = triad(node, pos) + 4;
    char* end = triad(node, keys) + 4;
    if (end > from) std::memmove(from + TriadLength, from, static_cast<std::size_t>(end - from));
    setKey(node, pos, key);
    setDataInNode(node, pos, data);
    setSon(node, pos + 1u, rightSon);
    if (DeleteOk) {
        const char* flag = static_cast<const char*>(data) + DataLength;
        if (flagFromData && data && *flag == 1)
            setDeleted(node, pos);
        else
            resetDeleted(node, pos);
    }
    setNumSons(node, static_cast<uint16_t>(keys + 2));
}

unsigned KoTree::insertInNode(uint32_t uid, uint16_t pos, const void* key, const void* data,
                              uint32_t rightSon, int flagFromData) {
    char* node = getDirtyPtr(uid);
    if (!node) return 1;
    insertInBuffer(node, pos, key, data, rightSon, flagFromData);
    return 0;
}

void KoTree::copyTriads(char* destination, const char* source, uint16_t from) {
    unsigned count = Order - from - 1u;
    std::memcpy(triad(destination, 0), triad(source, from),
                static_cast<std::size_t>(count) * TriadLength);
    setSon(destination, count, getSon(source, Order - 1u));
    setNumSons(destination, static_cast<uint16_t>(count + 1));
}

// The full node `uid` receives NewKey/NewData at pos with its right son; the upper half
// goes to the empty node `newUid` and the middle key to the Mid buffers.
unsigned KoTree::split(uint32_t uid, uint16_t pos, uint32_t rightSon, uint32_t newUid) {
    char old[2048], made[2048];
    const char* pointer = getPtr(uid);
    if (!pointer) return 1;
    std::memcpy(old, pointer, NodeLength);
    pointer = getPtr(newUid);
    if (!pointer) return 1;
    std::memcpy(made, pointer, NodeLength);
    unsigned h = Order / 2u;
    std::size_t middleBytes = static_cast<std::size_t>(DataLength) + DeleteLength;
    if (pos > h) {
        copyTriads(made, old, static_cast<uint16_t>(h + 1));
        insertInBuffer(made, static_cast<uint16_t>(pos - h - 1), NewKeyBuffer, NewDataBuffer,
                       rightSon, 1);
        setNumSons(old, static_cast<uint16_t>(h + 1));
        std::memcpy(MidKeyBuffer, getKey(old, h), KeyLength);
        std::memcpy(MidDataBuffer, getDataInNode(old, h), middleBytes);
    } else if (pos == h) {
        copyTriads(made, old, static_cast<uint16_t>(h));
        setSon(made, 0, rightSon);
        setNumSons(old, static_cast<uint16_t>(h + 1));
        std::memcpy(MidKeyBuffer, NewKeyBuffer, KeyLength);
        std::memcpy(MidDataBuffer, NewDataBuffer, middleBytes);
    } else {
        copyTriads(made, old, static_cast<uint16_t>(h));
        setNumSons(old, static_cast<uint16_t>(h));
        std::memcpy(MidKeyBuffer, getKey(old, h - 1), KeyLength);
        std::memcpy(MidDataBuffer, getDataInNode(old, h - 1), middleBytes);
        insertInBuffer(old, pos, NewKeyBuffer, NewDataBuffer, rightSon, 1);
    }
    return Cache.write(uid, old, NodeLength) || Cache.write(newUid, made, NodeLength) ? 1 : 0;
}

unsigned KoTree::doDecKeys(uint32_t, uint32_t) {
    return 0; // only the position tree keeps running offsets
}

unsigned KoTree::insertWithSplit(uint32_t uid, uint16_t pos, const void* key, const void* data) {
    std::memcpy(NewKeyBuffer, key, KeyLength);
    if (DataLength && data)
        std::memcpy(NewDataBuffer, data, DataLength);
    else if (DataLength)
        std::memset(NewDataBuffer, 0, DataLength);
    if (DeleteOk) NewDataBuffer[DataLength] = 0;
    KoTreeIterator* path = &TreeIterator;
    unsigned long level = path->PathNodes.getCount() - 1;
    uint32_t rightSon = 0;
    std::size_t dataBytes = static_cast<std::size_t>(DataLength) + DeleteLength;
    for (;;) {
        const char* node = getPtr(uid);
        if (!node) return 1;
        if (numSons(node) < Order)
            return insertInNode(uid, pos, NewKeyBuffer, NewDataBuffer, rightSon, 1);
        uint32_t made = 0;
        if (makeNode(&made, nullptr, nullptr) || split(uid, pos, rightSon, made)) return 1;
        if (level == 0) {
            // The root itself split: a new root holds the middle key over the two halves.
            uint32_t root = 0;
            if (makeNode(&root, MidKeyBuffer, MidDataBuffer,
                         DeleteOk && MidDataBuffer[DataLength] == 1))
                return 1;
            char* top = getDirtyPtr(root);
            if (!top) return 1;
            setSon(top, 0, uid);
            setSon(top, 1, made);
            HeadUid = root;
            return 0;
        }
        std::memcpy(NewKeyBuffer, MidKeyBuffer, KeyLength);
        std::memcpy(NewDataBuffer, MidDataBuffer, dataBytes);
        rightSon = made;
        --level;
        uid = static_cast<uint32_t>(path->PathNodes.at(level));
        pos = static_cast<uint16_t>(path->NodePositions.at(level));
    }
}

unsigned KoTree::add(const void* key, const void* data, unsigned* existed) {
    unsigned ignored;
    if (!existed) existed = &ignored;
    *existed = 0;
    if (ensureBuffers()) return 1;
    if (!HeadUid) {
        uint32_t root = 0;
        if (makeNode(&root, key, data)) return 1;
        HeadUid = root;
        ++NumKeys;
        return 0;
    }
    uint32_t uid = 0;
    uint16_t pos = 0;
    unsigned found = 0;
    unsigned failed = treeSearch(key, &uid, &pos, &found, &TreeIterator, DupesOk);
    *existed = found;
    if (!failed && !(found && !DupesOk)) {
        ++NumKeys;
        char* leaf = getDirtyPtr(uid);
        if (!leaf) {
            failed = 1;
        } else if (pos + 1u < numSons(leaf) && isDeleted(leaf, pos)) {
            setKey(leaf, pos, key); // a tombstone at the insertion point is reused
            setDataInNode(leaf, pos, data);
            resetDeleted(leaf, pos);
        } else if (numSons(leaf) < Order) {
            insertInBuffer(leaf, pos, key, data, 0, 0);
        } else {
            failed = insertWithSplit(uid, pos, key, data);
        }
        if (failed) --NumKeys;
    }
    TreeIterator.PathNodes.reset();
    TreeIterator.NodePositions.reset();
    TreeIterator.LastFound = 0;
    return failed;
}

unsigned KoTree::add(uint32_t key, const void* data, unsigned* existed) {
    return add(static_cast<const void*>(&key), data, existed);
}

unsigned KoTree::add(uint32_t key, uint32_t data, unsigned* existed) {
    return add(static_cast<const void*>(&key), static_cast<const void*>(&data), existed);
}

void KoTree::reset() {
    HeadUid = 0;
    NumKeys = 0;
    NumNodes = 0;
    MaxDepth = 0;
    LastDepth = 0;
    TreeIterator.PathNodes.reset();
    TreeIterator.NodePositions.reset();
    TreeIterator.LastFound = 0;
    Cache.tmpTruncate(0);
    Cache.getContiguousSpace(1);
}
