// Ordering and equality of byte strings, counted byte strings and wide (UCS-2) strings.
// Byte comparisons order by unsigned byte value; the case-insensitive forms compare the
// upper-case forms of single bytes and compare multi-byte characters byte for byte. All
// orderings return a signed 16-bit result: negative, 0 or positive. A null text is taken as
// empty. Counted forms never read beyond their lengths.
#pragma once

#include <cstdint>
#include "kolib/export.h"

// NUL-terminated texts.
KO_API int16_t strCompare(const char* a, const char* b);
KO_API int16_t strCompareCi(const char* a, const char* b);
// Counted texts: the common length decides first, then the shorter text orders first.
KO_API int16_t strCompare(const char* a, unsigned long aLength, const char* b,
                          unsigned long bLength);
KO_API int16_t strCompareCi(const char* a, unsigned long aLength, const char* b,
                            unsigned long bLength);
// Compares the common length; then a longer text is equal when the rest of it is blanks,
// else it is greater.
KO_API int16_t strComparePad(const char* a, unsigned long aLength, const char* b,
                             unsigned long bLength);
// By the locale's collation (strcoll). Counted texts are first copied to terminated ones, in
// 512-byte local buffers or, when longer, in allocated ones; if that allocation fails the
// texts are compared by bytes instead. The Ci forms collate the upper-case forms.
KO_API int16_t strCompareIntl(const char* a, const char* b);
KO_API int16_t strCompareIntl(const char* a, unsigned long aLength, const char* b,
                              unsigned long bLength);
KO_API int16_t strCompareCiIntl(const char* a, const char* b);
KO_API int16_t strCompareCiIntl(const char* a, unsigned long aLength, const char* b,
                                unsigned long bLength);
// Like strCompare, looking at no more than maxLength bytes of either text.
KO_API int16_t strCompareWithMaxLength(const char* a, const char* b, unsigned long maxLength);
// 1 when equal, else 0.
KO_API int strEqual(const char* a, const char* b);
KO_API int strEqual(const char* a, unsigned long aLength, const char* b, unsigned long bLength);
KO_API int strEqualCi(const char* a, const char* b);
KO_API int strEqualCi(const char* a, unsigned long aLength, const char* b, unsigned long bLength);
// Orders two doubles; values whose difference is within a relative 1e-12 of the larger
// magnitude are equal. A NaN is equal to a NaN and orders before every number.
KO_API int16_t floatCompare(double a, double b);
// memcmp for blocks of any length, as a signed 16-bit result.
KO_API int16_t memCompareHuge(const void* a, const void* b, unsigned long length);

// Wide strings: arrays of unsigned 16-bit units; the terminated forms stop at a 0 unit and
// the counted forms take lengths in units. The Ci forms compare towupper of each unit.
KO_API int16_t wcsCompare(const unsigned short* a, const unsigned short* b);
KO_API int16_t wcsCompare(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                          unsigned long bLength);
KO_API int16_t wcsCompareCi(const unsigned short* a, const unsigned short* b);
KO_API int16_t wcsCompareCi(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                            unsigned long bLength);
KO_API int wcsEqual(const unsigned short* a, const unsigned short* b);
KO_API int wcsEqual(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                    unsigned long bLength);
KO_API int wcsEqualCi(const unsigned short* a, const unsigned short* b);
KO_API int wcsEqualCi(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                      unsigned long bLength);
