// Block copy, compare, swap and fill, and the two exchanges of a 32-bit value: one under the
// process-wide semaphore ExchangeTaskLock, one under the critical section ExchangeThreadLock.
#include <cstring>
#include "kolib/fastmem.h"
#include "kolib/semaphore.h"
#include "core/lib_statics.h"

void BUTMEMCP(void* dst, const void* src, unsigned long n) {
    if (n) std::memmove(dst, src, n);
}

void BUTMMCPD(void* dst, const void* src, unsigned long n) {
    unsigned char* d = static_cast<unsigned char*>(dst);
    const unsigned char* s = static_cast<const unsigned char*>(src);
    while (n--) d[n] = s[n];
}

int16_t BUTMMCMP(const void* a, const void* b, unsigned long n) {
    if (!n) return 0;
    int r = std::memcmp(a, b, n);
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

void BUTMMSWP(void* a, void* b, unsigned long n) {
    unsigned char* x = static_cast<unsigned char*>(a);
    unsigned char* y = static_cast<unsigned char*>(b);
    if (x == y) return;
    unsigned char chunk[256];
    while (n) {
        unsigned long k = n < sizeof chunk ? n : sizeof chunk;
        std::memcpy(chunk, x, k);
        std::memmove(x, y, k);
        std::memcpy(y, chunk, k);
        x += k;
        y += k;
        n -= k;
    }
}

char* BUTSTCAT(char* dst, const char* src) {
    return src ? std::strcat(dst, src) : dst;
}

int16_t BUTSTCMP(const char* a, const char* b) {
    int r = std::strcmp(a ? a : "", b ? b : "");
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

char* BUTSTCPY(char* dst, const char* src) {
    if (!src) {
        *dst = 0;
        return dst;
    }
    return std::strcpy(dst, src);
}

unsigned long BUTSTLEN(const char* s) {
    return s ? std::strlen(s) : 0;
}

void BUTU8FIL(void* dst, unsigned long n, unsigned char value) {
    if (n) std::memset(dst, value, n);
}

void butswap(void* data, unsigned long n) {
    unsigned char* p = static_cast<unsigned char*>(data);
    for (unsigned long i = 0; i + 1 < n; i += 2) {
        unsigned char t = p[i];
        p[i] = p[i + 1];
        p[i + 1] = t;
    }
}

uint32_t atomicTaskExchange(uint32_t* target, uint32_t value) {
    ExchangeTaskLock.SemaphoreEnter();
    uint32_t old = *target;
    *target = value;
    ExchangeTaskLock.SemaphoreExit();
    return old;
}

uint32_t atomicThreadExchange(uint32_t* target, uint32_t value) {
    ExchangeThreadLock.enter();
    uint32_t old = *target;
    *target = value;
    ExchangeThreadLock.leave();
    return old;
}
