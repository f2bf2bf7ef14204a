// KoSeqDictionary: associations in insertion order, searched linearly from the first; the
// first match wins. It owns its associations (not their keys and data, see deleteKeyAndData).
// Look-ups of an absent key give the count (index) or 0 (data).
#pragma once

#include <cstdint>
#include "kolib/array.h"
#include "kolib/association.h"

class KoSubString;

class KO_API KoSeqDictionary : public KoArray {
public:
    KoSeqDictionary() : CaseInsensitive(0) {}
    // Deletes every association, not their keys and data.
    ~KoSeqDictionary() override;

    void setCaseInsensitive() { CaseInsensitive = 1; }
    // Appends a new association; 1 when memory runs out (nothing is added).
    unsigned addAssoc(unsigned long key, unsigned long data);
    unsigned addAssoc(unsigned long key, KoObject* data);
    unsigned addAssoc(KoSubString* key, KoObject* data);
    // Replace the data of the first association with the key; nothing happens for an absent key.
    void changeData(unsigned long key, unsigned long data);
    void changeData(const KoSubString& key, KoObject* data);
    // Index of the first association with the key, or the count.
    unsigned long getIndexForKey(unsigned long key) const;
    unsigned long getIndexForKey(const KoSubString* key) const;
    unsigned long getIndexForKey(const KoSubString& key) const;
    int doesExist(unsigned long key) const;
    int doesExist(const KoSubString* key) const;
    unsigned long getIntForKey(unsigned long key) const;
    KoObject* getPtrForKey(unsigned long key) const;
    KoObject* getPtrForKey(const KoSubString* key) const;
    KoAssociation* getAssocAtIndex(unsigned long index) const {
        return static_cast<KoAssociation*>(ArrayOfPtrs[index]);
    }
    KoObject* getPtrDataAtIndex(unsigned long index) const;
    unsigned long getIntDataAtIndex(unsigned long index) const;
    KoSubString* getSubKeyAtIndex(unsigned long index) const;
    unsigned long getIntKeyAtIndex(unsigned long index) const;
    // Calls deleteKeyAndData on every association (last first), deletes it; count to 0.
    void deleteKeyAndData();
    // The same for one association, closing the gap.
    void deleteKeyAndDataAtIndex(unsigned long index);

    uint32_t CaseInsensitive;

private:
    unsigned append(KoAssociation* assoc);
};
