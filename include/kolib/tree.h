// KoTree: an ordered map from fixed-length keys to fixed-length data, kept as a B-tree whose
// nodes live in a private KoTmpFile, so a tree can outgrow memory and spill to a temporary
// file. Keys compare by a caller's function or bytewise; duplicates and deletion are options
// fixed at construction. Deletion leaves tombstones that later insertions reuse (an entry
// removed from a leaf with other entries goes at once); nodes never merge.
//
// Node geometry: a triad (son, key, data, deleted flag) is key + data + 4 bytes (+1 with
// deletion), rounded up to 4; a node holds Order - 1 triads, Order = (2,036 / triad) + 1 but at
// most 49, so a node fills at most one 2,048-byte block of the store. Keys and data too long
// for three sons a node (more than about 1,000 bytes together) make add fail ("Invalid
// argument").
//
// A KoTreeIterator holds a root-to-leaf path and walks the keys in order both ways; an
// iterator whose tree changed (other than through the iterator itself) must be positioned
// again with a search or getFirst/getLast. Operations take an optional iterator; without one
// the tree's own is used. Results: 0 success, 1 failure (the node store failed, memory ran
// out) with the reason on the thread's error list; a key not found is not a failure. The tree
// takes no lock: one thread at a time.
#pragma once

#include <cstdint>
#include "kolib/tmp_file.h"
#include "kolib/typed_arrays.h"

class KoTree;

typedef int16_t (*KoTreeCompare)(const void* a, const void* b, uint16_t keyLength);
typedef int16_t (*KoTreeAltCompare)(void* context, const void* a, const void* b);

// Unsigned 32-bit keys: 0 if equal, -1 if the first is smaller, else 1.
KO_API int16_t treeU32Compare(const void* a, const void* b, uint16_t keyLength);

// The header of a node in the store; the triads follow at byte 8.
struct KoTreeNode {
    uint16_t NumSons;     // keys + 1, 0 for a node made without a key
    uint16_t NeedDecKeys; // for the position tree
    uint32_t NodeSanityUid;
};

class KO_API KoTreeIterator : public KoObject {
public:
    KoTreeIterator() : Tree(nullptr), CurrentIncrement(0), LastFound(0), Sized(false) {}
    KoTreeIterator(const KoTreeIterator&) = delete;
    KoTreeIterator& operator=(const KoTreeIterator&) = delete;

    // Binds the iterator to a tree (the first time, sizes the paths for 32 levels).
    unsigned initialize(KoTree* tree);
    unsigned getFirst(void* key, void* data, unsigned* found);
    unsigned getNext(void* key, void* data, unsigned* found);
    unsigned getPrevious(void* key, void* data, unsigned* found);
    unsigned getLast(void* key, void* data, unsigned* found);
    // Positions the iterator on the key (the first of equal keys) and copies its data.
    unsigned getData(const void* key, void* data, unsigned* found);
    unsigned changeCurrentData(const void* data);
    unsigned deleteCurrent();

    KoTree* Tree;
    KoArrayU32 PathNodes;     // node uids from the root down
    KoArrayU32 NodePositions; // the position taken in each of them
    uint32_t CurrentIncrement;
    uint32_t LastFound : 1; // the top of the path is an entry, not an insertion point
    bool Sized;
};

class KO_API KoTree : public KoObject {
public:
    // `lockOption` is the node store's critical-section option.
    KoTree(uint16_t keyLength, uint16_t dataLength, KoTreeCompare compare, unsigned deleteOk,
           unsigned dupesOk, unsigned lockOption = 0);
    ~KoTree() override;
    KoTree(const KoTree&) = delete;
    KoTree& operator=(const KoTree&) = delete;

    // In-order walk; key and data outputs may be null.
    virtual unsigned getFirst(void* key, void* data, unsigned* found,
                              KoTreeIterator* iterator = nullptr);
    virtual unsigned getNext(void* key, void* data, unsigned* found,
                             KoTreeIterator* iterator = nullptr);
    virtual unsigned getPrevious(void* key, void* data, unsigned* found,
                                 KoTreeIterator* iterator = nullptr);
    virtual unsigned getLast(void* key, void* data, unsigned* found,
                             KoTreeIterator* iterator = nullptr);
    // Searches from the root: found stops at the first live equal key unless `descend`, which
    // goes on to the leaf (the insertion point left of the equal keys). uid and pos name the
    // node and position where the search ended.
    virtual unsigned treeSearch(const void* key, uint32_t* uid, uint16_t* pos, unsigned* found,
                                KoTreeIterator* iterator, unsigned descend);
    virtual unsigned split(uint32_t uid, uint16_t pos, uint32_t rightSon, uint32_t newUid);
    virtual unsigned doDecKeys(uint32_t uid, uint32_t amount);

