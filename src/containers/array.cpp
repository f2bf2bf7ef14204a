// KoArray: a packed array of object pointers in slots 0 .. NextIndex - 1 of a slot array of
// SizeOfArray entries. The slot array is released only when ArrayOfPtrsAllocated says it is
// ours; an adopted one becomes ours (a copy) at the first growth. Growth is linear by
// Increment; every failing allocation leaves the array exactly as it was.
#include <cstdint>
#include <cstring>
#include "kolib/array.h"

namespace {
const unsigned long MaxSlots = UINT32_MAX / sizeof(KoObject*);
}

KoArray::KoArray()
    : ArrayOfPtrs(nullptr), SizeOfArray(0), NextIndex(0), Increment(16),
      DeleteContentsOnDestruct(0), UseSizeOnDeleteContents(0), ArrayOfPtrsAllocated(0) {}

KoArray::~KoArray() {
    if (DeleteContentsOnDestruct) deleteContents();
    if (ArrayOfPtrsAllocated) ramFree(ArrayOfPtrs);
}

unsigned KoArray::setInitialSize(unsigned short n) {
    KoObject** slots = static_cast<KoObject**>(ramCalloc(n * sizeof(KoObject*)));
    if (!slots) return 1;
    if (ArrayOfPtrsAllocated) ramFree(ArrayOfPtrs);
    ArrayOfPtrs = slots;
    SizeOfArray = n;
    ArrayOfPtrsAllocated = 1;
    return 0;
}

void KoArray::setInitialArray(unsigned short n, KoObject** slots) {
    if (ArrayOfPtrsAllocated) ramFree(ArrayOfPtrs);
    ArrayOfPtrs = slots;
    SizeOfArray = n;
    ArrayOfPtrsAllocated = 0;
}

unsigned KoArray::add(const KoObject* object) {
    return addAtIndex(object, NextIndex);
}

unsigned KoArray::addAtIndex(const KoObject* object, unsigned long index) {
    // Grows linearly, Increment slots at a time (16, 32, 48, ...), not by doubling (intended).
    if (NextIndex >= SizeOfArray && increaseSize(Increment, 1)) return 1;
    for (uint32_t i = NextIndex; i > index; --i) ArrayOfPtrs[i] = ArrayOfPtrs[i - 1];
    ArrayOfPtrs[index] = const_cast<KoObject*>(object);
    ++NextIndex;
    return 0;
}

void KoArray::removeAtIndex(unsigned long index) {
    if (index >= NextIndex) return;
    for (uint32_t i = static_cast<uint32_t>(index); i + 1 < NextIndex; ++i)
        ArrayOfPtrs[i] = ArrayOfPtrs[i + 1];
    ArrayOfPtrs[--NextIndex] = nullptr;
}

void KoArray::deleteAtIndex(unsigned long index) {
    if (index >= NextIndex) return;
    delete ArrayOfPtrs[index];
    removeAtIndex(index);
}

void KoArray::deleteContents() {
    uint32_t n = UseSizeOnDeleteContents ? SizeOfArray : NextIndex;
    if (ArrayOfPtrs) {
        for (uint32_t i = 0; i < n; ++i) {
            delete ArrayOfPtrs[i];
            ArrayOfPtrs[i] = nullptr;
        }
    }
    NextIndex = 0;
}

int KoArray::doesExist(const KoObject* object) const {
    for (uint32_t i = 0; i < NextIndex; ++i)
        if (ArrayOfPtrs[i] == object) return 1;
    return 0;
}

unsigned KoArray::increaseSize(unsigned long by, unsigned copy) {
    // Increment 0 doubles the array (intended); an array of no slots doubles to one.
    unsigned long newSize = by ? SizeOfArray + by : (SizeOfArray ? 2ul * SizeOfArray : 1);
    if (newSize > MaxSlots || newSize <= SizeOfArray) return 1;
    if (copy) {
        if (ArrayOfPtrsAllocated) {
            void* block = ArrayOfPtrs;
            if (ramResize(&block, newSize * sizeof(KoObject*))) return 1;
            ArrayOfPtrs = static_cast<KoObject**>(block);
        } else {
            KoObject** slots = static_cast<KoObject**>(ramMalloc(newSize * sizeof(KoObject*)));
            if (!slots) return 1;
            if (ArrayOfPtrs) std::memcpy(slots, ArrayOfPtrs, SizeOfArray * sizeof(KoObject*));
            ArrayOfPtrs = slots; // an adopted array is left to its owner
            ArrayOfPtrsAllocated = 1;
        }
        std::memset(ArrayOfPtrs + SizeOfArray, 0, (newSize - SizeOfArray) * sizeof(KoObject*));
    } else {
        KoObject** slots = static_cast<KoObject**>(ramCalloc(newSize * sizeof(KoObject*)));
        if (!slots) return 1;
        if (ArrayOfPtrsAllocated) ramFree(ArrayOfPtrs);
        ArrayOfPtrs = slots;
        ArrayOfPtrsAllocated = 1;
    }
    SizeOfArray = static_cast<uint32_t>(newSize);
    return 0;
}

unsigned KoArray::resize(unsigned long newSize, unsigned copy) {
    if (newSize < SizeOfArray) return 1; // shrinking is shrink's job
    // Asking for the current size doubles the array (intended).
    return increaseSize(newSize - SizeOfArray, copy);
}

unsigned KoArray::shrink(unsigned long n) {
    if (n == 0) {
        if (ArrayOfPtrsAllocated) ramFree(ArrayOfPtrs);
        ArrayOfPtrs = nullptr;
        ArrayOfPtrsAllocated = 0;
    } else if (ArrayOfPtrsAllocated) {
        if (n > MaxSlots) return 1;
        void* block = ArrayOfPtrs;
        if (ramResize(&block, n * sizeof(KoObject*))) return 1;
        ArrayOfPtrs = static_cast<KoObject**>(block);
        if (n > SizeOfArray)
            std::memset(ArrayOfPtrs + SizeOfArray, 0, (n - SizeOfArray) * sizeof(KoObject*));
    }
    SizeOfArray = NextIndex = static_cast<uint32_t>(n);
    return 0;
}
