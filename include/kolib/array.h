// KoArray: a growable array of object pointers. Elements are packed in slots 0 .. count - 1;
// the array grows by a fixed increment (16 slots by default), not by doubling. It owns its
// slot array unless one was adopted with setInitialArray, and owns its elements only when
// told to (setDeleteContentsOnDestruct). Indexes are not checked against the count.
// Results: 0 success, 1 failure (out of memory; the array is then unchanged).
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KO_API KoArray : public KoObject {
public:
    KoArray();
    ~KoArray() override;
    KoArray(const KoArray&) = delete;
    KoArray& operator=(const KoArray&) = delete;

    // Allocates n cleared, owned slots; the count is not changed. An earlier owned slot array
    // is released (its elements are dropped, not deleted); an adopted one is left alone.
    unsigned setInitialSize(unsigned short n);
    // Adopts the caller's array of n slots without owning it; it is copied at the first growth.
    void setInitialArray(unsigned short n, KoObject** slots);
    // Slots added when full; 0 doubles the size instead.
    void setIncrement(unsigned short increment) { Increment = increment; }
    void setNextIndex(unsigned long count) { NextIndex = static_cast<uint32_t>(count); }
    // Count to 0; the elements are neither deleted nor cleared.
    void reset() { NextIndex = 0; }
    unsigned long getCount() const { return NextIndex; }
    unsigned long getSizeOfArray() const { return SizeOfArray; }

    // Appends, growing by the increment when full.
    unsigned add(const KoObject* object);
    // Inserts at index, moving the elements from there up by one slot.
    unsigned addAtIndex(const KoObject* object, unsigned long index);

    KoObject* at(unsigned long index) const { return ArrayOfPtrs[index]; }
    // The slot itself.
    KoObject*& operator[](int index) { return ArrayOfPtrs[index]; }
    KoObject*& operator[](unsigned index) { return ArrayOfPtrs[index]; }
    KoObject*& operator[](long index) { return ArrayOfPtrs[index]; }
    KoObject*& operator[](unsigned long index) { return ArrayOfPtrs[index]; }
    KoObject*& operator[](unsigned short index) { return ArrayOfPtrs[index]; }

    // Unlinks the element at index and closes the gap.
    void removeAtIndex(unsigned long index);
    // Deletes the element at index (when not null), then unlinks it.
    void deleteAtIndex(unsigned long index);
    // Deletes every non-null element (all SizeOfArray slots with UseSizeOnDeleteContents),
    // clears the slots and sets the count to 0.
    void deleteContents();
    // True when this very pointer is an element.
    int doesExist(const KoObject* object) const;

    // Stores at the count without growing: the caller has made room.
    void push(const KoObject* object) { ArrayOfPtrs[NextIndex++] = const_cast<KoObject*>(object); }
    // The last element's slot.
    KoObject** top() const { return &ArrayOfPtrs[NextIndex - 1]; }
    // Drops the last element and returns its slot.
    KoObject** pop() { return &ArrayOfPtrs[--NextIndex]; }

    // Grows by `by` slots (doubles for 0). With copy the elements are kept; without it the
    // new slot array is all cleared and the elements are dropped (not deleted). On failure
    // the array is unchanged.
    unsigned increaseSize(unsigned long by, unsigned copy = 1);
    // Grows to newSize slots; the current size doubles the array; a smaller size fails (1).
    unsigned resize(unsigned long newSize, unsigned copy);
    // Sets size and count to n: 0 releases an owned slot array; otherwise an owned array is
    // reallocated to n slots (1 on failure, unchanged) and an adopted one only records n.
    unsigned shrink(unsigned long n);

    void setDeleteContentsOnDestruct() { DeleteContentsOnDestruct = 1; }
    void resetDeleteContentsOnDestruct() { DeleteContentsOnDestruct = 0; }
    void setUseSizeOnDeleteContents() { UseSizeOnDeleteContents = 1; }

    KoObject** ArrayOfPtrs;
    uint32_t SizeOfArray;
    uint32_t NextIndex;
    uint16_t Increment;
    uint32_t DeleteContentsOnDestruct : 1;
    uint32_t UseSizeOnDeleteContents : 1;
    uint32_t ArrayOfPtrsAllocated : 1;
};
