// KoSortedArray and KoSortedArrayU32. Every comparison is made by the object being looked for
// (or added) against an element: object->compare(element). Equal keys are inserted behind the
// last equal element, so they keep the order in which they were added.
#include <cstdint>
#include "kolib/memory.h"
#include "kolib/sorted_array.h"

KoSortedArray::~KoSortedArray() {}
KoSortedArrayU32::~KoSortedArrayU32() {}

unsigned KoSortedArray::add(const KoObject* object) {
    if (NextIndex == 0 || StopSort || SortOnRequest) return KoArray::add(object);
    unsigned long index;
    if (findIndexOf(object, index)) index = findIndexOfLastKey(object, index) + 1;
    return addAtIndex(object, index);
}

int KoSortedArray::findIndexOf(const KoObject* object, unsigned long& index) const {
    index = 0;
    if (NextIndex == 0 || object->compare(ArrayOfPtrs[0]) < 0) return 0;
    int64_t low = 0, high = static_cast<int64_t>(NextIndex) - 1, mid = 0;
    int16_t result = 0;
    while (low <= high) {
        mid = (low + high) / 2;
        result = object->compare(ArrayOfPtrs[mid]);
        if (result == 0) {
            index = static_cast<unsigned long>(mid);
            return 1;
        }
        if (result < 0)
            high = mid - 1;
        else
            low = mid + 1;
    }
    index = static_cast<unsigned long>(result < 0 ? mid : mid + 1);
    return 0;
}

int KoSortedArray::findIndexOf(const KoObject* object, unsigned short& index) const {
    unsigned long wide;
    int found = findIndexOf(object, wide);
    index = static_cast<unsigned short>(wide);
    return found;
}

int KoSortedArray::seqFindIndexOf(const KoObject* object, unsigned long& index) const {
    for (uint32_t i = 0; i < NextIndex; ++i) {
        if (object->compare(ArrayOfPtrs[i]) == 0) {
            index = i;
            return 1;
        }
    }
    index = NextIndex;
    return 0;
}

int KoSortedArray::seqFindIndexOf(const KoObject* object, unsigned short& index) const {
    unsigned long wide;
    int found = seqFindIndexOf(object, wide);
    index = static_cast<unsigned short>(wide);
    return found;
}

unsigned long KoSortedArray::findIndexOfLastKey(const KoObject* object, unsigned long from) const {
    while (from + 1 < NextIndex && object->compare(ArrayOfPtrs[from + 1]) == 0) ++from;
    return from;
}

// Orders the slots by their objects' compare: a stable bottom-up merge sort through a
// scratch array of the same size.
unsigned KoSortedArray::resort() {
    StopSort = 0;
    uint32_t n = NextIndex;
    if (n < 2) return 0;
    KoObject** scratch = static_cast<KoObject**>(ramMalloc(n * sizeof(KoObject*)));
    if (!scratch) return 1;
    KoObject** from = ArrayOfPtrs;
    KoObject** to = scratch;
    for (uint64_t width = 1; width < n; width *= 2) {
        for (uint64_t left = 0; left < n; left += 2 * width) {
            uint64_t mid = left + width < n ? left + width : n;
            uint64_t end = left + 2 * width < n ? left + 2 * width : n;
            uint64_t i = left, j = mid, k = left;
            while (i < mid && j < end)
                to[k++] = from[i]->compare(from[j]) <= 0 ? from[i++] : from[j++];
            while (i < mid) to[k++] = from[i++];
            while (j < end) to[k++] = from[j++];
        }
        KoObject** swap = from;
        from = to;
        to = swap;
    }
    if (from != ArrayOfPtrs)
        for (uint32_t i = 0; i < n; ++i) ArrayOfPtrs[i] = from[i];
    ramFree(scratch);
    return 0;
}

namespace {
// Drops each element equal to the last one kept; `destroy` deletes what is dropped.
unsigned long dropDuplicates(KoArray& array, bool destroy) {
    if (array.NextIndex < 2) return array.NextIndex;
    KoObject** slots = array.ArrayOfPtrs;
    uint32_t kept = 0;
    for (uint32_t i = 1; i < array.NextIndex; ++i) {
        if (slots[kept]->compare(slots[i]) == 0) {
            if (destroy) delete slots[i];
        } else {
            slots[++kept] = slots[i];
        }
    }
    for (uint32_t i = kept + 1; i < array.NextIndex; ++i) slots[i] = nullptr;
    array.NextIndex = kept + 1;
    return array.NextIndex;
}
} // namespace

unsigned long KoSortedArray::deleteDuplicates() {
    return dropDuplicates(*this, true);
}
unsigned long KoSortedArray::removeDuplicates() {
    return dropDuplicates(*this, false);
}

int16_t KoSortedArrayU32::compare(unsigned long a, unsigned long b) const {
    uint32_t x = static_cast<uint32_t>(a), y = static_cast<uint32_t>(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

unsigned KoSortedArrayU32::add(unsigned long value) {
    unsigned long index;
    if (findIndexOf(value, index)) index = findIndexOfLastKey(value, index) + 1;
    return addAtIndex(value, index);
}

int KoSortedArrayU32::findIndexOf(unsigned long value, unsigned long& index) const {
    index = 0;
    if (NextIndex == 0 || compare(value, at(0)) < 0) return 0;
    int64_t low = 0, high = static_cast<int64_t>(NextIndex) - 1, mid = 0;
    int16_t result = 0;
    while (low <= high) {
        mid = (low + high) / 2;
        result = compare(value, at(static_cast<unsigned long>(mid)));
        if (result == 0) {
            index = static_cast<unsigned long>(mid);
            return 1;
        }
        if (result < 0)
            high = mid - 1;
        else
            low = mid + 1;
    }
    index = static_cast<unsigned long>(result < 0 ? mid : mid + 1);
    return 0;
}

int KoSortedArrayU32::findIndexOf(unsigned long value, unsigned short& index) const {
    unsigned long wide;
    int found = findIndexOf(value, wide);
    index = static_cast<unsigned short>(wide);
    return found;
}

unsigned long KoSortedArrayU32::findIndexOfLastKey(unsigned long value, unsigned long from) const {
    while (from + 1 < NextIndex && compare(value, at(from + 1)) == 0) ++from;
    return from;
}