    // Used while no compare function was given.
    void setAlternateCompareFunction(KoTreeAltCompare function, void* context);
    // Inserts; existed (optional) tells whether the key was found. Without duplicates an
    // existing key is left as it is. With duplicates the search goes to a leaf, so existed is
    // 0, and the new entry goes before the equal keys.
    unsigned add(const void* key, const void* data, unsigned* existed = nullptr);
    unsigned add(uint32_t key, const void* data, unsigned* existed = nullptr);
    unsigned add(uint32_t key, uint32_t data, unsigned* existed = nullptr);
    // Deletes the key's entry (with duplicates: the first of that key whose data matches).
    unsigned deleteKeyAndData(const void* key, const void* data, unsigned* existed = nullptr);
    unsigned deleteKey(const void* key, unsigned* existed = nullptr);
    unsigned deleteKey(uint32_t key, unsigned* existed = nullptr);
    unsigned deleteCurrent(KoTreeIterator* iterator = nullptr);
    // The key's data (with duplicates: of the first entry of that key).
    unsigned getData(const void* key, void* data, unsigned* found,
                     KoTreeIterator* iterator = nullptr);
    unsigned getData(uint32_t key, uint32_t* data, unsigned* found);
    unsigned doesExist(const void* key, unsigned* found);
    unsigned changeData(const void* key, const void* data);
    unsigned changeCurrentData(const void* data, KoTreeIterator* iterator = nullptr);
    // Marks the old entry deleted without counting it out and adds the new key with its
    // data: getCount rises by one, and with an existing new key (no duplicates) the entry is
    // lost. Intended; callers rely on it.
    unsigned changeKey(const void* oldKey, const void* newKey);
    uint32_t getCount() const { return NumKeys; }
    int isDuplicatesOk() const { return DupesOk; }
    // Empties the tree.
    void reset();

    uint16_t KeyLength;
    uint16_t DataLength;
    KoTreeCompare CompareFunction;
    KoTreeAltCompare AltCompareFunction;
    void* AltInfo;
    uint32_t DeleteOk : 1;
    uint32_t DupesOk : 1;
    uint32_t PTree : 1;
    uint16_t Order;
    uint16_t TriadLength;
    uint16_t NodeLength;
    uint16_t DeleteLength;
    uint32_t HeadUid;
    KoTmpFile Cache;
    KoTreeIterator TreeIterator;
    char* NewKeyBuffer;
    char* NewDataBuffer;
    char* MidKeyBuffer;
    char* MidDataBuffer;
    uint32_t NumKeys;
    uint16_t NumNodes;
    uint16_t MaxDepth;
    uint16_t LastDepth;

protected:
    friend class KoTreeIterator;
    unsigned makeNode(uint32_t* uid, const void* key, const void* data, int deletedFlag = 0);
    int nodeSearch(const char* node, const void* key, uint16_t* pos);
    unsigned insertInNode(uint32_t uid, uint16_t pos, const void* key, const void* data,
                          uint32_t rightSon, int flagFromData);
    unsigned insertWithSplit(uint32_t uid, uint16_t pos, const void* key, const void* data);
    void insertInBuffer(char* node, uint16_t pos, const void* key, const void* data,
                        uint32_t rightSon, int flagFromData);
    void copyTriads(char* destination, const char* source, uint16_t from);
    int16_t keyCompare(const void* a, const void* b) const;
    char* getPtr(uint32_t uid);
    char* getDirtyPtr(uint32_t uid);
    char* triad(char* node, unsigned i) const { return node + 8 + i * TriadLength; }
    const char* triad(const char* node, unsigned i) const { return node + 8 + i * TriadLength; }
    uint32_t getSon(const char* node, unsigned i) const;
    void setSon(char* node, unsigned i, uint32_t son);
    const char* getKey(const char* node, unsigned i) const { return triad(node, i) + 4; }
    const char* getDataInNode(const char* node, unsigned i) const {
        return triad(node, i) + 4 + KeyLength;
    }
    void setKey(char* node, unsigned i, const void* key);
    void setDataInNode(char* node, unsigned i, const void* data);
    int isDeleted(const char* node, unsigned i) const;
    void setDeleted(char* node, unsigned i);
    void resetDeleted(char* node, unsigned i);
    static uint16_t numSons(const char* node);
    static void setNumSons(char* node, uint16_t sons);
    unsigned getFirstOrLast(void* key, void* data, unsigned* found, KoTreeIterator* iterator,
                            bool last);
    int isPTree() const { return PTree; }
    unsigned ensureBuffers();
    unsigned pushPath(KoTreeIterator* iterator, uint32_t uid, uint32_t pos);
    unsigned stepNext(KoTreeIterator* iterator, unsigned* found);
    unsigned stepPrevious(KoTreeIterator* iterator, unsigned* found);
    unsigned deliver(KoTreeIterator* iterator, void* key, void* data, unsigned* found);
    unsigned walkToFirstEqual(const void* key, KoTreeIterator* iterator, unsigned* found);
    char* WorkKey;  // a key copied aside by the walks and changeKey
    char* WorkData; // data copied aside by changeKey
};
