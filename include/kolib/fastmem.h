// Fast memory operations of the utility layer, and the two atomic exchanges. The block
// operations accept overlapping regions; a null pointer with a length of 0 does nothing.
#pragma once

#include <cstdint>
#include "kolib/export.h"

// Copies n bytes from src to dst (overlap allowed).
KO_API void BUTMEMCP(void* dst, const void* src, unsigned long n);
// Copies n bytes from the last byte down to the first: for moving a block up in a buffer.
KO_API void BUTMMCPD(void* dst, const void* src, unsigned long n);
// memcmp of n bytes as a signed 16-bit result.
KO_API int16_t BUTMMCMP(const void* a, const void* b, unsigned long n);
// Exchanges the contents of two blocks of n bytes.
KO_API void BUTMMSWP(void* a, void* b, unsigned long n);
// strcat, returning dst.
KO_API char* BUTSTCAT(char* dst, const char* src);
// strcmp by unsigned bytes as a signed 16-bit result; null is empty.
KO_API int16_t BUTSTCMP(const char* a, const char* b);
// strcpy, returning dst.
KO_API char* BUTSTCPY(char* dst, const char* src);
// strlen; 0 for null.
KO_API unsigned long BUTSTLEN(const char* s);
// Fills n bytes at dst with value.
KO_API void BUTU8FIL(void* dst, unsigned long n, unsigned char value);
// Swaps the two bytes of each 16-bit unit in the n bytes at data (an odd last byte stays).
KO_API void butswap(void* data, unsigned long n);

// Stores value in *target and returns the previous value, under ExchangeTaskLock (a
// semaphore) or ExchangeThreadLock (a critical section) respectively. Every writer of
// *target must use the same function.
KO_API uint32_t atomicTaskExchange(uint32_t* target, uint32_t value);
KO_API uint32_t atomicThreadExchange(uint32_t* target, uint32_t value);
