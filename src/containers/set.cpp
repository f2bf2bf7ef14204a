// KoSet: open addressing in the slots of Contents. An element's start slot comes from
// multiplicative hashing; probing walks down from there, wrapping at slot 0, and stops at the
// first empty slot or equal element. With no tombstones, elements are never removed singly.
// Growth rehashes into a freshly allocated table, so a failure leaves the old table intact.
#include <cstdint>
#include "kolib/set.h"

KoSet::KoSet()
    : NumOfSlots(0), NumOfObjects(0), PercentFull(75), PercentIncrease(25), MaxNumOfObjects(0) {}

KoSet::~KoSet() {}

uint32_t KoSet::doHash(void* element) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(element));
}

int KoSet::areEqual(void* a, void* b) {
    return a == b;
}

unsigned long KoSet::setCapacity(unsigned long capacity) {
    unsigned long percent = PercentFull ? PercentFull : 1;
    // Table sizes are 16-bit and a larger result wraps (intended).
    NumOfSlots = static_cast<uint16_t>(capacity * 100 / percent + 1);
    return NumOfSlots;
}

unsigned long KoSet::getCapacity() const {
    return static_cast<unsigned long>(NumOfSlots) * PercentFull / 100;
}

unsigned long KoSet::startIndex(unsigned long hash) const {
    uint32_t spread = static_cast<uint32_t>(hash) * 0x9E3779B9u;
    return NumOfSlots ? spread % static_cast<uint32_t>(NumOfSlots) : 0;
}

unsigned long KoSet::findIndexOf(void* element) {
    unsigned long slot = startIndex(doHash(element));
    for (unsigned long probes = 0; probes < NumOfSlots; ++probes) {
        void* held = slotAt(slot);
        if (!held || areEqual(element, held)) return slot;
        slot = slot ? slot - 1 : NumOfSlots - 1u;
    }
    return NumOfSlots;
}

KoObject** KoSet::allocSlots(unsigned long slots) {
    return static_cast<KoObject**>(ramCalloc(slots * sizeof(KoObject*)));
}

void KoSet::installSlots(KoObject** slots, unsigned long count) {
    if (Contents.ArrayOfPtrsAllocated) ramFree(Contents.ArrayOfPtrs);
    Contents.ArrayOfPtrs = slots;
    Contents.ArrayOfPtrsAllocated = 1;
    Contents.SizeOfArray = Contents.NextIndex = static_cast<uint32_t>(count);
    NumOfSlots = static_cast<uint16_t>(count);
}

unsigned KoSet::initialize(unsigned short capacity) {
    uint16_t oldSlots = NumOfSlots;
    unsigned long slots = setCapacity(capacity);
    NumOfSlots = oldSlots;
    KoObject** fresh = allocSlots(slots);
    if (!fresh) return 1;
    installSlots(fresh, slots);
    NumOfObjects = 0;
    return 0;
}

void KoSet::reset() {
    Contents.shrink(0);
    NumOfSlots = NumOfObjects = MaxNumOfObjects = 0;
    PercentFull = 75;
    PercentIncrease = 25;
}

unsigned KoSet::add(void* element) {
    void* replaced;
    return addElement(element, &replaced);
}

unsigned KoSet::addElement(void* element, void** replaced) {
    *replaced = nullptr;
    unsigned long slot = findIndexOf(element);
    if (slot >= NumOfSlots) return 1;
    KoObject* held = Contents.ArrayOfPtrs[slot];
    // An equal element is replaced (neither deleted nor handed back here) and the count goes
    // up all the same (intended): callers wanting unique keys test first.
    Contents.ArrayOfPtrs[slot] = static_cast<KoObject*>(element);
    ++NumOfObjects;
    if (NumOfObjects > getCapacity()) {
        unsigned long capacity = getCapacity();
        if (resize(capacity + capacity * PercentIncrease / 100 + 1)) {
            Contents.ArrayOfPtrs[slot] = held;
            --NumOfObjects;
            return 1;
        }
    }
    if (NumOfObjects > MaxNumOfObjects) MaxNumOfObjects = NumOfObjects;
    *replaced = held;
    return 0;
}

unsigned KoSet::resize(unsigned long capacity) {
    uint32_t held = 0;
    for (uint32_t i = 0; i < NumOfSlots; ++i)
        if (slotAt(i)) ++held;

    // Re-adding the elements grows the table on the way when the capacity is too small;
    // work out where that ends. The slot count must stay above the element count.
    uint16_t oldSlots = NumOfSlots;
    unsigned long slots = setCapacity(capacity);
    while (held > slots * PercentFull / 100) {
        unsigned long reached = slots * PercentFull / 100;
        unsigned long next = setCapacity(reached + reached * PercentIncrease / 100 + 1);
        if (next <= slots) break;
        slots = next;
    }
    NumOfSlots = oldSlots;
    if (slots <= held) return 1;

    KoObject** fresh = allocSlots(slots);
    if (!fresh) return 1;
    KoObject** old = Contents.ArrayOfPtrs;
    Contents.ArrayOfPtrs = fresh; // the old block is released once the elements are moved
    uint32_t oldCount = oldSlots;
    bool owned = Contents.ArrayOfPtrsAllocated;
    Contents.ArrayOfPtrsAllocated = 1;
    Contents.SizeOfArray = Contents.NextIndex = static_cast<uint32_t>(slots);
    NumOfSlots = static_cast<uint16_t>(slots);
    NumOfObjects = 0;
    for (uint32_t i = 0; i < oldCount; ++i) {
        if (!old[i]) continue;
        fresh[findIndexOf(old[i])] = old[i]; // cannot be full: slots > held
        ++NumOfObjects;
    }
    if (owned) ramFree(old);
    return 0;
}
