// The allocation layer. Every library allocation passes here, which gives tests one place to
// make the N-th allocation fail and to count the blocks the library holds. The counters are
// relaxed atomics: cheap on the fast path, exact enough for single-threaded failure walks.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include "kolib/memory.h"
#include "kolib/testing.h"

namespace {
std::atomic<long> FailCountdown{0}; // > 0: allocations left before the failing one
std::atomic<int> FailSticky{0};     // keep failing once the countdown has run out
std::atomic<long> AllocCount{0};
std::atomic<long> LiveBlocks{0};

// True when this allocation is to fail.
bool injectFailure() {
    AllocCount.fetch_add(1, std::memory_order_relaxed);
    long left = FailCountdown.load(std::memory_order_relaxed);
    if (left <= 0) return false;
    if (left == 1) {
        if (!FailSticky.load(std::memory_order_relaxed)) FailCountdown.store(0);
        return true;
    }
    FailCountdown.fetch_sub(1, std::memory_order_relaxed);
    return false;
}
} // namespace

void ramFailAfter(long n) {
    FailSticky.store(0);
    FailCountdown.store(n > 0 ? n : 0);
}

void ramFailFrom(long n) {
    FailSticky.store(n > 0 ? 1 : 0);
    FailCountdown.store(n > 0 ? n : 0);
}

long ramAllocationCount() {
    return AllocCount.load();
}
long ramLiveBlocks() {
    return LiveBlocks.load();
}

void* ramMalloc(unsigned long size) {
    if (injectFailure()) return nullptr;
    void* p = std::malloc(size ? size : 1);
    if (p) LiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void* ramCalloc(unsigned long size) {
    if (injectFailure()) return nullptr;
    void* p = std::calloc(1, size ? size : 1);
    if (p) LiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void* ramRealloc(void* block, unsigned long size) {
    if (!block) return ramMalloc(size);
    if (injectFailure()) return nullptr;
    return std::realloc(block, size ? size : 1);
}

void ramFree(void* block) {
    if (!block) return;
    LiveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

void* operator new(std::size_t size, RamInitType init) noexcept {
    return init == RAM_INIT_ZERO ? ramCalloc(size) : ramMalloc(size);
}

void* operator new[](std::size_t size, RamInitType init) noexcept {
    return init == RAM_INIT_ZERO ? ramCalloc(size) : ramMalloc(size);
}

char* ramAllocStr(const char* text, unsigned long length) {
    unsigned long size = length + 1;
    if (size == 0) length = 0; // the sum wrapped: a one-byte empty text
    char* p = static_cast<char*>(ramMalloc(size ? size : 1));
    if (!p) return nullptr;
    if (length && text) std::memcpy(p, text, length);
    p[length] = '\0';
    return p;
}

char* ramAllocStr(const char* text) {
    return ramAllocStr(text, text ? std::strlen(text) : 0);
}

unsigned ramResize(void** block, unsigned long newSize) {
    void* p = ramRealloc(*block, newSize);
    if (!p) return 1;
    *block = p;
    return 0;
}
