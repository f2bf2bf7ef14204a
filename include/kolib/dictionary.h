// KoDictionary: a KoSet of associations looked up by integer or text key. It owns its
// associations (not their keys and data, see deleteKeyAndData). Text keys hash on their first
// five characters, so keys sharing that prefix are told apart by probing.
#pragma once

#include <cstdint>
#include "kolib/association.h"
#include "kolib/set.h"

class KoSubString;

class KO_API KoDictionary : public KoSet {
public:
    KoDictionary() : CaseInsensitive(0), CurrentIndex(0) {}
    // Deletes every association, not their keys and data.
    ~KoDictionary() override;

    uint32_t doHash(void* element) override;
    int areEqual(void* a, void* b) override;

    // As KoSet::initialize; associations already held are deleted on success.
    unsigned initialize(unsigned short capacity);
    // Deletes the associations (not their keys and data) and resets the table.
    void reset();
    // Text keys compare ignoring case from now on.
    void setCaseInsensitive() { CaseInsensitive = 1; }
    // Adds a new association; a key already present is not checked (test doesExist first).
    // 1 when memory runs out (nothing is added).
    unsigned addAssoc(unsigned long key, unsigned long data);
    unsigned addAssoc(unsigned long key, KoObject* data);
    unsigned addAssoc(KoSubString* key, KoObject* data);
    int doesExist(unsigned long key);
    int doesExist(const KoSubString* key);
    // The data of the key's association, 0 when absent.
    unsigned long getIntForKey(unsigned long key);
    KoObject* getPtrForKey(unsigned long key);
    KoObject* getPtrForKey(const KoSubString* key);
    // The slot where the key's association is, or where its probe ended (0 for an empty table).
    unsigned long getIndexForKey(unsigned long key);
    unsigned long getIndexForKey(const KoSubString* key);
    // Calls deleteKeyAndData on every association (top slot first) and deletes it.
    void deleteKeyAndData();

    uint32_t CaseInsensitive : 1;
    uint16_t CurrentIndex;

private:
    // The association with the key, or null; CurrentIndex is left on the slot probed last.
    KoAssociation* findAssoc(unsigned long key);
    KoAssociation* findAssoc(const KoSubString* key);
    unsigned addNew(KoAssociation* assoc);
    void deleteAssociations(int withKeyAndData);
};
