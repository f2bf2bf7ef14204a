// Root of the class tree. Every library class with virtual functions derives from KoObject;
// its operators take memory from the C heap, so a failed `new` yields null and the
// constructor does not run. Objects are never pooled.
#pragma once

#include <cstddef>
#include <cstdint>
#include "kolib/export.h"
#include "kolib/memory.h"

class KO_API KoObject {
public:
    KoObject() = default;
    virtual ~KoObject();
    // Ordering against another object: negative, 0 or positive. The root answers 0.
    virtual int16_t compare(const KoObject* other) const;

    static void* operator new(std::size_t size) noexcept;
    static void* operator new[](std::size_t size) noexcept;
    static void* operator new(std::size_t size, RamInitType init) noexcept;
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* block) noexcept;
    static void operator delete[](void* block) noexcept;
    static void operator delete(void* block, RamInitType) noexcept;
};

// An object with a link to the following node: element of KoList, base of KoError.
class KO_API KoNode : public KoObject {
public:
    KoNode* Next = nullptr;
};
