// Arrays of plain values kept in KoArray's pointer slots: unsigned and signed 32-bit values
// and untyped pointers. The value arrays must never have DeleteContentsOnDestruct set; the
// pointer array releases its pointers to the C heap (ramFree) instead of deleting objects.
#pragma once

#include <cstdint>
#include "kolib/array.h"

class KO_API KoArrayU32 : public KoArray {
public:
    ~KoArrayU32() override;
    // Values are kept to 32 bits.
    unsigned add(unsigned long value) { return KoArray::add(toSlot(value)); }
    unsigned addAtIndex(unsigned long value, unsigned long index) {
        return KoArray::addAtIndex(toSlot(value), index);
    }
    unsigned long at(unsigned long index) const { return fromSlot(ArrayOfPtrs[index]); }
    unsigned long operator[](int index) const { return at(index); }
    unsigned long operator[](unsigned index) const { return at(index); }
    unsigned long operator[](long index) const { return at(index); }
    unsigned long operator[](unsigned long index) const { return at(index); }
    unsigned long operator[](unsigned short index) const { return at(index); }
    // True when the value is among the elements.
    int doesExist(unsigned long value) const;
    // Drops the last value and returns it.
    unsigned long pop() { return fromSlot(*KoArray::pop()); }
    unsigned long top() const { return fromSlot(*KoArray::top()); }
    void push(unsigned long value) { KoArray::push(toSlot(value)); }
    // Adopts the caller's n pointer-sized slots.
    void setInitialArray(unsigned short n, unsigned long* slots) {
        KoArray::setInitialArray(n, reinterpret_cast<KoObject**>(slots));
    }

    static KoObject* toSlot(unsigned long value) {
        return reinterpret_cast<KoObject*>(static_cast<uintptr_t>(static_cast<uint32_t>(value)));
    }
    static unsigned long fromSlot(const KoObject* slot) {
        return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(slot));
    }
};

class KO_API KoArrayS32 : public KoArray {
public:
    ~KoArrayS32() override;
    // Values are kept to 32 bits.
    unsigned add(long value) { return KoArray::add(toSlot(value)); }
    unsigned addAtIndex(long value, unsigned long index) {
        return KoArray::addAtIndex(toSlot(value), index);
    }
    long at(unsigned long index) const { return fromSlot(ArrayOfPtrs[index]); }
    long operator[](int index) const { return at(index); }
    long operator[](unsigned index) const { return at(index); }
    long operator[](long index) const { return at(index); }
    long operator[](unsigned long index) const { return at(index); }
    long operator[](unsigned short index) const { return at(index); }
    int doesExist(long value) const;
    long pop() { return fromSlot(*KoArray::pop()); }
    long top() const { return fromSlot(*KoArray::top()); }
    void push(long value) { KoArray::push(toSlot(value)); }
    void setInitialArray(unsigned short n, long* slots) {
        KoArray::setInitialArray(n, reinterpret_cast<KoObject**>(slots));
    }

    static KoObject* toSlot(long value) {
        return reinterpret_cast<KoObject*>(
            static_cast<uintptr_t>(static_cast<intptr_t>(static_cast<int32_t>(value))));
    }
    static long fromSlot(const KoObject* slot) {
        return static_cast<int32_t>(reinterpret_cast<uintptr_t>(slot));
    }
};

class KO_API KoArrayPVoid : public KoArray {
public:
    // Releases the pointers (ramFree) when DeleteContentsOnDestruct is set.
    ~KoArrayPVoid() override;

    unsigned add(void* pointer) { return KoArray::add(static_cast<KoObject*>(pointer)); }
    unsigned addAtIndex(void* pointer, unsigned long index) {
        return KoArray::addAtIndex(static_cast<KoObject*>(pointer), index);
    }
    void* at(unsigned long index) const { return ArrayOfPtrs[index]; }
    void* operator[](int index) const { return at(index); }
    void* operator[](unsigned index) const { return at(index); }
    void* operator[](long index) const { return at(index); }
    void* operator[](unsigned long index) const { return at(index); }
    void* operator[](unsigned short index) const { return at(index); }
    int doesExist(const void* pointer) const {
        return KoArray::doesExist(static_cast<const KoObject*>(pointer));
    }
    void* pop() { return *KoArray::pop(); }
    void* top() const { return *KoArray::top(); }
    void push(void* pointer) { KoArray::push(static_cast<KoObject*>(pointer)); }
    void setInitialArray(unsigned short n, void** slots) {
        KoArray::setInitialArray(n, reinterpret_cast<KoObject**>(slots));
    }
    // Releases every non-null pointer to the C heap, clears the slots, count to 0.
    void deleteContents();
    // Releases the pointer at index (when not null), then unlinks it.
    void deleteAtIndex(unsigned long index);
};
