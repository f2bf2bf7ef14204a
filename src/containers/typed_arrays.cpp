// The value and pointer arrays: 32-bit values and untyped pointers kept in KoArray's pointer
// slots. The pointer array hands its pointers back to the C heap through ramFree.
#include "kolib/typed_arrays.h"

// Out of line so that the classes' tables are emitted here, once.
KoArrayU32::~KoArrayU32() {}
KoArrayS32::~KoArrayS32() {}

int KoArrayU32::doesExist(unsigned long value) const {
    return KoArray::doesExist(toSlot(value));
}

int KoArrayS32::doesExist(long value) const {
    return KoArray::doesExist(toSlot(value));
}

KoArrayPVoid::~KoArrayPVoid() {
    if (DeleteContentsOnDestruct) {
        deleteContents();
        DeleteContentsOnDestruct = 0; // the base must not delete them as objects
    }
}

void KoArrayPVoid::deleteContents() {
    uint32_t n = UseSizeOnDeleteContents ? SizeOfArray : NextIndex;
    if (ArrayOfPtrs) {
        for (uint32_t i = 0; i < n; ++i) {
            ramFree(ArrayOfPtrs[i]);
            ArrayOfPtrs[i] = nullptr;
        }
    }
    NextIndex = 0;
}

void KoArrayPVoid::deleteAtIndex(unsigned long index) {
    if (index >= NextIndex) return;
    ramFree(ArrayOfPtrs[index]);
    removeAtIndex(index);
}
