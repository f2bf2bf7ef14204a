// Sorted arrays. KoSortedArray keeps object pointers ordered by the objects' virtual compare,
// found by binary search; equal keys stay in the order they were added. Sorting can be
// suspended (stopSort) or postponed until resort (sortOnRequest): add then appends.
// KoSortedArrayU32 keeps unsigned 32-bit values in ascending order.
#pragma once

#include <cstdint>
#include "kolib/array.h"
#include "kolib/typed_arrays.h"

class KO_API KoSortedArray : public KoArray {
public:
    KoSortedArray() : StopSort(0), SortOnRequest(0) {}
    ~KoSortedArray() override;

    // Inserts behind every element equal to the object (or appends while sorting is off).
    unsigned add(const KoObject* object);
    // Binary search by object->compare(element). Returns 1 when found, index being any one of
    // the equal elements; otherwise 0 with index the insertion point (0 .. count).
    int findIndexOf(const KoObject* object, unsigned long& index) const;
    int findIndexOf(const KoObject* object, unsigned short& index) const;
    // Linear search from 0: 1 and the first equal element's index, else 0 and the count.
    int seqFindIndexOf(const KoObject* object, unsigned long& index) const;
    int seqFindIndexOf(const KoObject* object, unsigned short& index) const;
    // The last position from `from` on whose element still compares equal to the object.
    unsigned long findIndexOfLastKey(const KoObject* object, unsigned long from) const;

    void stopSort() { StopSort = 1; }
    void sortOnRequest() { SortOnRequest = 1; }
    // Clears StopSort and orders the elements stably by compare. 1 when memory runs out
    // (the order is then unchanged).
    unsigned resort();
    // Drop each element equal to its predecessor (deleteDuplicates deletes it, removeDuplicates
    // only unlinks it) and return the count left. Only a sorted array loses all its duplicates.
    unsigned long deleteDuplicates();
    unsigned long removeDuplicates();

    uint32_t StopSort : 1;
    uint32_t SortOnRequest : 1;
};

class KO_API KoSortedArrayU32 : public KoArrayU32 {
public:
    ~KoSortedArrayU32() override;
    using KoObject::compare;
    // Inserts behind every equal value; always sorted.
    unsigned add(unsigned long value);
    int findIndexOf(unsigned long value, unsigned long& index) const;
    int findIndexOf(unsigned long value, unsigned short& index) const;
    unsigned long findIndexOfLastKey(unsigned long value, unsigned long from) const;
    // -1, 0 or 1 by unsigned 32-bit order.
    int16_t compare(unsigned long a, unsigned long b) const;
};
