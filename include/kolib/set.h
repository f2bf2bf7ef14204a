// KoSet: an open-addressing hash table of pointers. Start slot = (hash * 0x9E3779B9, 32 bits)
// mod NumOfSlots; probing is linear and downward, wrapping from slot 0 to the top. There are
// no tombstones and no single-element removal. Sizes and counts are 16-bit, so a table has at
// most 65535 slots. The table must be initialised before the first add. The set does not own
// its elements.
#pragma once

#include <cstdint>
#include "kolib/object.h"
#include "kolib/typed_arrays.h"

class KO_API KoSet : public KoObject {
public:
    KoSet();
    ~KoSet() override;
    KoSet(const KoSet&) = delete;
    KoSet& operator=(const KoSet&) = delete;

    // Hash and equality of elements; a plain set hashes and compares the pointers themselves.
    virtual uint32_t doHash(void* element);
    virtual int areEqual(void* a, void* b);

    // Replaces the table by setCapacity(capacity) cleared slots, dropping (not deleting) any
    // elements. 1 on failure, the table unchanged.
    unsigned initialize(unsigned short capacity);
    // Releases the slots; counts to 0, fill limit 75 %, growth 25 %.
    void reset();
    void setPercentFull(unsigned short percent) { PercentFull = percent; }
    void setPercentIncrease(unsigned short percent) { PercentIncrease = percent; }
    // Stores the element in the slot findIndexOf gives (replacing an equal element there, the
    // count still going up), then grows when the count passes the capacity. 1 when growth
    // fails or the table has no free slot; the table is then as it was.
    unsigned add(void* element);
    unsigned long getCount() const { return NumOfObjects; }
    // NumOfSlots * PercentFull / 100.
    unsigned long getCapacity() const;
    // The first slot from the element's start slot that is empty or holds an equal element;
    // NumOfSlots when there is none (a full or uninitialised table).
    unsigned long findIndexOf(void* element);
    unsigned long startIndex(unsigned long hash) const;
    // Rehashes every element into setCapacity(capacity) slots. 1 on failure, unchanged.
    unsigned resize(unsigned long capacity);
    // Sets NumOfSlots = capacity * 100 / PercentFull + 1 (16-bit) and returns it.
    unsigned long setCapacity(unsigned long capacity);

    KoArrayPVoid Contents;
    uint16_t NumOfSlots;
    uint16_t NumOfObjects;
    uint16_t PercentFull;
    uint16_t PercentIncrease;
    uint16_t MaxNumOfObjects;

protected:
    // add, handing out the equal element that was replaced (null when none).
    unsigned addElement(void* element, void** replaced);
    // The element in a slot.
    void* slotAt(unsigned long slot) const { return Contents.ArrayOfPtrs[slot]; }
    // A cleared slot array of `slots` entries (null when memory runs out) and its installation
    // in place of the current one, which is released.
    static KoObject** allocSlots(unsigned long slots);
    void installSlots(KoObject** slots, unsigned long count);
};
